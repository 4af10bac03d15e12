// The plot's reading of board text: which numbers a line holds and their
// names; and its samples: series limit, window, drop-out and CSV export.
#include "plotdata.h"
#include "plotlineparser.h"

#include <QtTest>

namespace {
// "name=value" for each number, an unnamed one under its place on the line.
QStringList read(const QString &line, bool *any = nullptr)
{
    PlotLineParser parser;
    QVector<PlotValue> values;
    const bool found = parser.parse(line, values);
    if (any)
        *any = found;
    QStringList out;
    for (const PlotValue &value : values) {
        const QString name = value.name.isEmpty() ? QString::number(value.position) : value.name.toString();
        out << name + '=' + QString::number(value.value, 'g', QLocale::FloatingPointShortest);
    }
    return out;
}

QStringList split(const char *text)
{
    return QString::fromUtf8(text).split(' ', Qt::SkipEmptyParts);
}

QStringList repeated(int times, const QString &line)
{
    QStringList lines;
    for (int i = 0; i < times; ++i)
        lines << line;
    return lines;
}
} // namespace

class tst_PlotLines : public QObject
{
    Q_OBJECT

private slots:
    void numbers_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<QStringList>("expected");
        const auto row = [](const char *tag, const QString &line, const char *expected) {
            QTest::newRow(tag) << line << split(expected);
        };
        row("integers, decimals, signs", "1 -2 +3 2.5", "1=1 2=-2 3=3 4=2.5");
        row("exponents and bare points", "2.5e-3 1E6 -.5 7. 3e+2", "1=0.0025 2=1e+06 3=-0.5 4=7 5=300");
        row("commas, semicolons, tabs, runs", "1,2;3\t4 ,; 5", "1=1 2=2 3=3 4=4 5=5");
        row("name and colon", "temp: 21.5", "temp=21.5");
        row("glued colons and commas", "temp:21.5,hum:40", "temp=21.5 hum=40");
        row("equals, spaced or not", "x=3 y = -4 z =5 w= 6", "x=3 y=-4 z=5 w=6");
        row("name and space", "rpm 1200", "rpm=1200");
        row("names by position among all numbers", "10 a: 1 20 b=2 30", "1=10 a=1 3=20 b=2 5=30");
        row("board program line", "t: 17 a: 0.988 b: -1", "t=17 a=0.988 b=-1");
        row("only the last word names", "Temperature is 21.5 C", "is=21.5");
        row("a comma parts the word from the number", "temp, 5", "1=5");
        row("numbers inside words are not numbers", "v2 x3y 2v 21C 0x1F 1e 1.2.3 -", "");
        row("a word with digits names", "v2 5 imu.ax: -0.5 x-axis=1", "v2=5 imu.ax=-0.5 x-axis=1");
        row("clock times are not numbers", "12:30:05 level 3", "level=3");
        row("nan and inf skipped, keep their places", "nan 1 inf -inf 2 NaN x: +Infinity", "2=1 5=2");
        row("beyond a double's range", "1e999 -1e400 3", "3=3");
        row("ANSI colours dropped", "\x1b[32mtemp: \x1b[1;31m21.5\x1b[0m \x1b[Kok", "temp=21.5");
        row("printed carriage return", "x: 1\r", "x=1");
        row("Python dict", "{'a': 1, \"b\": 2.5}", "a=1 b=2.5");
        row("Python list and tuple", "[1.0, 2.0] (3, 4)", "1=1 2=2 3=3 4=4");
        row("no number", "Hello, world", "");
        row("ESP32 boot log", "load:0x3fff0030,len:4728", "len=4728");
        row("name of 64 characters", QString(64, 'n') + " 5", qPrintable(QString(64, 'n') + "=5"));
        row("a longer word names nothing", QString(65, 'n') + " 5", "1=5");
        row("very long line", QString(200000, 'x') + " y: 7 " + QString(200000, ','), "y=7");
        row("non-Latin name", QStringLiteral("температура: 21"), "температура=21");
    }

    void numbers()
    {
        QFETCH(QString, line);
        QFETCH(QStringList, expected);
        bool any = false;
        QCOMPARE(read(line, &any), expected);
        QCOMPARE(any, !expected.isEmpty());
    }

    void tenThousandNumbers()
    {
        QStringList numbers;
        for (int i = 0; i < 10000; ++i)
            numbers << QString::number(i * 0.5);
        const QStringList values = read(numbers.join(' '));
        QCOMPARE(values.size(), 10000);
        QCOMPARE(values.first(), QStringLiteral("1=0"));
        QCOMPARE(values.last(), QStringLiteral("10000=4999.5"));
    }

    void seventeenthSeries()
    {
        QStringList line;
        for (int i = 1; i <= 17; ++i)
            line << QStringLiteral("s%1: %1").arg(i);
        PlotData data;
        QVERIFY(data.addLine(line.join(' ')));
        QCOMPARE(data.seriesNames().size(), 16);
        QVERIFY(!data.seriesNames().contains("s17"));
        QCOMPARE(data.takeRefusedName(), QStringLiteral("s17"));
        // A line of refused names alone still is a sample line, but adds no sample number.
        QVERIFY(data.addLine(QStringLiteral("s18: 1 s19: 2")));
        QCOMPARE(data.takeRefusedName(), QString());
        QCOMPARE(data.newest(), qint64(0));
        data.clear();
        QVERIFY(data.seriesNames().isEmpty());
        QVERIFY(data.addLine(line.join(' ')));
        QCOMPARE(data.takeRefusedName(), QStringLiteral("s17"));
    }

    // Lines as "a b" letters, each a line holding those series, from sample 0 on.
    void window_data()
    {
        QTest::addColumn<int>("window");
        QTest::addColumn<QStringList>("lines");
        QTest::addColumn<QStringList>("names");
        QTest::addColumn<QList<int>>("counts");
        QTest::addColumn<QString>("firstRow"); // of the CSV over the window
        const QStringList both = repeated(120, "a b");
        QTest::newRow("window full, oldest dropped") << 50 << both << QStringList{"a", "b"} << QList<int>{50, 50} << "70,70,70";
        QTest::newRow("below the minimum") << 10 << both << QStringList{"a", "b"} << QList<int>{50, 50} << "70,70,70";
        QStringList alternating;
        for (int i = 0; i < 100; ++i)
            alternating << (i % 2 ? "b" : "a");
        QTest::newRow("alternating lines") << 50 << alternating << QStringList{"a", "b"} << QList<int>{25, 25} << "50,50,";
        QStringList quiet = QStringList{"a b"} + repeated(49, "b");
        QTest::newRow("quiet for less than the window stays") << 50 << quiet << QStringList{"a", "b"} << QList<int>{1, 50} << "0,0,0";
        quiet << "b";
        QTest::newRow("quiet for the whole window drops out") << 50 << quiet << QStringList{"b"} << QList<int>{50} << "1,1";
        QTest::newRow("lines without numbers take no number")
            << 50 << QStringList{"a", "", "text", "b"} << QStringList{"a", "b"} << QList<int>{1, 1} << "0,0,";
    }

    void window()
    {
        QFETCH(int, window);
        QFETCH(QStringList, lines);
        QFETCH(QStringList, names);
        QFETCH(QList<int>, counts);
        QFETCH(QString, firstRow);
        PlotData data(window);
        for (int i = 0; i < lines.size(); ++i) {
            QString line = lines[i];
            line.replace("a", QStringLiteral("a: %1").arg(i)).replace("b", QStringLiteral("b=%1").arg(i));
            QCOMPARE(data.addLine(line), lines[i].size() == 1 || lines[i] == "a b");
        }
        QCOMPARE(data.seriesNames(), names);
        for (int i = 0; i < names.size(); ++i)
            QCOMPARE(data.pointCount(names[i]), counts[i]);
        const QList<QByteArray> rows = data.csv(data.newest() - data.window() + 1, data.newest()).split('\n');
        QCOMPARE(rows.first(), "sample," + names.join(',').toUtf8());
        QCOMPARE(rows.value(1), firstRow.toUtf8());
    }

    void csvOfARange()
    {
        PlotData data;
        for (const char *line : {"a: 1 b: 2", "a: 1.5e-7", "b: -4 b: 5", "a: 6 b: 7"})
            QVERIFY(data.addLine(QString::fromLatin1(line)));
        QCOMPARE(data.csv(0, 3), QByteArray("sample,a,b\n0,1,2\n1,1.5e-07,\n2,,5\n3,6,7\n"));
        QCOMPARE(data.csv(1, 2), QByteArray("sample,a,b\n1,1.5e-07,\n2,,5\n"));
        double low = 0, high = 0;
        QVERIFY(data.valueRange(1, 2, low, high));
        QCOMPARE(low, 1.5e-7);
        QCOMPARE(high, 5.0);
        QVERIFY(!data.valueRange(10, 20, low, high));

        // A smaller window keeps the newest samples.
        data.setWindow(50);
        for (int i = 0; i < 200; ++i)
            data.addLine(QStringLiteral("a: %1").arg(i));
        data.setWindow(100);
        QCOMPARE(data.pointCount("a"), 50);
        QVERIFY(data.csv(0, data.newest()).startsWith("sample,a\n154,150\n"));
    }
};

QTEST_GUILESS_MAIN(tst_PlotLines)
#include "tst_plotlines.moc"
