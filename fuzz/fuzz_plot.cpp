// The plot's reading of board text, line by line as the terminal shows it,
// into samples with a small window. Besides memory faults and hangs: values
// are finite and in the order of the line, names are words, and the samples
// keep to the series limit and the window, as their CSV shows.
#include "fuzzsupport.h"

#include "boardtext.h"
#include "plotdata.h"
#include "plotlineparser.h"

#include <QSet>

#include <algorithm>
#include <cmath>

namespace {

void checkValues(const QString &line, const QVector<PlotValue> &values)
{
    int position = 0;
    for (const PlotValue &value : values) {
        FUZZ_CHECK(std::isfinite(value.value));
        FUZZ_CHECK(value.position > position && value.position <= line.size());
        position = value.position;
        FUZZ_CHECK(value.name.size() <= PlotLineParser::MaxNameLength);
        if (!value.name.isEmpty()) {
            FUZZ_CHECK(value.name.front().isLetter() || value.name.front() == QLatin1Char('_'));
            for (const QChar c : value.name)
                FUZZ_CHECK(!c.isSpace() && c != QLatin1Char(',') && c != QLatin1Char(':') && c != QChar(0x1b));
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString text = boardUtf8(fuzzBytes(data, size));
    PlotLineParser parser;
    QVector<PlotValue> values;
    PlotData samples(PlotData::MinWindow);
    qint64 sampleLines = 0;
    for (const QString &line : text.split(QLatin1Char('\n'))) {
        const bool any = parser.parse(line, values);
        FUZZ_CHECK(any == !values.isEmpty());
        checkValues(line, values);
        const qint64 before = samples.newest();
        FUZZ_CHECK(samples.addLine(line) == any);
        FUZZ_CHECK(samples.newest() == before || samples.newest() == before + 1);
        sampleLines += any;
    }
    FUZZ_CHECK(samples.newest() < sampleLines);

    const QStringList names = samples.seriesNames();
    FUZZ_CHECK(names.size() <= PlotData::MaxSeries);
    FUZZ_CHECK(names.size() == QSet<QString>(names.cbegin(), names.cend()).size());
    int most = 0;
    for (const QString &name : names) {
        const int count = samples.pointCount(name);
        FUZZ_CHECK(count >= 1 && count <= samples.window());
        most = std::max(most, count);
    }
    const QList<QByteArray> rows = samples.csv(samples.newest() - samples.window() + 1, samples.newest()).split('\n');
    // A header, a row per sample number, and the empty rest after the last line end.
    FUZZ_CHECK(rows.size() >= most + 2 && rows.size() <= samples.window() + 2 && rows.last().isEmpty());
    FUZZ_CHECK(rows.first().count(',') == names.size());
    return 0;
}
