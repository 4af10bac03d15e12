// Upload and download of a 64 KiB random file through the real window to the
// virtual board, unthrottled, at 115200 baud in whole packets and in the pieces
// of a USB-UART bridge; prints the median of three.
#include "morvexwindowprobe.h"
#include "testsupport.h"
#include "virtualboard.h"

#include <QApplication>
#include <QBuffer>
#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QSettings>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {
double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

bool measure(const QStringList &boardArgs, double *up, double *down)
{
    VirtualBoard board;
    if (!board.start(boardArgs))
        return false;
    MorvexWindow window;
    if (!connectBoard(window, board, 0, 60000))
        return false;
    QByteArray data(65536, '\0');
    QRandomGenerator generator(42);
    for (char &byte : data)
        byte = char(generator.bounded(256));
    QTemporaryDir local;
    std::vector<double> ups, downs;
    for (int run = 0; run < 3; ++run) {
        QBuffer source(&data);
        source.open(QIODevice::ReadOnly);
        QElapsedTimer clock;
        clock.start();
        if (!window.uploadData(source, QStringLiteral("/flash/bench.bin")))
            return false;
        ups.push_back(data.size() / (clock.nsecsElapsed() / 1e9));
        window.settleBoard(false);
        clock.restart();
        if (!window.downloadToFile(QStringLiteral("/flash/bench.bin"), local.filePath(QStringLiteral("bench.bin"))))
            return false;
        downs.push_back(data.size() / (clock.nsecsElapsed() / 1e9));
        window.settleBoard(false);
        if (board.readFile(QStringLiteral("bench.bin")) != data)
            return false;
    }
    *up = median(ups);
    *down = median(downs);
    return true;
}
} // namespace

int main(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    SettingsSandbox sandbox;
    const double lineRate = 115200 / 10.0; // bytes per second, 10 bits a byte
    struct Case {
        const char *name;
        QStringList args;
    } cases[] = {
        {"unthrottled", {}},
        {"115200 baud", {QStringLiteral("--baud"), QStringLiteral("115200")}},
        {"uart 115200", {QStringLiteral("--delivery"), QStringLiteral("uart"), QStringLiteral("--baud"),
                         QStringLiteral("115200")}},
    };
    std::printf("64 KiB random file, median of 3, chunk 512\n");
    for (const Case &c : cases) {
        double up = 0, down = 0;
        if (!measure(c.args, &up, &down)) {
            std::printf("%-12s failed\n", c.name);
            return 1;
        }
        std::printf("%-12s upload %8.0f B/s (%.2f x line rate)   download %8.0f B/s (%.2f x line rate)\n", c.name,
                    up, up / lineRate, down, down / lineRate);
    }
    return 0;
}
