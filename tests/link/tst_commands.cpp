// Board commands and device-side scripts against the virtual board.
#include "morvexwindowprobe.h"
#include "testsupport.h"
#include "virtualboard.h"

#include <QAction>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

class tst_Commands : public QObject
{
    Q_OBJECT

private slots:
    void init() { sandbox.clear(); }
    void uname_data();
    void uname();
    void startFolder_data();
    void startFolder();
    void dfu();
    void writeFails_data();
    void writeFails();
    void scripts_data();
    void scripts();

private:
    SettingsSandbox sandbox;
};

void tst_Commands::uname_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<QString>("line");
    const QString failed = QStringLiteral("System information request failed");
    QTest::newRow("single quotes fill, mod unknown") << "print(\"(sysname='s', nodename='n1', release='r1', version='v 1', machine='m x')\")"
                                                     << "Connected to micropython board n1 (mod unknown), release r1. Core m x version v 1";
    QTest::newRow("missing keys") << "print(\"(sysname='x')\")" << "Connected to micropython board invalid (mod unknown), release na. Core na version na";
    QTest::newRow("no tuple line") << "print(42)" << failed;
    QTest::newRow("empty means the built-in command")
        << "" << "Connected to micropython board pyboard (mod unknown), release 1.28.0. Core PYBv1.1 with STM32F405RG version v1.28.0 on 2026-11-21";
}

void tst_Commands::uname()
{
    QFETCH(QString, command);
    QFETCH(QString, line);
    VirtualBoard board;
    QVERIFY(board.start());
    QSettings().setValue(QStringLiteral("PY/uname"), command);
    MorvexWindow w;
    QVERIFY(connectBoard(w, board, 0));
    QVERIFY2(syslogMessages(w).contains(line), qPrintable(syslogText(w)));
    QVERIFY(windowAction(w, "actionUpload")->isEnabled()); // even when the description failed
}

void tst_Commands::startFolder_data()
{
    QTest::addColumn<int>("family");
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QString>("listed");
    QTest::newRow("stm32 stored folder") << 0 << "/flash/lib" << "/flash/lib/";
    QTest::newRow("stm32 stored folder gone") << 0 << "/flash/nothere" << "/flash/";
    QTest::newRow("esp32 stored folder") << 1 << "/lib" << "/lib/";
}

void tst_Commands::startFolder()
{
    QFETCH(int, family);
    QFETCH(QString, stored);
    QFETCH(QString, listed);
    VirtualBoard board;
    QVERIFY(board.start(VirtualBoard::familyArgs(family)));
    QVERIFY(board.writeFile(QStringLiteral("lib/a.py"), "x = 1\n"));
    QSettings().setValue(family ? QStringLiteral("MC/ESPDir") : QStringLiteral("MC/STMDir"), stored);
    MorvexWindow w;
    QVERIFY(connectBoard(w, board, family));
    QCOMPARE(MorvexWindowProbe::mcModel(w).rootPath, listed);
}

void tst_Commands::dfu()
{
    VirtualBoard board;
    QVERIFY(board.start());
    MorvexWindow w;
    windowAction(w, "actionAutomatic_Reconnect")->setChecked(true);
    QVERIFY(connectBoard(w, board, 0));
    windowAction(w, "actionDFU")->trigger();
    QVERIFY(waitFor([&] { return board.received().contains("import machine; machine.dfu()\r\n"); }, 5000));
    QVERIFY(!MorvexWindowProbe::port(w).isOpen() && syslogMessages(w).contains(QStringLiteral("Connection closed")));
    QVERIFY(!MorvexWindowProbe::reconnectTimer(w).isActive());
}

void tst_Commands::writeFails_data()
{
    QTest::addColumn<QString>("way");
    QTest::addColumn<QStringList>("messages"); // in this order
    const QStringList script{QStringLiteral("Cannot upload script :/data/debug.py")};
    QTest::newRow("launch") << "actionLaunch" << QStringList{"Launch failed", "Launching..."};
    QTest::newRow("reset") << "actionReset" << QStringList{"Restart failed", "Resetting..."};
    QTest::newRow("dfu") << "actionDFU" << QStringList{"DFU failed or not supported"};
    QTest::newRow("load a script") << "load" << script;
    QTest::newRow("run a script") << "run" << script;
}

