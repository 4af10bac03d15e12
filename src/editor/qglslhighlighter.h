#pragma once

#include "highlightrule.h"
#include "qstylesyntaxhighlighter.h"

#include <QVector>

class QGLSLHighlighter : public QStyleSyntaxHighlighter
{
    Q_OBJECT

public:
    explicit QGLSLHighlighter(QTextDocument *document = nullptr);

protected:
    void highlightBlock(const QString &text) override;

private:
    QVector<HighlightRule> rules;
    QRegularExpression includePattern;
    QRegularExpression functionPattern;
    // Built and kept, but no pass applies it.
    QRegularExpression defTypePattern;
    QRegularExpression commentStartPattern;
    QRegularExpression commentEndPattern;
};
