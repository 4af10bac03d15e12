#include "qpythonhighlighter.h"

QPythonHighlighter::QPythonHighlighter(QTextDocument *document)
    : QStyleSyntaxHighlighter(document)
    , importPattern(QStringLiteral(R"(import \w+)"))
    , functionPattern(QStringLiteral(R"(\b([A-Za-z0-9_]+(?:\.))*([A-Za-z0-9_]+)(?=\())"))
    , defTypePattern(QStringLiteral(R"(\b([A-Za-z0-9_]+)\s+[A-Za-z]{1}[A-Za-z0-9_]+\s*[;=])"))
{
    if (!appendWordRules(rules, QStringLiteral(":/languages/python.xml"), QStringLiteral(R"(\b%1\b)")))
        return;

    rules.append({QRegularExpression(QStringLiteral(R"(\b(0b|0x){0,1}[\d.']+\b)")), QStringLiteral("Number")});
    rules.append({QRegularExpression(QStringLiteral(R"("[^\n"]*")")), QStringLiteral("String")});
    rules.append({QRegularExpression(QStringLiteral(R"('[^\n"]*')")), QStringLiteral("String")});
    // The class holds a real line feed; within one line that is the same.
    rules.append({QRegularExpression(QStringLiteral("#[^\n]*")), QStringLiteral("Comment")});

    blockRules.append({QRegularExpression(QStringLiteral("(''')")), QRegularExpression(QStringLiteral("(''')")),
                       QStringLiteral("String")});
    blockRules.append({QRegularExpression(QStringLiteral("(\"\"\")")),
                       QRegularExpression(QStringLiteral("(\"\"\")")), QStringLiteral("String")});
}

void QPythonHighlighter::highlightBlock(const QString &text)
{
    applyCaptures(text, functionPattern, {{0, "Type"}, {2, "Function"}});

    applyRules(text, rules);

    // The end search starts one past the opening, so that the opening quotes
    // can't close their own block.
    applyBlockRules(text, blockRules, 1);
}
