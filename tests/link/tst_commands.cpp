// Board commands against the virtual board: description, hash, launch, reset, DFU, abort.
#include "morvexwindowprobe.h"
#include "testsupport.h"
#include "virtualboard.h"

#include <QAction>
#include <QElapsedTimer>
#include <QSettings>
#include <QTest>
#include <QTimer>

Q_DECLARE_METATYPE(MorvexWindow::MC_STATE)

class tst_Commands : public QObject
{
    Q_OBJECT

private slots:
    void init() { sandbox.clear(); }
    void uname_data();
    void uname();
    void boardHash_data();
    void boardHash();
    void startFolder_data();
    void startFolder();
    void dfu();
    void writeFails_data();
    void writeFails();
    void abortDuringCommand();
    void abortWithoutBoard();

private:
    SettingsSandbox sandbox;
};

void tst_Commands::uname_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<QString>("line");

    QTest::newRow("single quotes fill, mod unknown")
        << "print(\"(sysname='s', nodename='n1', release='r1', version='v 1', machine='m x')\")"
        << "Connected to micropython board n1 (mod unknown), release r1. Core m x version v 1";
    QTest::newRow("later value of a key wins")
        << "print(\"(nodename='a', nodename='b', mod='M')\")"
        << "Connected to micropython board b (mod M), release na. Core na version na";
    QTest::newRow("missing keys") << "print(\"(sysname='x')\")"
                                  << "Connected to micropython board invalid (mod unknown), release na. Core na version na";
    QTest::newRow("double quotes match nothing") << "print('(nodename=\"n\")')" << "System information request failed";
    QTest::newRow("no tuple line") << "print(42)" << "System information request failed";
    QTest::newRow("empty means the built-in command")
        << "" << "Connected to micropython board pyboard (mod unknown), release 1.28.0. Core PYBv1.1 with STM32F405RG "
                 "version v1.28.0 on 2026-11-21";
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
    // The board actions come on even when the description failed.
    QVERIFY(windowAction(w, "actionUpload")->isEnabled());
}

void tst_Commands::boardHash_data()
{
    QTest::addColumn<QByteArray>("definition");
    QTest::addColumn<QByteArray>("expected");

    QTest::newRow("bytes literal") << QByteArray("_hash = lambda p: b'0123abcd'") << QByteArray("0123abcd");
    QTest::newRow("empty bytes") << QByteArray("_hash = lambda p: b''") << QByteArray();
    QTest::newRow("error text") << QByteArray("_hash = lambda p: b'err(2)'") << QByteArray("err(2)");
    QTest::newRow("a string is no reply") << QByteArray("_hash = lambda p: 'abc'") << QByteArray();
}

void tst_Commands::boardHash()
{
    QFETCH(QByteArray, definition);
    QFETCH(QByteArray, expected);
    VirtualBoard board;
    QVERIFY(board.start());
    MorvexWindow w;
    QVERIFY(connectBoard(w, board, 0));
    QVERIFY(w.exchange(definition + "\r\n", 5000));
    QCOMPARE(w.boardHash(QStringLiteral("/flash/x")), expected);
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
    QVERIFY(board.start({QStringLiteral("--family"), family ? QStringLiteral("esp32") : QStringLiteral("stm32")}));
    QVERIFY(board.writeFile(QStringLiteral("lib/a.py"), "x = 1\n"));
    QSettings().setValue(family ? QStringLiteral("MC/ESPDir") : QStringLiteral("MC/STMDir"), stored);
    MorvexWindow w;
    QVERIFY(connectBoard(w, board, family));
    QCOMPARE(MorvexWindowProbe::mcModel(w).rootPath, listed);
    QCOMPARE(MorvexWindowProbe::mcType(w), family ? MorvexWindow::MC_ESP32 : MorvexWindow::MC_STM32);
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
    QVERIFY(!MorvexWindowProbe::port(w).isOpen());
    QVERIFY(syslogMessages(w).contains(QStringLiteral("Connection closed")));
    QVERIFY(!syslogMessages(w).contains(QStringLiteral("Reconnecting.... Please wait.")));
    QVERIFY(!MorvexWindowProbe::reconnectTimer(w).isActive());
}

