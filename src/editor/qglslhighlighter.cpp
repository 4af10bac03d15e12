#include "qglslhighlighter.h"

#include "languageresource.h"

QGLSLHighlighter::QGLSLHighlighter(QTextDocument *document)
    : QStyleSyntaxHighlighter(document)
    , includePattern(QStringLiteral(R"re(#include\s+([<"][a-zA-Z0-9*._]+[">]))re"))
    , functionPattern(QStringLiteral(R"re(\b([A-Za-z0-9_]+(?:\s+|::))*([A-Za-z0-9_]+)(?=\())re"))
    , defTypePattern(QStringLiteral(R"re(\b([A-Za-z0-9_]+)\s+[A-Za-z]{1}[A-Za-z0-9_]+\s*[;=])re"))
    , commentStartPattern(QStringLiteral(R"re(/\*)re"))
    , commentEndPattern(QStringLiteral(R"re(\*/)re"))
{
    LanguageSections sections;
    if (!readLanguageResource(QStringLiteral(":/languages/glsl.xml"), &sections))
        return;

    for (const auto &section : qAsConst(sections)) {
        for (const QString &word : section.second)
            rules.append({QRegularExpression(QStringLiteral(R"(\b%1\b)").arg(word)), section.first});
    }

    // No string rule: quoted text keeps whatever the other rules give it.
    rules.append({QRegularExpression(QStringLiteral(R"re(\b(0b|0x){0,1}[\d.']+\b)re")), QStringLiteral("Number")});
    rules.append({QRegularExpression(QStringLiteral(R"re(#[a-zA-Z_]+)re")), QStringLiteral("Preprocessor")});
    // The class holds a real line feed; within one line that is the same.
    rules.append({QRegularExpression(QStringLiteral("//[^\n]*")), QStringLiteral("Comment")});
}

void QGLSLHighlighter::highlightBlock(const QString &text)
{
    QRegularExpressionMatchIterator it = includePattern.globalMatch(text);
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

    applyRules(text, rules);

    applyCommentPass(text, commentStartPattern, commentEndPattern);
}
