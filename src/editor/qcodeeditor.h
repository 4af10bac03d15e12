#pragma once

#include <QPair>
#include <QString>
#include <QTextEdit>
#include <QVector>

class QCompleter;
class QFramedTextAttribute;
class QLineNumberArea;
class QStyleSyntaxHighlighter;
class QSyntaxStyle;

// A text widget for code: line number gutter, current-line band, bracket
// marks, auto indent, auto pairs, spaces for tab, word completion through an
// optional QCompleter and frames around the occurrences of a selected word.
// Highlighter, completer and style are not owned.
class QCodeEditor : public QTextEdit
{
    Q_OBJECT

public:
    explicit QCodeEditor(QWidget *parent = nullptr);

    void setSyntaxStyle(QSyntaxStyle *style);
    QSyntaxStyle *syntaxStyle() const;

    // The style is handed to the highlighter before the document is.
    void setHighlighter(QStyleSyntaxHighlighter *highlighter);

    void setCompleter(QCompleter *completer);
    QCompleter *completer() const;

    void setAutoIndent(bool enabled);
    bool autoIndent() const;

    void setShowSpaces(bool enabled);
    bool showSpaces() const;

    void setAutoPairs(bool enabled);
    bool autoPairs() const;

    void setSpacesForTab(bool enabled);
    bool spacesForTab() const;

    void setTabReplacementSize(int size);
    int tabReplacementSize() const;

    // Number of the first block in the viewport; walks from the top.
    int firstVisibleBlock() const;

public slots:
    void insertCompletion(const QString &s);
    void updateLineNumberAreaWidth(int);
    void updateLineNumberArea(const QRect &rect);
    void updateExtraSelection();
    void updateStyle();
    void onSelectionChanged();

protected:
    void keyPressEvent(QKeyEvent *e) override;
    void focusInEvent(QFocusEvent *e) override;
    void paintEvent(QPaintEvent *e) override;
    void resizeEvent(QResizeEvent *e) override;
    void insertFromMimeData(const QMimeData *source) override;

private:
    bool proceedCompleterBegin(QKeyEvent *e);
    void proceedCompleterEnd(QKeyEvent *e);

    QChar charAtCursor(int offset = 0) const;
    QString wordAtCursor() const;
    int lineIndent() const;
    void updateLineGeometry();
    void highlightCurrentLine(QList<QTextEdit::ExtraSelection> &extraSelection);
    void highlightParentheses(QList<QTextEdit::ExtraSelection> &extraSelection);
    void handleSelectionQuery(QTextCursor cursor);

    static const QVector<QPair<QString, QString>> pairTable;

    QStyleSyntaxHighlighter *m_highlighter = nullptr;
    QSyntaxStyle *m_style = nullptr;
    QLineNumberArea *m_lineNumberArea;
    QCompleter *m_completer = nullptr;
    QFramedTextAttribute *m_framedAttribute;
    bool m_autoIndent = true;
    bool m_showSpaces = false;
    bool m_autoPairs = true;
    bool m_spacesForTab = true;
    QString m_tabReplacement = QString(4, QLatin1Char(' '));
};
