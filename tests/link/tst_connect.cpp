// Connecting to the virtual board: bytes sent, log lines, states, action gating, time limits, failures.
#include "morvexwindowprobe.h"
#include "testsupport.h"
#include "virtualboard.h"

#include <QAction>
#include <QElapsedTimer>
#include <QGroupBox>
#include <QMetaEnum>
#include <QProgressBar>
#include <QTemporaryDir>
#include <QTest>
#include <QToolBar>

#include <memory>

class tst_Connect : public QObject
{
    Q_OBJECT

private slots:
    void init() { sandbox.clear(); }
    void gatingFromMonitorToDisconnect();
    void wireBytes_data();
    void wireBytes();
    void timeLimits();
    void portErrors_data();
    void portErrors();

private:
    SettingsSandbox sandbox;
    VirtualBoard monitored; // shared by the rows of portErrors
    VirtualBoard wired;     // and a connected board by the rows of wireBytes
    std::unique_ptr<MorvexWindow> wiredWindow;
};

void tst_Connect::gatingFromMonitorToDisconnect()
{
    VirtualBoard board;
    QVERIFY(board.start());
    MorvexWindow w;
    auto *toolBar = w.findChild<QToolBar *>(QStringLiteral("b_actionsToolBar"));
    auto *group = w.findChild<QGroupBox *>(QStringLiteral("fileSystemGroup"));
    auto *upload = windowAction(w, "actionUpload");
    const auto gates = [&] { return QVector<bool>{toolBar->isEnabled(), upload->isEnabled(), group->isEnabled()}; };

    // Monitor only: tool bar on, nothing sent, and Reset MC has no effect and stays checked.
    windowAction(w, "actionMonitor_Only")->setChecked(true);
    windowAction(w, "actionReset_MC")->setChecked(true);
    connectThroughPopup(w, board, 0);
    QVERIFY(waitFor([&] { return terminalMessages(w).contains(QStringLiteral("Opened connection to %1").arg(board.portPath())); }, 5000));
    QCOMPARE(w.state(), MorvexWindow::MC_UNKNOWN);
    QCOMPARE(gates(), (QVector<bool>{true, false, false}));
    QVERIFY(windowAction(w, "actionReset_MC")->isChecked());
    windowAction(w, "actionReset_MC")->setChecked(false);

    // Abort queries the board: board actions and file area on.
    windowAction(w, "actionAbort")->trigger();
    QCOMPARE(gates(), (QVector<bool>{true, true, true}));

    // A disconnect by the user: tool bar off, board actions unchanged, the listing emptied, no loss reported.
    windowAction(w, "actionConnect")->trigger();
    QCOMPARE(gates(), (QVector<bool>{false, true, false}));
    QVERIFY(!MorvexWindowProbe::port(w).isOpen() && !syslogMessages(w).contains(QStringLiteral("Connection closed")));
    QCOMPARE(w.state(), MorvexWindow::MC_UNKNOWN);
    QCOMPARE(MorvexWindowProbe::mcModel(w).rowCount(), 0);
}

// What reaches the board, byte for byte: a connect, the REPL modes, a script, a command, both transfers.
void tst_Connect::wireBytes_data()
{
    QTest::addColumn<QString>("way");
    QTest::addColumn<QByteArray>("bytes");
    const auto script = [](const char *name) { return "\x01" + readLocalFile(QStringLiteral(":/data/") + name) + "\x04"; };
    const QByteArray announce = "import os;print(os.uname())\r\n"
        "import os,json;print(json.dumps([{'n': item[0], 's': -1} for item in os.ilistdir('/') if item[1]==0x4000]))\r\n"
        "import os,json;print(json.dumps([{'n': item[0], 's': item[3] if (len(item)>3) else -1} for item in "
        "os.ilistdir('/') if item[1]==0x8000]))\r\nimport os; os.chdir('/')\r\n";
    QTest::newRow("connect") << "connect" << "\x02\x03" + announce;
    QTest::newRow("connect, Reset MC") << "reset" << "\x02\x03import machine; machine.reset(1)\r\n" + announce;
    QTest::newRow("connect, Monitor Only") << "monitor" << QByteArray();
    QTest::newRow("connect to a silent board") << "silent" << QByteArray("\x02\x03\x02");
    QTest::newRow("raw REPL entry and exit") << "raw" << QByteArray("\x01\x02");
    QTest::newRow("script, then a friendly command") << "direxists" << script("direxists.py") + "\x02print(_direxists('/lib'))\r\n";
    QTest::newRow("upload packets") << "upload"
        << script("upload_e.py") + "_upload('/u.txt', 512)\x04!0000000008aGVsbG8=@0000000655\x01";
    QTest::newRow("download answers, two blocks") << "download" << script("download.py") + "_download('/d.bin')\x04^^^^\x01";
}

