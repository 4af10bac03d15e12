#pragma once

#include "highlightrule.h"
#include "qstylesyntaxhighlighter.h"

#include <QVector>

class QJSONHighlighter : public QStyleSyntaxHighlighter
{
    Q_OBJECT

public:
    explicit QJSONHighlighter(QTextDocument *document = nullptr);

protected:
    void highlightBlock(const QString &text) override;

private:
    QVector<HighlightRule> rules;
    QRegularExpression keyPattern;
};
