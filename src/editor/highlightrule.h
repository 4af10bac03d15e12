#pragma once

#include <QRegularExpression>
#include <QString>

// One pattern and the style name its matches are drawn in.
struct HighlightRule
{
    QRegularExpression pattern;
    QString formatName;
};

// A span that may run over lines: from a start match to an end match.
struct BlockRule
{
    QRegularExpression startPattern;
    QRegularExpression endPattern;
    QString formatName;
};
