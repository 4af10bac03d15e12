// The Plot tab: its place and setting, its pace of drawing, and a program on
// the virtual board plotted through the real window, paused, saved and cleared.
#include "morvexwindow.h"
#include "plotview.h"
#include "replconsole.h"
#include "testsupport.h"
#include "virtualboard.h"

#include <QtTest>
#include <QtWidgets>

namespace {
// Prints "t: N a: X b: Y" a hundred times a second.
const QByteArray program = "import math, time\n"
                           "n = 0\n"
                           "while True:\n"
                           "    print('t: %d a: %.3f b: %d' % (n, math.sin(n / 10), n % 7 - 3))\n"
                           "    n += 1\n"
                           "    time.sleep_ms(10)\n";

// The (t, a, b) of each program line in the terminal, in order.
QList<QVector<double>> programLines(MorvexWindow &window)
{
    static const QRegularExpression pattern(QStringLiteral("^t: (\\d+) a: (\\S+) b: (\\S+)$"));
    QList<QVector<double>> lines;
    for (const QString &message : terminalMessages(window)) {
        const QRegularExpressionMatch match = pattern.match(message);
        if (match.hasMatch())
            lines << QVector<double>{match.captured(1).toDouble(), match.captured(2).toDouble(), match.captured(3).toDouble()};
    }
    return lines;
}

bool consecutive(const QList<QVector<double>> &lines)
{
    for (int i = 1; i < lines.size(); ++i) {
        if (lines[i][0] != lines[i - 1][0] + 1)
            return false;
    }
    return true;
}
} // namespace

class tst_PlotView : public QObject
{
    Q_OBJECT
    SettingsSandbox sandbox;

private slots:
    void init() { sandbox.clear(); }

    void tabAndWindowSetting()
    {
        QSettings().setValue("Plot/Window", 2000);
        MorvexWindow w;
        auto *tabs = w.findChild<QTabWidget *>("logTabWidget");
        auto *page = w.findChild<QWidget *>("logPlotTab");
        QVERIFY(page && page->isAncestorOf(w.findChild<PlotView *>("plotView")));
        // Behind the terminal, the system log and the REPL console, which keep their places.
        QCOMPARE(tabs->indexOf(page), 3);
        QCOMPARE(tabs->widget(2)->objectName(), QStringLiteral("logReplTab"));
        QCOMPARE(tabs->tabText(tabs->indexOf(page)), QStringLiteral("Plot"));
        QCOMPARE(tabs->widget(0)->objectName(), QStringLiteral("logRuntimeTab"));
        QCOMPARE(tabs->currentIndex(), 0);
        // What a statement of the REPL console prints is plotted too.
        auto *plot = w.findChild<PlotView *>("plotView");
        QVERIFY(QMetaObject::invokeMethod(w.findChild<QWidget *>("logReplTab")->findChild<ReplConsole *>(), "outputLine",
                                          Q_ARG(QString, "x: 5")));
        QCOMPARE(plot->pointCount("x"), 1);
        auto *box = w.findChild<QSpinBox *>("plotWindowBox");
        QCOMPARE(box->value(), 2000);
        box->setValue(20);
        QCOMPARE(QSettings().value("Plot/Window").toInt(), 50);

        // The window's least size and its split between files and logs are those without the tab.
        w.show();
        const QSize least = w.minimumSizeHint();
        const QSize logs = tabs->sizeHint();
        tabs->removeTab(tabs->indexOf(page));
        QCOMPARE(w.minimumSizeHint(), least);
        QCOMPARE(tabs->sizeHint(), logs);
    }

    // Lines come far faster than frames: at most 30 frames a second, and at least one.
    void drawingIsPaced()
    {
        PlotView view;
        view.resize(800, 400);
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
        const int before = view.frameCount();
        QElapsedTimer clock;
        clock.start();
        int lines = 0;
        while (clock.elapsed() < 600) {
            for (int i = 0; i < 200; ++i, ++lines)
                QVERIFY(view.addLine(QStringLiteral("x: %1 y: %2").arg(lines).arg(lines % 13)));
            QCoreApplication::processEvents();
        }
        const qint64 elapsed = clock.elapsed();
        const int frames = view.frameCount() - before;
        QVERIFY2(frames >= 1 && frames <= elapsed * 30 / 1000 + 1,
                 qPrintable(QStringLiteral("%1 frames in %2 ms for %3 lines").arg(frames).arg(elapsed).arg(lines)));
        QCOMPARE(view.pointCount("x"), 500);
    }

