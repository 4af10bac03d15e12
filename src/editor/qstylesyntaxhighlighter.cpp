#include "qstylesyntaxhighlighter.h"

#include "languageresource.h"
#include "qsyntaxstyle.h"

QStyleSyntaxHighlighter::QStyleSyntaxHighlighter(QTextDocument *document)
    : QSyntaxHighlighter(document)
{
}

void QStyleSyntaxHighlighter::setSyntaxStyle(QSyntaxStyle *style)
{
    m_syntaxStyle = style;
}

QSyntaxStyle *QStyleSyntaxHighlighter::syntaxStyle() const
{
    return m_syntaxStyle;
}

void QStyleSyntaxHighlighter::setCapturedFormat(const QRegularExpressionMatch &match, int capture,
                                                const QString &formatName)
{
    setFormat(match.capturedStart(capture), match.capturedLength(capture),
              m_syntaxStyle->formatFor(formatName));
}

bool QStyleSyntaxHighlighter::appendWordRules(QVector<HighlightRule> &rules, const QString &resource,
                                              const QString &wordPattern)
{
    LanguageSections sections;
    if (!readLanguageResource(resource, &sections))
        return false;

    for (const auto &section : qAsConst(sections)) {
        for (const QString &word : section.second)
            rules.append({QRegularExpression(wordPattern.arg(word)), section.first});
    }
    return true;
}

void QStyleSyntaxHighlighter::applyCaptures(const QString &text, const QRegularExpression &pattern,
                                            std::initializer_list<std::pair<int, const char *>> captures)
{
    QRegularExpressionMatchIterator it = pattern.globalMatch(text);
    while (it.hasNext()) {
        const QRegularExpressionMatch match = it.next();
        for (const auto &capture : captures)
            setCapturedFormat(match, capture.first, QString::fromLatin1(capture.second));
    }
}

void QStyleSyntaxHighlighter::applyRules(const QString &text, const QVector<HighlightRule> &rules)
{
    for (const HighlightRule &rule : rules) {
        QRegularExpressionMatchIterator it = rule.pattern.globalMatch(text);
        while (it.hasNext())
            setCapturedFormat(it.next(), 0, rule.formatName);
    }
}

void QStyleSyntaxHighlighter::applyBlockRules(const QString &text, const QVector<BlockRule> &blockRules,
                                              int endOffset)
{
    setCurrentBlockState(0);

    int ruleNumber = previousBlockState();
    int startIndex = 0;

    if (ruleNumber < 1 || ruleNumber > blockRules.size()) {
        // The first rule with any opening wins, not the earliest opening.
        ruleNumber = 0;
        for (int i = 0; i < blockRules.size(); ++i) {
            const QRegularExpressionMatch start = blockRules.at(i).startPattern.match(text);
            if (start.hasMatch()) {
                ruleNumber = i + 1;
                startIndex = start.capturedStart();
                break;
            }
        }
        if (ruleNumber == 0)
            return;
    }

    const BlockRule &rule = blockRules.at(ruleNumber - 1);
    for (;;) {
        const QRegularExpressionMatch end = rule.endPattern.match(text, startIndex + endOffset);
        int length;
        if (!end.hasMatch()) {
            setCurrentBlockState(ruleNumber);
            length = text.length() - startIndex;
        } else {
            length = end.capturedStart() - startIndex + end.capturedLength();
        }
        setFormat(startIndex, length, m_syntaxStyle->formatFor(rule.formatName));

        const QRegularExpressionMatch next = rule.startPattern.match(text, startIndex + length);
        if (!next.hasMatch())
            return;
        startIndex = next.capturedStart();
    }
}

void QStyleSyntaxHighlighter::applyCommentPass(const QString &text, const QRegularExpression &startPattern,
                                               const QRegularExpression &endPattern)
{
    setCurrentBlockState(0);

    int startIndex = 0;
    if (previousBlockState() != 1)
        startIndex = text.indexOf(startPattern);

    while (startIndex >= 0) {
        const QRegularExpressionMatch end = endPattern.match(text, startIndex);
        int length;
        if (!end.hasMatch()) {
            setCurrentBlockState(1);
            length = text.length() - startIndex;
        } else {
            length = end.capturedStart() - startIndex + end.capturedLength();
        }
        setFormat(startIndex, length, m_syntaxStyle->formatFor(QStringLiteral("Comment")));
        startIndex = text.indexOf(startPattern, startIndex + length);
    }
}
