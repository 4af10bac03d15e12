#pragma once

#include <QColor>
#include <QList>
#include <QMessageBox>
#include <QPair>
#include <QPointer>
#include <QObject>
#include <QString>
#include <QTemporaryDir>
#include <QTimer>
#include <QVariantMap>

#include <functional>

class MorvexWindow;
class QAction;
class QAbstractItemView;
class QIcon;
class QModelIndex;
class VirtualBoard;

// Points QSettings and QStandardPaths at a private temporary store for the
// life of the object, so no test reads or writes the user's settings.
class SettingsSandbox
{
public:
    SettingsSandbox();
    ~SettingsSandbox();
    void clear();
    QString path() const { return m_dir.path(); }

private:
    QTemporaryDir m_dir;
};

// Answers modal dialogs while a test drives code that shows them. The
// handler is called with each new active modal (or popup) widget and returns
// true once it has dealt with it. Polling runs on the event loop, so it also
// works inside nested loops such as QDialog::exec.
class DialogAnswerer : public QObject
{
    Q_OBJECT

public:
    using Handler = std::function<bool(QWidget *)>;
    explicit DialogAnswerer(Handler handler, QObject *parent = nullptr);
    int answered() const { return m_answered; }
    QStringList texts() const { return m_texts; }   // texts of message boxes seen
    QStringList titles() const { return m_titles; } // and their window titles
    QStringList buttons() const { return m_buttons; } // and their buttons, as "Yes* No": "*" marks the default

    static DialogAnswerer *messageBox(QMessageBox::StandardButton button, QObject *parent = nullptr);
    static DialogAnswerer *inputText(const QString &text, QObject *parent = nullptr);
    static DialogAnswerer *fileName(const QString &path, QObject *parent = nullptr);

private:
    void poll();

    Handler m_handler;
    QTimer m_timer;
    QPointer<QWidget> m_last; // a deleted dialog's address may come back for the next one
    int m_answered = 0;
    QStringList m_texts;
    QStringList m_titles;
    QStringList m_buttons;
};

// Runs action once, from the event loop, as soon as pred() holds; it polls,
// so it also acts from inside the nested loops of a running operation.
class ActWhen : public QObject
{
    Q_OBJECT

public:
    ActWhen(std::function<bool()> pred, std::function<void()> action, QObject *parent = nullptr);
    bool done() const { return m_done; }

private:
    void poll();

    std::function<bool()> m_pred;
    std::function<void()> m_action;
    QTimer m_timer;
    bool m_done = false;
};

// Connects the window to the board through the real connection popup: the
// board's port is offered through MORVEX_EXTRA_PORTS (unless an entry of the
// test, such as "path=SERIAL", offers it already), chosen with the family
// index (0 STM32, 1 ESP32) and baud rate, and applied.
void connectThroughPopup(MorvexWindow &window, const VirtualBoard &board, int family,
                         const QString &baud = QStringLiteral("115200"));
// The same for any port path, such as a pseudo-terminal of the test's own.
void connectThroughPopup(MorvexWindow &window, const QString &port, int family,
                         const QString &baud = QStringLiteral("115200"));

// Connects through the popup with Monitor Only: the port opens and nothing is
// sent. True once the window has said so in the terminal.
bool monitorBoard(MorvexWindow &window, const VirtualBoard &board, int family);

// Connects through the popup and waits until the board is announced and its
// start folder listed, which is the end of the first queryInfo.
bool connectBoard(MorvexWindow &window, const VirtualBoard &board, int family, int timeoutMs = 20000);

// Text of the system log / terminal view, as plain text.
QString syslogText(MorvexWindow &window);
QString terminalText(MorvexWindow &window);

// The messages of the system log / terminal, one per line, without time stamps.
QStringList syslogMessages(MorvexWindow &window);
QStringList terminalMessages(MorvexWindow &window);
// True if each of expected occurs in messages, in this order (others may stand between).
bool inOrder(const QStringList &messages, const QStringList &expected);

// The window's action or board pane row of that name (null / invalid if none).
QAction *windowAction(MorvexWindow &window, const char *name);
QModelIndex boardRow(MorvexWindow &window, const QString &name);

// What a double click on the row at index of view sets off, without a pointer.
bool doubleClick(QAbstractItemView *view, const QModelIndex &index);

// Uploads data to the board path target through the window's uploadData.
bool uploadBytes(MorvexWindow &window, QByteArray data, const QString &target);
// The board targets of the file headers that batched uploads in these bytes sent, in order.
QStringList batchTargets(const QByteArray &received);

// Writes a local file, making its folders; true when all was written.
bool writeLocalFile(const QString &path, const QByteArray &data);
// The whole content of a local file; empty if it cannot be read.
QByteArray readLocalFile(const QString &path);
// size bytes of a fixed pseudo-random sequence chosen by seed.
QByteArray randomBytes(int size, quint32 seed);

// Writes a zip archive through QuaZip: members in order as (name, data); a
// name that ends in "/" makes a directory member.
bool writeZip(const QString &path, const QList<QPair<QString, QByteArray>> &members,
              const QString &comment = QString());

// Writes a zfw made by Python's tarfile: a pax global header when pax is not
// empty, then the members in order; a name that ends in "/" is a directory.
bool writeZfw(const QString &path, const QVariantMap &pax, const QList<QPair<QString, QByteArray>> &members);

// Runs a program to its end in workDir; true when it exits with 0 within timeoutMs.
// What it wrote to stdout and stderr goes to *output.
bool runProgram(const QString &program, const QStringList &args, const QString &workDir = QString(),
                QByteArray *output = nullptr, int timeoutMs = 60000);
// The project's Python with a script given as text, then args.
bool runPython(const QString &script, const QStringList &args = QStringList(), QByteArray *output = nullptr);

// True when icon draws the glyph of that name in the icon font, in color
// (the font's default colours if invalid). A name missing from the font's
// table still makes a non-null icon, so the drawings are compared.
bool showsIcon(const QIcon &icon, const QString &name, const QColor &color = QColor());

// Waits (serving events) until pred() holds or timeoutMs have passed.
bool waitFor(const std::function<bool()> &pred, int timeoutMs);
