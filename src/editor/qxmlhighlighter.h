#pragma once

#include "qstylesyntaxhighlighter.h"

#include <QRegularExpression>
#include <QVector>

class QXMLHighlighter : public QStyleSyntaxHighlighter
{
    Q_OBJECT

public:
    explicit QXMLHighlighter(QTextDocument *document = nullptr);

protected:
    void highlightBlock(const QString &text) override;

private:
    QVector<QRegularExpression> keywordPatterns;
    QRegularExpression elementPattern;
    QRegularExpression attributePattern;
    QRegularExpression valuePattern;
    QRegularExpression commentStartPattern;
    QRegularExpression commentEndPattern;
};
