#include "qluahighlighter.h"

QLuaHighlighter::QLuaHighlighter(QTextDocument *document)
    : QStyleSyntaxHighlighter(document)
    , requirePattern(QStringLiteral(R"re(require\s*([("'][a-zA-Z0-9*._]+['")]))re"))
    , functionPattern(QStringLiteral(R"re(\b([A-Za-z0-9_]+(?:\s+|::))*([A-Za-z0-9_]+)(?=\())re"))
    , defTypePattern(QStringLiteral(R"re(\b([A-Za-z0-9_]+)\s+[A-Za-z]{1}[A-Za-z0-9_]+\s*[=])re"))
{
    // One blank on each side belongs to the match. Operator words are
    // patterns by themselves ("\+", "\.\.").
    if (!appendWordRules(rules, QStringLiteral(":/languages/lua.xml"),
                         QStringLiteral(R"re(\b\s{0,1}%1\s{0,1}\b)re")))
        return;

    rules.append({QRegularExpression(QStringLiteral(R"re(\b(0b|0x){0,1}[\d.']+\b)re")), QStringLiteral("Number")});
    rules.append({QRegularExpression(QStringLiteral(R"re(["'][^\n"]*["'])re")), QStringLiteral("String")});
    rules.append({QRegularExpression(QStringLiteral(R"re(#\![a-zA-Z_]+)re")), QStringLiteral("Preprocessor")});
    rules.append({QRegularExpression(QStringLiteral(R"re(--[^\n]*)re")), QStringLiteral("Comment")});

    blockRules.append({QRegularExpression(QStringLiteral(R"re(--\[\[)re")),
                       QRegularExpression(QStringLiteral(R"re(--\]\])re")), QStringLiteral("Comment")});
    blockRules.append({QRegularExpression(QStringLiteral(R"re(\[\[)re")),
                       QRegularExpression(QStringLiteral(R"re(\]\])re")), QStringLiteral("String")});
}

void QLuaHighlighter::highlightBlock(const QString &text)
{
    applyCaptures(text, requirePattern, {{0, "Preprocessor"}, {1, "String"}});
    applyCaptures(text, functionPattern, {{0, "Type"}, {2, "Function"}});
    applyCaptures(text, defTypePattern, {{1, "Type"}});

    applyRules(text, rules);

    // Unlike Python, the end search starts at the opening itself, so a
    // closing delimiter at column 0 of a continuation line is found.
    applyBlockRules(text, blockRules, 0);
}
