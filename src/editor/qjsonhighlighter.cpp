#include "qjsonhighlighter.h"

QJSONHighlighter::QJSONHighlighter(QTextDocument *document)
    : QStyleSyntaxHighlighter(document)
    , keyPattern(QStringLiteral(R"re(("[^\r\n:]+?")\s*:)re"))
{
    for (const QLatin1String word : {QLatin1String("null"), QLatin1String("true"), QLatin1String("false")})
        rules.append({QRegularExpression(QStringLiteral(R"(\b%1\b)").arg(word)), QStringLiteral("Keyword")});

    rules.append({QRegularExpression(QStringLiteral(R"re(\b(0b|0x){0,1}[\d.']+\b)re")), QStringLiteral("Number")});
    rules.append({QRegularExpression(QStringLiteral(R"re("[^\n"]*")re")), QStringLiteral("String")});
}

void QJSONHighlighter::highlightBlock(const QString &text)
{
    applyRules(text, rules);

    // Last, so that a key is a keyword whatever the rules found inside it.
    applyCaptures(text, keyPattern, {{1, "Keyword"}});
}
