#pragma once

#include "highlightrule.h"
#include "qstylesyntaxhighlighter.h"

#include <QVector>

class QCXXHighlighter : public QStyleSyntaxHighlighter
{
    Q_OBJECT

public:
    explicit QCXXHighlighter(QTextDocument *document = nullptr);

protected:
    void highlightBlock(const QString &text) override;

private:
    QVector<HighlightRule> rules;
    QRegularExpression includePattern;
    QRegularExpression functionPattern;
    QRegularExpression defTypePattern;
    QRegularExpression commentStartPattern;
    QRegularExpression commentEndPattern;
};
