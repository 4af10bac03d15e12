#pragma once

#include "ansitext.h"
#include "replexchange.h"

#include <QStringList>
#include <QTimer>
#include <QWidget>

class MorvexWindow;
class QPlainTextEdit;
class QTabWidget;
class ReplInput;

// The interactive console: a session view over an input box. With the board
// at its friendly REPL, what is typed runs there (a single line of plain
// text as typed at the prompt, anything else through paste mode) and its
// output streams into the view until the prompt returns; meanwhile the
// program's own operations wait, and lines typed go to the running program.
// With a board the program does not drive (Monitor Only, or running its own
// program) it is a plain terminal. It takes turns with the program's
// operations on the one link: they stop a running statement before they
// start, and the input is off while they run.
class ReplConsole : public QWidget
{
    Q_OBJECT

public:
    // tabs, if given, is the tab widget whose current page this console
    // keeps when the program switches tabs on its behalf.
    ReplConsole(MorvexWindow *window, QTabWidget *tabs, QWidget *parent = nullptr);
    ~ReplConsole() override;

    // Bytes from the board; true when they answer the console and must not
    // reach the program's reply queue. A board the program does not drive is
    // shown here too, and its bytes go on to the Terminal.
    bool boardOutput(const QByteArray &data);
    // Stops a running statement by Ctrl-C; false when none runs.
    bool interruptStatement();
    // Called before an operation of the program uses the link: a running
    // statement is stopped and its prompt awaited.
    void yieldLink();
    bool statementRunning() const;

    static const int historyLimit = 200;

signals:
    void exchangeEnded();
    // Each whole line that a statement run from the console printed, without colours.
    void outputLine(const QString &line);

public slots:
    void linkStateChanged();

private:
    enum class Mode { Off, Busy, Repl, Terminal };
    Mode mode() const;
    void refreshAvailability();

    void enterPressed();
    void runStatement(const QString &text);
    void requestCompletion();
    void softReboot();
    void interruptPressed();
    void walkHistory(int step);
    void remember(const QString &text);

    bool prepareBoard();
    void startExchange(const ReplExchange &exchange, const QByteArray &bytes);
    void endExchange();
    void abandonExchange();
    void send(const QByteArray &bytes);

    void showInput(const QString &text);
    // lines: whether the text is a statement's output, passed on line by line.
    void showBoardText(const QByteArray &bytes, bool lines = false);
    void showCandidates(const QList<QByteArray> &candidates);
    void showNote(const QString &text);
    void startLine();
    void scrollToEnd();

    MorvexWindow *m_window;
    QTabWidget *m_tabs;
    QPlainTextEdit *m_view;
    ReplInput *m_input;
    AnsiText m_ansi;
    ReplExchange m_exchange;
    QTimer m_availability;
    QTimer m_completionLimit;
    QTimer m_interruptRetry;
    int m_interruptRetries = 0;
    bool m_quietSinceInterrupt = false;
    QStringList m_history; // oldest first
    int m_historyIndex = 0; // m_history.size() stands for the line being written
    QString m_draft;
    bool m_driving = false; // the console itself is bringing the board to its prompt
    bool m_sending = false;
    QByteArray m_outgoing; // typed while an earlier input still goes out
    QString m_outputLine; // the statement's output line not yet ended
    QString m_completionInput; // the input and cursor a completion was asked for
    int m_completionCursor = -1;
};
