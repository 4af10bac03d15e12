#pragma once

#include "highlightrule.h"
#include "qstylesyntaxhighlighter.h"

#include <QVector>

class QPythonHighlighter : public QStyleSyntaxHighlighter
{
    Q_OBJECT

public:
    explicit QPythonHighlighter(QTextDocument *document = nullptr);

protected:
    void highlightBlock(const QString &text) override;

private:
    QVector<HighlightRule> rules;
    QVector<BlockRule> blockRules;
    // Built and kept, but no pass applies them.
    QRegularExpression importPattern;
    QRegularExpression functionPattern;
    QRegularExpression defTypePattern;
};
