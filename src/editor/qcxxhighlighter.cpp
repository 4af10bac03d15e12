#include "qcxxhighlighter.h"

QCXXHighlighter::QCXXHighlighter(QTextDocument *document)
    : QStyleSyntaxHighlighter(document)
    , includePattern(QStringLiteral(R"re(^\s*#\s*include\s*([<"][^:?"<>\|]+[">]))re"))
    , functionPattern(QStringLiteral(
          R"re(\b([_a-zA-Z][_a-zA-Z0-9]*\s+)?((?:[_a-zA-Z][_a-zA-Z0-9]*\s*::\s*)*[_a-zA-Z][_a-zA-Z0-9]*)(?=\s*\())re"))
    , defTypePattern(QStringLiteral(R"re(\b([_a-zA-Z][_a-zA-Z0-9]*)\s+[_a-zA-Z][_a-zA-Z0-9]*\s*[;=])re"))
    , commentStartPattern(QStringLiteral(R"re(/\*)re"))
    , commentEndPattern(QStringLiteral(R"re(\*/)re"))
{
    if (!appendWordRules(rules, QStringLiteral(":/languages/cpp.xml"), QStringLiteral(R"(\b%1\b)")))
        return;

    // Integers and floats in all their forms, with digit separators and suffixes.
    rules.append({QRegularExpression(QStringLiteral(
                      R"re((?<=\b|\s|^)(?i)(?:(?:(?:(?:(?:\d+(?:'\d+)*)?\.(?:\d+(?:'\d+)*)(?:e[+-]?(?:\d+(?:'\d+)*))?)|(?:(?:\d+(?:'\d+)*)\.(?:e[+-]?(?:\d+(?:'\d+)*))?)|(?:(?:\d+(?:'\d+)*)(?:e[+-]?(?:\d+(?:'\d+)*)))|(?:0x(?:[0-9a-f]+(?:'[0-9a-f]+)*)?\.(?:[0-9a-f]+(?:'[0-9a-f]+)*)(?:p[+-]?(?:\d+(?:'\d+)*)))|(?:0x(?:[0-9a-f]+(?:'[0-9a-f]+)*)\.?(?:p[+-]?(?:\d+(?:'\d+)*))))[lf]?)|(?:(?:(?:[1-9]\d*(?:'\d+)*)|(?:0[0-7]*(?:'[0-7]+)*)|(?:0x[0-9a-f]+(?:'[0-9a-f]+)*)|(?:0b[01]+(?:'[01]+)*))(?:u?l{0,2}|l{0,2}u?)))(?=\b|\s|$))re")),
                  QStringLiteral("Number")});
    rules.append({QRegularExpression(QStringLiteral(R"re("[^\n"]*")re")), QStringLiteral("String")});
    rules.append({QRegularExpression(QStringLiteral(R"re(#[a-zA-Z_]+)re")), QStringLiteral("Preprocessor")});
    rules.append({QRegularExpression(QStringLiteral(R"re(//[^\n]*)re")), QStringLiteral("Comment")});
}

void QCXXHighlighter::highlightBlock(const QString &text)
{
    applyCaptures(text, includePattern, {{0, "Preprocessor"}, {1, "String"}});
    applyCaptures(text, functionPattern, {{0, "Type"}, {2, "Function"}});
    applyCaptures(text, defTypePattern, {{1, "Type"}});

    applyRules(text, rules);

    applyCommentPass(text, commentStartPattern, commentEndPattern);
}