void tst_Connect::wireBytes()
{
    QFETCH(QString, way);
    QFETCH(QByteArray, bytes);
    const QStringList esp32{"--family", "esp32", "--reset-delay", "300"};
    if (way == "connect" || way == "reset" || way == "monitor" || way == "silent") {
        VirtualBoard board;
        QVERIFY(board.start(way == "silent" ? QStringList{"--mute-after", "0"} : esp32));
        MorvexWindow w;
        windowAction(w, "actionReset_MC")->setChecked(way == "reset");
        if (way == "monitor")
            QVERIFY(monitorBoard(w, board, 1) && !waitFor([&] { return !board.received().isEmpty(); }, 600));
        else if (way == "silent") // the prompt is asked for twice, the second time as if the board sat in its raw REPL
            connectThroughPopup(w, board, 0);
        else
            QVERIFY(connectBoard(w, board, 1));
        QVERIFY(way != "silent" || waitFor([&] { return syslogMessages(w).contains("Connection failed - MC is not responding"); }, 16000));
        QCOMPARE(board.received(), bytes);
        QVERIFY(way != "silent" || (w.state() == MorvexWindow::MC_UNKNOWN && MorvexWindowProbe::port(w).isOpen()));
        return;
    }
    if (!wiredWindow) {
        wiredWindow.reset(new MorvexWindow);
        QVERIFY(wired.start(esp32) && connectBoard(*wiredWindow, wired, 1));
        QVERIFY(wired.writeFile(QStringLiteral("d.bin"), randomBytes(300, 1)));
    }
    MorvexWindow &w = *wiredWindow;
    QVERIFY(w.enterRepl());
    const int from = wired.received().size();
    QTemporaryDir local;
    if (way == "raw")
        QVERIFY(w.enterRawRepl() && w.enterRepl());
    else if (way == "direxists")
        QVERIFY(!w.boardDirExists(QStringLiteral("/lib")));
    else if (way == "upload")
        QVERIFY(uploadBytes(w, "hello", QStringLiteral("/u.txt")));
    else
        QVERIFY(w.downloadToFile(QStringLiteral("/d.bin"), local.filePath(QStringLiteral("d.bin"))));
    // The last byte of a transfer goes out without an answer to wait for.
    QVERIFY(waitFor([&] { return wired.received().size() >= from + bytes.size(); }, 5000));
    QCOMPARE(wired.received().mid(from), bytes);
}

// Every time limit of the link against a board fallen silent: abort 1000 ms, REPL entry 5000 ms,
// a data packet 6000 ms and a hash 10000 ms, all at once. Each operation starts inside the wait
// of a longer one and ends before it, as nested waits must.
void tst_Connect::timeLimits()
{
    // Silent from the start; the uploading board from the first byte of its first data packet.
    const int upload = 1 + readLocalFile(QStringLiteral(":/data/upload.py")).size() + 1
                       + int(qstrlen("_upload('/flash/t.bin', 512)\x04")) + 11 + 1;
    VirtualBoard boards[4];
    MorvexWindow windows[4];
    for (int i = 0; i < 4; ++i) {
        QVERIFY(boards[i].start({QStringLiteral("--mute-after"), QString::number(i == 2 ? upload : 0)}));
        QVERIFY(monitorBoard(windows[i], boards[i], 0));
        MorvexWindowProbe::mcState(windows[i]) = i == 1 ? MorvexWindow::MC_UNKNOWN : MorvexWindow::MC_REPL;
    }
    QElapsedTimer clock;
    clock.start();
    qint64 took[4] = {};
    qint64 packetSent = 0;
    const auto timed = [&](int i, const std::function<bool()> &operation) {
        const qint64 from = clock.elapsed();
        QVERIFY(!operation());
        took[i] = clock.elapsed() - from;
    };
    auto *bar = windows[2].findChild<QProgressBar *>(QStringLiteral("progressBar"));
    ActWhen uploading([] { return true; }, [&] {
        QVERIFY(!uploadBytes(windows[2], "abc", QStringLiteral("/flash/t.bin")));
        took[2] = clock.elapsed() - packetSent;
    });
    ActWhen entering([&] { return !bar->isHidden(); }, [&] {
        packetSent = clock.elapsed();
        timed(1, [&] { return windows[1].enterRepl(); });
    });
    ActWhen aborting([&] { return entering.done(); }, [&] {
        timed(0, [&] { windowAction(windows[0], "actionAbort")->trigger(); return false; });
    });
    timed(3, [&] { return !windows[3].boardHash(QStringLiteral("/flash/x")).isEmpty(); });
    QVERIFY(syslogMessages(windows[0]).contains(QStringLiteral("Abort failed")));
    QVERIFY(syslogMessages(windows[2]).contains(QStringLiteral("Transmission error. Aborted")));
    const int limits[4] = {1000, 5000, 6000, 10000};
    for (int i = 0; i < 4; ++i)
        QVERIFY2(qAbs(took[i] - limits[i]) <= limits[i] * 15 / 100, qPrintable(QStringLiteral("%1 ms, limit %2").arg(took[i]).arg(limits[i])));
}

void tst_Connect::portErrors_data()
{
    QTest::addColumn<int>("error");
    QTest::addColumn<bool>("fatal");
    const QMetaEnum errors = QMetaEnum::fromType<QSerialPort::SerialPortError>();
    const QList<int> fatal{QSerialPort::WriteError, QSerialPort::ReadError, QSerialPort::ResourceError,
                           QSerialPort::TimeoutError, QSerialPort::NotOpenError};
    for (int i = 0; i < errors.keyCount(); ++i)
        QTest::newRow(errors.key(i)) << errors.value(i) << fatal.contains(errors.value(i));
}

void tst_Connect::portErrors()
{
    QFETCH(int, error);
    QFETCH(bool, fatal);
    QVERIFY(monitored.isRunning() || monitored.start());
    MorvexWindow w;
    QVERIFY(monitorBoard(w, monitored, 0));
    const int before = syslogMessages(w).size();
    emit MorvexWindowProbe::port(w).errorOccurred(QSerialPort::SerialPortError(error));
    QCOMPARE(syslogMessages(w).mid(before), fatal ? QStringList({"Fatal communication error", "Connection closed"}) : QStringList());
    QCOMPARE(MorvexWindowProbe::port(w).isOpen(), !fatal);
}

QTEST_MAIN(tst_Connect)
#include "tst_connect.moc"