void tst_Commands::writeFails()
{
    QFETCH(QString, way);
    QFETCH(QStringList, messages);
    VirtualBoard board;
    QVERIFY(board.start());
    MorvexWindow w;
    QVERIFY(monitorBoard(w, board, 0));
    // The mode the operation needs already stands, so its first write is the one that fails.
    const bool script = way == QLatin1String("load") || way == QLatin1String("run");
    MorvexWindowProbe::mcState(w) = script ? MorvexWindow::MC_RAW : MorvexWindow::MC_REPL;
    board.stop(); // with no event served, the port still looks open
    QVERIFY(MorvexWindowProbe::port(w).isOpen());
    if (way == QLatin1String("load"))
        QVERIFY(!w.loadScript(QStringLiteral(":/data/debug.py")));
    else if (way == QLatin1String("run"))
        QVERIFY(!w.runScript(QStringLiteral(":/data/debug.py")));
    else
        windowAction(w, way.toLatin1().constData())->trigger();
    const QStringList log = syslogMessages(w);
    QVERIFY2(inOrder(log, QStringList{QStringLiteral("Connection closed")} + messages), qPrintable(log.join('\n')));
    QVERIFY(!MorvexWindowProbe::port(w).isOpen());
}

void tst_Commands::scripts_data()
{
    QTest::addColumn<int>("family");
    QTest::newRow("stm32") << 0;
    QTest::newRow("esp32") << 1;
}

// Abort, loading and running local scripts, and the echo test, one after another on one board.
void tst_Commands::scripts()
{
    QFETCH(int, family);
    VirtualBoard board;
    QVERIFY(board.start(VirtualBoard::familyArgs(family)));
    MorvexWindow w;
    QVERIFY(connectBoard(w, board, family));
    QTemporaryDir dir;
    const auto script = [&](const QString &name, const QByteArray &text) {
        return writeLocalFile(dir.filePath(name), text) ? dir.filePath(name) : QString();
    };

    // An abort during a command: its Ctrl-C interrupts the board, its prompt ends both waits at once.
    QTimer::singleShot(300, &w, [&] { windowAction(w, "actionAbort")->trigger(); });
    QVERIFY(w.exchange("import time; time.sleep(20)\r\n", 15000));
    QVERIFY(waitFor([&] { return syslogMessages(w).contains(QStringLiteral("Stopped")); }, 10000));
    QVERIFY(board.received().contains("time.sleep(20)\r\n\x03") && !syslogMessages(w).contains(QStringLiteral("Abort failed")));

    // Loading checks acceptance only: a syntax error still gives "OK". Already raw: no second Ctrl-A.
    const QString broken = script(QStringLiteral("broken.py"), "def f(:\n    pass\n");
    const int sent = board.received().size();
    QVERIFY(w.loadScript(broken) && w.loadScript(broken));
    QCOMPARE(w.state(), MorvexWindow::MC_RAW);
    QCOMPARE(board.received().mid(sent).count('\x01'), 1);
    QCOMPARE(board.received().mid(sent).count("def f(:"), 2);

    const QString empty = script(QStringLiteral("empty.py"), QByteArray());
    QVERIFY(w.runScript(empty) && syslogMessages(w).contains(QStringLiteral("Script %1 executed").arg(empty)));
    QCOMPARE(w.state(), MorvexWindow::MC_RAW);
    QVERIFY(MorvexWindowProbe::rxBuffer(w).isEmpty());

    // A line ending in '>' ends the run.
    const QString ends = script(QStringLiteral("ends.py"), "import time\nprint('end>')\ntime.sleep(0.5)\nprint('after')\n");
    QVERIFY(w.runScript(ends));
    QVERIFY(inOrder(syslogMessages(w), {QStringLiteral(">>end>"), QStringLiteral("Script %1 executed").arg(ends)}));
    QVERIFY(!syslogMessages(w).contains(QStringLiteral(">>after")));

    // The echo test of the byte path: 90 patterns, none with a ">", come back unchanged.
    QVERIFY(w.debugEcho());
}

QTEST_MAIN(tst_Commands)
#include "tst_commands.moc"
