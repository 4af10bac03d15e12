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

void QXMLHighlighter::highlightBlock(const QString &text)
{
    applyCaptures(text, elementPattern, {{0, "Keyword"}});

    for (const QRegularExpression &pattern : qAsConst(keywordPatterns))
        applyCaptures(text, pattern, {{0, "Keyword"}});

    applyCaptures(text, attributePattern, {{0, "Text"}});

    applyCommentPass(text, commentStartPattern, commentEndPattern);

    // After the comments, so that a quoted value inside a comment is a string.
    applyCaptures(text, valuePattern, {{0, "String"}});
}
