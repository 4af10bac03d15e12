// The plot under a flood: 200,000 lines of four named series, as fast as they
// can be given, into a shown PlotView; the event loop runs between bursts of
// 1000 lines, as it does between serial reads. Prints lines per second for the
// parser alone, the samples alone and the view with its drawing, and the
// redraws per second meanwhile; then the same lines again spread over four
// seconds, for the redraws per second a steady stream gets.
#include "plotdata.h"
#include "plotlineparser.h"
#include "plotview.h"
#include "testsupport.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QStringList>
#include <QtTest>

#include <algorithm>
#include <cmath>
#include <cstdio>

int main(int argc, char *argv[])
{
    // Drawing is measured on a real display when there is one.
    if (qEnvironmentVariableIsEmpty("DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    SettingsSandbox sandbox;
    const int count = 200000;
    const int burst = 1000;
    QStringList lines;
    lines.reserve(count);
    for (int n = 0; n < count; ++n)
        lines << QStringLiteral("t: %1 a: %2 b: %3 c: %4")
                     .arg(n)
                     .arg(std::sin(n / 50.0), 0, 'f', 4)
                     .arg(std::cos(n / 80.0) * 1000, 0, 'f', 1)
                     .arg(n % 100 - 50);

    QElapsedTimer clock;
    PlotLineParser parser;
    QVector<PlotValue> values;
    int samples = 0;
    clock.start();
    for (const QString &line : qAsConst(lines))
        samples += parser.parse(line, values);
    const double parseSeconds = clock.nsecsElapsed() / 1e9;

    PlotData data;
    clock.restart();
    for (const QString &line : qAsConst(lines))
        data.addLine(line);
    const double dataSeconds = clock.nsecsElapsed() / 1e9;

    PlotView view;
    view.resize(900, 500);
    view.show();
    if (!QTest::qWaitForWindowExposed(&view))
        return 1;
    const int framesBefore = view.frameCount();
    qint64 feeding = 0;
    clock.restart();
    for (int at = 0; at < count; at += burst) {
        QElapsedTimer part;
        part.start();
        for (int i = at; i < at + burst; ++i)
            view.addLine(lines.at(i));
        feeding += part.nsecsElapsed();
        QCoreApplication::processEvents();
    }
    const double wallSeconds = clock.nsecsElapsed() / 1e9;
    const int frames = view.frameCount() - framesBefore;

    const double steadyRate = count / 4.0;
    const int steadyBefore = view.frameCount();
    clock.restart();
    for (int at = 0; at < count;) {
        const int due = std::min(count, int(clock.nsecsElapsed() / 1e9 * steadyRate));
        for (; at < due; ++at)
            view.addLine(lines.at(at));
        QCoreApplication::processEvents();
    }
    const double steadySeconds = clock.nsecsElapsed() / 1e9;
    const int steadyFrames = view.frameCount() - steadyBefore;
    if (samples != count || data.pointCount(QStringLiteral("c")) != 500 || view.pointCount(QStringLiteral("t")) != 500)
        return 1;

    std::printf("%d lines of four named series, window 500, platform %s\n", count,
                qPrintable(QGuiApplication::platformName()));
    std::printf("parser alone        %10.0f lines/s\n", count / parseSeconds);
    std::printf("samples alone       %10.0f lines/s\n", count / dataSeconds);
    std::printf("view, feeding       %10.0f lines/s\n", count / (feeding / 1e9));
    std::printf("view, with drawing  %10.0f lines/s  (%.2f s)\n", count / wallSeconds, wallSeconds);
    std::printf("redraws             %10.1f /s      (%d)\n", frames / wallSeconds, frames);
    std::printf("steady %6.0f lines/s: %.1f redraws/s (%d in %.2f s)\n", steadyRate, steadyFrames / steadySeconds,
                steadyFrames, steadySeconds);
    return 0;
}
