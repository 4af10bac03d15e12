// Synchronisation of a small project into an empty board folder, the way a
// first deployment goes: 30 files of 1000 + 40*i bytes through the real window
// to the virtual board in uart delivery at 115200 baud, once file by file
// (the single upload, as a user's own "Scripts/Upload" makes it run) and once
// in one batch; then a second run with nothing changed. Prints total seconds
// and their ratio to the line time of the bytes the board received.
#include "morvexwindow.h"
#include "testsupport.h"
#include "virtualboard.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>

#include <cstdio>

namespace {
constexpr double lineRate = 115200 / 10.0; // bytes per second, 10 bits a byte

struct Run {
    double seconds = 0;
    qint64 sent = 0; // bytes the board received
    double secondRun = 0;
};

// One board, one window: the first synchronisation and the one after it.
bool measure(const QString &localRoot, qint64 dataBytes, Run *run)
{
    VirtualBoard board;
    if (!board.start({QStringLiteral("--delivery"), QStringLiteral("uart"), QStringLiteral("--baud"), QStringLiteral("115200")})
        || !QDir(board.fsPath()).mkpath(QStringLiteral("proj")))
        return false;
    MorvexWindow window;
    if (!connectBoard(window, board, 0, 60000))
        return false;
    window.changeBoardDir(QStringLiteral("/flash/proj"));
    const QStringList names = MorvexWindow::collectLocalFiles(localRoot, QString(), false);
    const QString done = QStringLiteral("Synchronized files from folders %1/ and /flash/proj/").arg(localRoot);
    for (double *seconds : {&run->seconds, &run->secondRun}) {
        const qint64 before = board.received().size();
        QElapsedTimer clock;
        clock.start();
        window.syncFiles(localRoot, names, true);
        *seconds = clock.nsecsElapsed() / 1e9;
        if (syslogMessages(window).constLast() != done)
            return false;
        if (seconds == &run->seconds)
            run->sent = board.received().size() - before;
    }
    qint64 onBoard = 0;
    for (const QString &name : names) {
        if (board.readFile(QStringLiteral("proj/") + name) != readLocalFile(localRoot + QLatin1Char('/') + name))
            return false;
        onBoard += board.readFile(QStringLiteral("proj/") + name).size();
    }
    return onBoard == dataBytes;
}
} // namespace

int main(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    SettingsSandbox sandbox;
    QTemporaryDir project;
    qint64 dataBytes = 0, encodedBytes = 0;
    for (int i = 0; i < 30; ++i) {
        const QByteArray data = randomBytes(1000 + 40 * i, quint32(i));
        if (!writeLocalFile(project.filePath(QStringLiteral("m%1.py").arg(i, 2, 10, QLatin1Char('0'))), data))
            return 1;
        dataBytes += data.size();
        encodedBytes += data.toBase64().size();
    }
    QTemporaryDir scripts;
    const QString single = scripts.filePath(QStringLiteral("upload.py"));
    QFile builtIn(QStringLiteral(":/data/upload.py"));
    if (!builtIn.open(QIODevice::ReadOnly) || !writeLocalFile(single, builtIn.readAll()))
        return 1;

    std::printf("30 files, %lld bytes (%lld in base64), synchronised into an empty board folder;\n"
                "uart delivery at 115200 baud, chunk 512; the base64 alone takes %.1f s of the line\n",
                dataBytes, encodedBytes, encodedBytes / lineRate);
    // The ratios: to the line time of all bytes sent (scripts, commands, packets), and of the base64 alone.
    std::printf("%-7s %9s %12s %12s %7s %12s %14s\n", "path", "total s", "bytes sent", "line time s", "ratio",
                "data ratio", "second run s");
    for (const bool batch : {false, true}) {
        if (batch)
            QSettings().remove(QStringLiteral("Scripts/Upload"));
        else
            QSettings().setValue(QStringLiteral("Scripts/Upload"), single);
        Run run;
        if (!measure(project.path(), dataBytes, &run)) {
            std::printf("%-7s failed\n", batch ? "batch" : "single");
            return 1;
        }
        const double line = run.sent / lineRate;
        std::printf("%-7s %9.1f %12lld %12.1f %7.2f %12.2f %14.1f\n", batch ? "batch" : "single", run.seconds, run.sent,
                    line, run.seconds / line, run.seconds / (encodedBytes / lineRate), run.secondRun);
    }
    return 0;
}
