#pragma once

#include "plotlineparser.h"

#include <QByteArray>
#include <QSharedPointer>
#include <QString>
#include <QStringList>
#include <QVector>

// The samples of one series that are still in the window, oldest first, from
// head on; x is the sample number, y the value.
struct PlotSeries
{
    QString name;
    int position = 0; // the place on the line that names an unnamed series; 0 for a word
    int colour = 0;   // 0 .. PlotData::MaxSeries - 1, unique among the series held
    QVector<double> x;
    QVector<double> y;
    int head = 0;

    int count() const { return x.size() - head; }
};

// The samples of the plot: the numbers of every line that holds any, one
// sample number per such line, for the last `window` sample numbers. A series
// with no sample in that span is dropped, which frees its place among the
// MaxSeries the plot takes.
class PlotData
{
public:
    static constexpr int MaxSeries = 16;
    static constexpr int MinWindow = 50;
    static constexpr int MaxWindow = 100000;
    static constexpr int DefaultWindow = 500;

    explicit PlotData(int window = DefaultWindow);

    int window() const { return m_window; }
    void setWindow(int samples); // clamped to MinWindow .. MaxWindow

    // Takes the numbers of a line as the next sample; false when it holds none.
    bool addLine(QStringView line);
    // Whether the line holds a number, leaving the samples alone.
    bool isSample(QStringView line);
    void clear();

    // In order of their first sample. Shared, so a view may keep one it draws.
    const QVector<QSharedPointer<PlotSeries>> &series() const { return m_series; }
    QStringList seriesNames() const;
    int pointCount(const QString &name) const;
    qint64 newest() const { return m_next - 1; } // -1 when there is no sample

    // The first new name left out for want of room since the last clear, once.
    QString takeRefusedName();

    // Lowest and highest value with a sample number in [first, last]; false if none.
    bool valueRange(double first, double last, double &low, double &high) const;
    // The samples numbered first .. last as CSV: "sample" and the series names,
    // then a row per sample number with an empty field where a series has none.
    QByteArray csv(double first, double last) const;

private:
    PlotSeries *seriesFor(const PlotValue &value);
    void trim();
    // Drops front entries that have gone out of the window, and compacts.
    static void dropOlderThan(PlotSeries &series, double first);

    PlotLineParser m_parser;
    QVector<PlotValue> m_values;
    QVector<QSharedPointer<PlotSeries>> m_series;
    qint64 m_next = 0;
    int m_window = DefaultWindow;
    bool m_refusalNoted = false;
    QString m_refused;
};
