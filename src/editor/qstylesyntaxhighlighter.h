#pragma once

#include "highlightrule.h"

#include <QSyntaxHighlighter>
#include <QVector>

class QSyntaxStyle;

// Base of the language highlighters: a QSyntaxHighlighter that draws with a
// style scheme. The scheme must be set before a document is attached, since
// highlightBlock() uses it unchecked; setting it does not rehighlight.
class QStyleSyntaxHighlighter : public QSyntaxHighlighter
{
    Q_OBJECT

public:
    explicit QStyleSyntaxHighlighter(QTextDocument *document = nullptr);

    void setSyntaxStyle(QSyntaxStyle *style);
    QSyntaxStyle *syntaxStyle() const;

protected:
    // Sets each whole match of each rule, front to back, to its style.
    void applyRules(const QString &text, const QVector<HighlightRule> &rules);

    // Spans that run over lines. The block state is the 1-based number of
    // the rule a line ends inside, 0 outside. The end delimiter is searched
    // from the start index + endOffset.
    void applyBlockRules(const QString &text, const QVector<BlockRule> &blockRules, int endOffset);

    // Comment spans over lines; block state 1 inside a comment, 0 outside.
    void applyCommentPass(const QString &text, const QRegularExpression &startPattern,
                          const QRegularExpression &endPattern);

    void setCapturedFormat(const QRegularExpressionMatch &match, int capture, const QString &formatName);

private:
    QSyntaxStyle *m_syntaxStyle = nullptr;
};
