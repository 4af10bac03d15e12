#pragma once

#include <QString>
#include <QStringView>
#include <QVector>

// One number of a line: the word that names it, or else its place on the line.
struct PlotValue
{
    QStringView name; // empty when no word names it
    int position = 0; // 1 for the first number of the line; nan and inf count too
    double value = 0;
};

// Reads the numbers out of one line of board text. Numbers stand between
// spaces, tabs, commas, semicolons or brackets; a word right before a number,
// joined by ':', '=' or a space, names it ("temp: 21.5", "x=3", "rpm 1200").
// A number glued to anything else ("v2", "21C", "12:30") is not one. ANSI
// sequences are dropped; nan and inf take a place but give no value.
class PlotLineParser
{
public:
    // Longer words name nothing: they are data, not labels.
    static constexpr int MaxNameLength = 64;

    // Fills values, in the order of the line, and tells whether there are any.
    // The names point into line, or into this parser when the line held escape
    // sequences; they stay valid until the next call or until line changes.
    bool parse(QStringView line, QVector<PlotValue> &values);

private:
    QString m_stripped;
};
