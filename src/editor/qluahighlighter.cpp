#include "qluahighlighter.h"

#include "languageresource.h"

QLuaHighlighter::QLuaHighlighter(QTextDocument *document)
    : QStyleSyntaxHighlighter(document)
    , requirePattern(QStringLiteral(R"re(require\s*([("'][a-zA-Z0-9*._]+['")]))re"))
    , functionPattern(QStringLiteral(R"re(\b([A-Za-z0-9_]+(?:\s+|::))*([A-Za-z0-9_]+)(?=\())re"))
    , defTypePattern(QStringLiteral(R"re(\b([A-Za-z0-9_]+)\s+[A-Za-z]{1}[A-Za-z0-9_]+\s*[=])re"))
{
    LanguageSections sections;
    if (!readLanguageResource(QStringLiteral(":/languages/lua.xml"), &sections))
        return;

    // One blank on each side belongs to the match. Operator words are
    // patterns by themselves ("\+", "\.\."), so nothing is escaped.
    for (const auto &section : qAsConst(sections)) {
        for (const QString &word : section.second)
            rules.append({QRegularExpression(QStringLiteral(R"re(\b\s{0,1}%1\s{0,1}\b)re").arg(word)),
                          section.first});
    }

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
    QRegularExpressionMatchIterator it = requirePattern.globalMatch(text);
    while (it.hasNext()) {
        const QRegularExpressionMatch match = it.next();
        setCapturedFormat(match, 0, QStringLiteral("Preprocessor"));
        setCapturedFormat(match, 1, QStringLiteral("String"));
    }

    it = functionPattern.globalMatch(text);
    while (it.hasNext()) {
        const QRegularExpressionMatch match = it.next();
        setCapturedFormat(match, 0, QStringLiteral("Type"));
        setCapturedFormat(match, 2, QStringLiteral("Function"));
    }

    it = defTypePattern.globalMatch(text);
    while (it.hasNext())
        setCapturedFormat(it.next(), 1, QStringLiteral("Type"));

    applyRules(text, rules);

    // Unlike Python, the end search starts at the opening itself, so a
    // closing delimiter at column 0 of a continuation line is found.
    applyBlockRules(text, blockRules, 0);
}
