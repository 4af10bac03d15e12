#pragma once

#include <QPlainTextEdit>

class QMimeData;

// The console's input box: Python typed or pasted over one or more lines,
// with the board's prompts (">>> ", then "... ") in a margin. It decides
// nothing about the board; it tells its console what the keys ask for.
class ReplInput : public QPlainTextEdit
{
    Q_OBJECT

public:
    explicit ReplInput(QWidget *parent = nullptr);

    // Whether the margin shows the REPL's prompts; off while a program reads
    // its input from here.
    void setPromptsShown(bool shown);
    // Set by a paste of several lines; Enter then runs them as they stand.
    bool holdsPastedBlock() const { return m_pastedBlock; }
    // Replaces the whole text, as history recall does, cursor at the end.
    void setInput(const QString &text);
    int promptMarginWidth() const;

signals:
    void enterPressed();
    void interruptPressed();   // Ctrl+C without a selection
    void rebootPressed();      // Ctrl+D
    void clearViewPressed();   // Ctrl+L
    void completionPressed();  // Tab with a name before the cursor
    void historyPressed(int step); // -1 older (Up on the first line), +1 newer (Down on the last)

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void insertFromMimeData(const QMimeData *source) override;
    void resizeEvent(QResizeEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void paintMargin(QPaintEvent *event);
    void fitHeight();

    QWidget *m_margin;
    bool m_promptsShown = true;
    bool m_pastedBlock = false;
};
