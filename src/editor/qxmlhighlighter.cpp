#include "qxmlhighlighter.h"

QXMLHighlighter::QXMLHighlighter(QTextDocument *document)
    : QStyleSyntaxHighlighter(document)
    , keywordPatterns({QRegularExpression(QStringLiteral(R"re(<\?)re")),
                       QRegularExpression(QStringLiteral(R"re(/>)re")),
                       QRegularExpression(QStringLiteral(R"re(>)re")),
                       QRegularExpression(QStringLiteral(R"re(<)re")),
                       QRegularExpression(QStringLiteral(R"re(</)re")),
                       QRegularExpression(QStringLiteral(R"re(\?>)re"))})
    , elementPattern(QStringLiteral(R"re(<[\s]*[/]?[\s]*([^\n][a-zA-Z-_:]*)(?=[\s/>]))re"))
    , attributePattern(QStringLiteral(R"re(\w+(?=\=))re"))
    , valuePattern(QStringLiteral(R"re("[^\n"]+"(?=\??[\s/>]))re"))
    , commentStartPattern(QStringLiteral(R"re(<!--)re"))
    , commentEndPattern(QStringLiteral(R"re(-->)re"))
{
}

void QXMLHighlighter::highlightByPattern(const QString &text, const QRegularExpression &pattern,
                                         const QString &formatName)
{
    QRegularExpressionMatchIterator it = pattern.globalMatch(text);
    while (it.hasNext())
        setCapturedFormat(it.next(), 0, formatName);
}

void QXMLHighlighter::highlightBlock(const QString &text)
{
    highlightByPattern(text, elementPattern, QStringLiteral("Keyword"));

    for (const QRegularExpression &pattern : qAsConst(keywordPatterns))
        highlightByPattern(text, pattern, QStringLiteral("Keyword"));

    highlightByPattern(text, attributePattern, QStringLiteral("Text"));

    applyCommentPass(text, commentStartPattern, commentEndPattern);

    // After the comments, so that a quoted value inside a comment is a string.
    highlightByPattern(text, valuePattern, QStringLiteral("String"));
}