    void boardProgram_data()
    {
        QTest::addColumn<QString>("delivery");
        for (const char *mode : {"usb", "uart", "random"})
            QTest::newRow(mode) << mode;
    }

    void boardProgram()
    {
        QFETCH(QString, delivery);
        // Large enough that nothing leaves the window while the test runs.
        QSettings().setValue("Plot/Window", 5000);
        VirtualBoard board;
        QVERIFY(board.start(VirtualBoard::familyArgs(1) + QStringList{"--delivery", delivery}));
        QVERIFY(board.writeFile("main.py", program));
        MorvexWindow w;
        QVERIFY(connectBoard(w, board, 1));
        auto *plot = w.findChild<PlotView *>("plotView");
        const auto trigger = [&](const char *name) { plot->findChild<QAction *>(name)->trigger(); };
        windowAction(w, "actionLaunch")->trigger();

        // Two seconds of the program: every line it printed is a sample of t, a and b.
        QVERIFY2(waitFor([&] { return programLines(w).size() >= 200; }, 20000), qPrintable(terminalText(w)));
        QList<QVector<double>> lines = programLines(w);
        QVERIFY(consecutive(lines) && lines.first()[0] == 0);
        for (const char *name : {"t", "a", "b"})
            QCOMPARE(plot->pointCount(name), lines.size());
        // The ESP32's boot log before it has numbers too: "len:4728".
        QVERIFY(plot->seriesNames().contains("len"));
        QCOMPARE(plot->seriesNames().mid(plot->seriesNames().indexOf("t")), QStringList({"t", "a", "b"}));

        trigger("plotClearAction");
        QVERIFY(plot->seriesNames().isEmpty());
        QVERIFY(waitFor([&] { return plot->pointCount("t") >= 30; }, 10000));
        QCOMPARE(plot->seriesNames(), QStringList({"t", "a", "b"}));

        trigger("plotPauseAction");
        const int held = plot->pointCount("t");
        const int printed = programLines(w).size();
        QVERIFY(waitFor([&] { return programLines(w).size() >= printed + 20; }, 10000));
        QCOMPARE(plot->pointCount("t"), held);
        QCOMPARE(plot->pointCount("b"), held);

        // Saved while paused: the data is what the screen shows, the newest samples before the pause.
        QTemporaryDir dir;
        for (const QString &file : {dir.filePath("shown"), dir.filePath("shown.csv")}) {
            QScopedPointer<DialogAnswerer> answer(DialogAnswerer::fileName(file));
            trigger(file.endsWith(".csv") ? "plotSaveDataAction" : "plotSaveImageAction");
            QCOMPARE(answer->answered(), 1);
        }
        QVERIFY(syslogMessages(w).contains("Saved to shown.png") && syslogMessages(w).contains("Saved to shown.csv"));
        const QImage image(dir.filePath("shown.png"));
        QVERIFY(image.width() >= 640 && image.height() >= 400);
        QSet<QRgb> colours;
        for (int y = 0; y < image.height(); y += 3) {
            for (int x = 0; x < image.width(); x += 3)
                colours.insert(image.pixel(x, y));
        }
        QVERIFY2(colours.size() > 8, qPrintable(QString::number(colours.size()))); // not a blank page
        const QStringList rows = QString::fromUtf8(readLocalFile(dir.filePath("shown.csv"))).split('\n', Qt::SkipEmptyParts);
        QCOMPARE(rows.first(), QStringLiteral("sample,t,a,b"));
        QCOMPARE(rows.size() - 1, held);
        lines = programLines(w);
        const QStringList firstRow = rows.at(1).split(',');
        const int at = int(firstRow.at(1).toDouble()); // t counts lines from 0
        for (int i = 1; i < rows.size(); ++i) {
            const QStringList fields = rows.at(i).split(',');
            const QVector<double> &line = lines.at(at + i - 1);
            QCOMPARE(fields.at(0).toInt(), i - 1);
            QCOMPARE(QVector<double>({fields.at(1).toDouble(), fields.at(2).toDouble(), fields.at(3).toDouble()}), line);
        }
        QCOMPARE(at + held, printed);

        trigger("plotPauseAction");
        QVERIFY(waitFor([&] { return plot->pointCount("t") > held + 10; }, 10000));
        // The terminal went on showing every line all along.
        QVERIFY(consecutive(programLines(w)));
    }
};

QTEST_MAIN(tst_PlotView)
#include "tst_plotview.moc"