void tst_Commands::writeFails_data()
{
    QTest::addColumn<QString>("way");
    QTest::addColumn<MorvexWindow::MC_STATE>("state");
    QTest::addColumn<QStringList>("messages"); // in this order

    const QString script = QStringLiteral(":/data/debug.py");
    QTest::newRow("launch") << "actionLaunch" << MorvexWindow::MC_REPL
                            << QStringList{"Launch failed", "Launching..."};
    QTest::newRow("reset") << "actionReset" << MorvexWindow::MC_REPL << QStringList{"Restart failed", "Resetting..."};
    QTest::newRow("dfu") << "actionDFU" << MorvexWindow::MC_REPL << QStringList{"DFU failed or not supported"};
    QTest::newRow("load a script") << "load" << MorvexWindow::MC_RAW
                                   << QStringList{QStringLiteral("Cannot upload script %1").arg(script)};
    QTest::newRow("run a script") << "run" << MorvexWindow::MC_RAW
                                  << QStringList{QStringLiteral("Cannot upload script %1").arg(script)};
}

void tst_Commands::writeFails()
{
    QFETCH(QString, way);
    QFETCH(MorvexWindow::MC_STATE, state);
    QFETCH(QStringList, messages);
    VirtualBoard board;
    QVERIFY(board.start());
    MorvexWindow w;
    QVERIFY(monitorBoard(w, board, 0));
    // The mode the operation needs already stands, so its first write is the one that fails.
    MorvexWindowProbe::mcState(w) = state;
    // The board ends without the window serving an event: the port still looks open.
    board.stop();
    QVERIFY(MorvexWindowProbe::port(w).isOpen());
    if (way == QLatin1String("load"))
        QVERIFY(!w.loadScript(QStringLiteral(":/data/debug.py")));
    else if (way == QLatin1String("run"))
        QVERIFY(!w.runScript(QStringLiteral(":/data/debug.py")));
    else
        windowAction(w, way.toLatin1().constData())->trigger();
    const QStringList log = syslogMessages(w);
    QVERIFY2(inOrder(log, messages), qPrintable(log.join(QLatin1Char('\n'))));
    // The failed write is what took the link down.
    QVERIFY(inOrder(log, {QStringLiteral("Connection closed"), messages.constFirst()}));
    QVERIFY(!MorvexWindowProbe::port(w).isOpen());
}

void tst_Commands::abortDuringCommand()
{
    VirtualBoard board;
    QVERIFY(board.start());
    MorvexWindow w;
    QVERIFY(connectBoard(w, board, 0));
    QTimer::singleShot(300, &w, [&] { windowAction(w, "actionAbort")->trigger(); });
    QElapsedTimer clock;
    clock.start();
    // The abort's Ctrl-C interrupts the board; its prompt ends both waits at once.
    QVERIFY(w.exchange("import time; time.sleep(20)\r\n", 15000));
    QVERIFY(clock.elapsed() < 5000);
    QVERIFY(waitFor([&] { return syslogMessages(w).contains(QStringLiteral("Stopped")); }, 10000));
    QVERIFY(board.received().contains("time.sleep(20)\r\n\x03"));
    QVERIFY(!syslogMessages(w).contains(QStringLiteral("Abort failed")));
}

void tst_Commands::abortWithoutBoard()
{
    // A board that never answers: the abort reports its failure.
    VirtualBoard board;
    QVERIFY(board.start({QStringLiteral("--mute-after"), QStringLiteral("0")}));
    MorvexWindow w;
    QVERIFY(monitorBoard(w, board, 0));
    MorvexWindowProbe::mcState(w) = MorvexWindow::MC_REPL;
    windowAction(w, "actionAbort")->trigger();
    QVERIFY(syslogMessages(w).contains(QStringLiteral("Abort failed")));
}

QTEST_MAIN(tst_Commands)
#include "tst_commands.moc"
