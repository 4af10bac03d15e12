#pragma once

#include "highlightrule.h"
#include "qstylesyntaxhighlighter.h"

#include <QVector>

class QLuaHighlighter : public QStyleSyntaxHighlighter
{
    Q_OBJECT

public:
    explicit QLuaHighlighter(QTextDocument *document = nullptr);

protected:
    void highlightBlock(const QString &text) override;

private:
    QVector<HighlightRule> rules;
    QVector<BlockRule> blockRules;
    QRegularExpression requirePattern;
    QRegularExpression functionPattern;
    QRegularExpression defTypePattern;
};
