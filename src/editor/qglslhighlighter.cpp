#include "qglslhighlighter.h"

QGLSLHighlighter::QGLSLHighlighter(QTextDocument *document)
    : QStyleSyntaxHighlighter(document)
    , includePattern(QStringLiteral(R"re(#include\s+([<"][a-zA-Z0-9*._]+[">]))re"))
    , functionPattern(QStringLiteral(R"re(\b([A-Za-z0-9_]+(?:\s+|::))*([A-Za-z0-9_]+)(?=\())re"))
    , defTypePattern(QStringLiteral(R"re(\b([A-Za-z0-9_]+)\s+[A-Za-z]{1}[A-Za-z0-9_]+\s*[;=])re"))
    , commentStartPattern(QStringLiteral(R"re(/\*)re"))
    , commentEndPattern(QStringLiteral(R"re(\*/)re"))
{
    if (!appendWordRules(rules, QStringLiteral(":/languages/glsl.xml"), QStringLiteral(R"(\b%1\b)")))
        return;

    // No string rule: quoted text keeps whatever the other rules give it.
    rules.append({QRegularExpression(QStringLiteral(R"re(\b(0b|0x){0,1}[\d.']+\b)re")), QStringLiteral("Number")});
    rules.append({QRegularExpression(QStringLiteral(R"re(#[a-zA-Z_]+)re")), QStringLiteral("Preprocessor")});
    // The class holds a real line feed; within one line that is the same.
    rules.append({QRegularExpression(QStringLiteral("//[^\n]*")), QStringLiteral("Comment")});
}

void QGLSLHighlighter::highlightBlock(const QString &text)
{
    applyCaptures(text, includePattern, {{0, "Preprocessor"}, {1, "String"}});
    applyCaptures(text, functionPattern, {{0, "Type"}, {2, "Function"}});

    applyRules(text, rules);

    applyCommentPass(text, commentStartPattern, commentEndPattern);
}
