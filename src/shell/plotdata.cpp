// The plot's samples: series by name, the window of sample numbers, export.
#include "plotdata.h"

#include <QLocale>

#include <algorithm>

PlotData::PlotData(int window)
{
    setWindow(window);
}

void PlotData::setWindow(int samples)
{
    m_window = qBound(MinWindow, samples, MaxWindow);
    trim();
}

bool PlotData::addLine(QStringView line)
{
    if (!m_parser.parse(line, m_values))
        return false;
    const double x = double(m_next);
    bool stored = false;
    for (const PlotValue &value : qAsConst(m_values)) {
        PlotSeries *series = seriesFor(value);
        if (!series)
            continue;
        // A name twice on one line: its last value counts.
        if (!series->x.isEmpty() && series->x.constLast() == x) {
            series->y.last() = value.value;
        } else {
            series->x.append(x);
            series->y.append(value.value);
        }
        stored = true;
    }
    if (stored) {
        ++m_next;
        trim();
    }
    return true;
}

bool PlotData::isSample(QStringView line)
{
    return m_parser.parse(line, m_values);
}

void PlotData::clear()
{
    m_series.clear();
    m_next = 0;
    m_refusalNoted = false;
    m_refused.clear();
}

QStringList PlotData::seriesNames() const
{
    QStringList names;
    for (const auto &series : m_series)
        names << series->name;
    return names;
}

int PlotData::pointCount(const QString &name) const
{
    for (const auto &series : m_series) {
        if (series->name == name)
            return series->count();
    }
    return 0;
}

QString PlotData::takeRefusedName()
{
    QString name;
    name.swap(m_refused);
    return name;
}

PlotSeries *PlotData::seriesFor(const PlotValue &value)
{
    const bool unnamed = value.name.isEmpty();
    for (const auto &series : qAsConst(m_series)) {
        if (unnamed ? series->position == value.position
                    : series->position == 0 && QStringView(series->name) == value.name)
            return series.data();
    }
    const QString name = unnamed ? QString::number(value.position) : value.name.toString();
    if (m_series.size() >= MaxSeries) {
        if (!m_refusalNoted) {
            m_refusalNoted = true;
            m_refused = name;
        }
        return nullptr;
    }
    auto series = QSharedPointer<PlotSeries>::create();
    series->name = name;
    series->position = unnamed ? value.position : 0;
    // The lowest colour no series holds, so a series keeps its colour for life.
    bool taken[MaxSeries] = {};
    for (const auto &other : qAsConst(m_series))
        taken[other->colour] = true;
    while (taken[series->colour])
        ++series->colour;
    m_series.append(series);
    return series.data();
}

void PlotData::trim()
{
    const double first = double(m_next - m_window);
    for (int i = m_series.size() - 1; i >= 0; --i) {
        dropOlderThan(*m_series[i], first);
        if (m_series[i]->count() == 0)
            m_series.remove(i);
    }
}

void PlotData::dropOlderThan(PlotSeries &series, double first)
{
    while (series.head < series.x.size() && series.x.at(series.head) < first)
        ++series.head;
    // Moving the rest down now and then keeps appending cheap and memory bounded.
    if (series.head > 1024 && series.head * 2 > series.x.size()) {
        series.x.remove(0, series.head);
        series.y.remove(0, series.head);
        series.head = 0;
    }
}

namespace {
// Index of the first sample of series numbered first or later.
int firstAtOrAfter(const PlotSeries &series, double first)
{
    const auto begin = series.x.cbegin() + series.head;
    return int(std::lower_bound(begin, series.x.cend(), first) - series.x.cbegin());
}
} // namespace

bool PlotData::valueRange(double first, double last, double &low, double &high) const
{
    bool any = false;
    for (const auto &series : m_series) {
        for (int i = firstAtOrAfter(*series, first); i < series->x.size() && series->x.at(i) <= last; ++i) {
            const double y = series->y.at(i);
            low = any ? std::min(low, y) : y;
            high = any ? std::max(high, y) : y;
            any = true;
        }
    }
    return any;
}

QByteArray PlotData::csv(double first, double last) const
{
    QByteArray out = "sample";
    QVector<int> next;
    for (const auto &series : m_series) {
        out += ',' + series->name.toUtf8();
        next.append(firstAtOrAfter(*series, first));
    }
    out += '\n';
    // The series are sorted by sample number: merge them row by row.
    for (;;) {
        double x = last + 1;
        for (int s = 0; s < m_series.size(); ++s) {
            if (next[s] < m_series[s]->x.size())
                x = std::min(x, m_series[s]->x.at(next[s]));
        }
        if (x > last)
            break;
        out += QByteArray::number(qint64(x));
        for (int s = 0; s < m_series.size(); ++s) {
            out += ',';
            const PlotSeries &series = *m_series[s];
            if (next[s] < series.x.size() && series.x.at(next[s]) == x)
                out += QByteArray::number(series.y.at(next[s]++), 'g', QLocale::FloatingPointShortest);
        }
        out += '\n';
    }
    return out;
}
