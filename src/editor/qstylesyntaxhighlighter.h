#pragma once

#include "highlightrule.h"

#include <QSyntaxHighlighter>
#include <QVector>

#include <initializer_list>
#include <utility>

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
    // One rule per word of a word list resource, in the style named by the
    // word's section; %1 in wordPattern is the word. Words go in unescaped: a
    // list entry may be a pattern by itself. False when the resource can't be
    // read.
    static bool appendWordRules(QVector<HighlightRule> &rules, const QString &resource,
                                const QString &wordPattern);

    // Sets each match of the pattern, front to back, capture by capture in the
    // order given, to the style paired with the capture.
    void applyCaptures(const QString &text, const QRegularExpression &pattern,
                       std::initializer_list<std::pair<int, const char *>> captures);

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
