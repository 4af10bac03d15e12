// Board commands and device-side scripts against the virtual board.
#include "morvexwindowprobe.h"
#include "testsupport.h"
#include "virtualboard.h"

#include <QAction>
#include <QElapsedTimer>
#include <QSettings>
#include <QTemporaryDir>
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
    void startFolder_data();
    void startFolder();
    void dfu();
    void writeFails_data();
    void writeFails();
    void debugEcho_data() { familyRows(); }
    void debugEcho();
    void scripts_data() { familyRows(); }
    void scripts();

private:
    static void familyRows();
    SettingsSandbox sandbox;
};

void tst_Commands::uname_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<QString>("line");
    const QString failed = QStringLiteral("System information request failed");
    QTest::newRow("single quotes fill, mod unknown") << "print(\"(sysname='s', nodename='n1', release='r1', version='v 1', machine='m x')\")"
                                                     << "Connected to micropython board n1 (mod unknown), release r1. Core m x version v 1";
    QTest::newRow("later value of a key wins") << "print(\"(nodename='a', nodename='b', mod='M')\")"
                                               << "Connected to micropython board b (mod M), release na. Core na version na";
    QTest::newRow("missing keys") << "print(\"(sysname='x')\")" << "Connected to micropython board invalid (mod unknown), release na. Core na version na";
    QTest::newRow("double quotes match nothing") << "print('(nodename=\"n\")')" << failed;
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
    QVERIFY(!MorvexWindowProbe::port(w).isOpen() && syslogMessages(w).contains(QStringLiteral("Connection closed")));
    QVERIFY(!syslogMessages(w).contains(QStringLiteral("Reconnecting.... Please wait.")));
    QVERIFY(!MorvexWindowProbe::reconnectTimer(w).isActive());
}

void tst_Commands::writeFails_data()
{
    QTest::addColumn<QString>("way");
    QTest::addColumn<MorvexWindow::MC_STATE>("state");
    QTest::addColumn<QStringList>("messages"); // in this order
    const QStringList script{QStringLiteral("Cannot upload script :/data/debug.py")};
    QTest::newRow("launch") << "actionLaunch" << MorvexWindow::MC_REPL << QStringList{"Launch failed", "Launching..."};
    QTest::newRow("reset") << "actionReset" << MorvexWindow::MC_REPL << QStringList{"Restart failed", "Resetting..."};
    QTest::newRow("dfu") << "actionDFU" << MorvexWindow::MC_REPL << QStringList{"DFU failed or not supported"};
    QTest::newRow("load a script") << "load" << MorvexWindow::MC_RAW << script;
    QTest::newRow("run a script") << "run" << MorvexWindow::MC_RAW << script;
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

void tst_Commands::familyRows()
{
    QTest::addColumn<int>("family");
    QTest::newRow("stm32") << 0;
    QTest::newRow("esp32") << 1;
}

void tst_Commands::debugEcho()
{
    QFETCH(int, family);
    VirtualBoard board;
    QVERIFY(board.start({QStringLiteral("--family"), family ? QStringLiteral("esp32") : QStringLiteral("stm32")}));
    MorvexWindow w;
    QVERIFY(connectBoard(w, board, family));
    QVERIFY2(w.debugEcho(), qPrintable(syslogText(w)));
    // No pattern carries the record terminator or a zero byte.
    const QByteArray received = board.received();
    const int start = received.indexOf("_debug()\x04") + 9;
    QVERIFY(start > 9);
    QVERIFY(!received.mid(start, 90 * 32).contains('>') && !received.mid(start, 90 * 32).contains('\0'));
}

// Hash replies, abort, loading and running local scripts, one after another on one board.
void tst_Commands::scripts()
{
    QFETCH(int, family);
    VirtualBoard board;
    QVERIFY(board.start({QStringLiteral("--family"), family ? QStringLiteral("esp32") : QStringLiteral("stm32")}));
    MorvexWindow w;
    QVERIFY(connectBoard(w, board, family));
    QTemporaryDir dir;
    const auto script = [&](const QString &name, const QByteArray &text) {
        return writeLocalFile(dir.filePath(name), text) ? dir.filePath(name) : QString();
    };
    const auto executed = [&](const QString &path) { return syslogMessages(w).contains(QStringLiteral("Script %1 executed").arg(path)); };

    // The hash is the bytes of a bytes literal; anything else is no reply.
    const QList<QPair<QByteArray, QByteArray>> hashes{{"b'0123abcd'", "0123abcd"}, {"b''", ""}, {"'abc'", ""}};
    for (const auto &hash : hashes) {
        QVERIFY(w.exchange("_hash = lambda p: " + hash.first + "\r\n", 5000));
        QCOMPARE(w.boardHash(QStringLiteral("/x")), hash.second);
    }

    // An abort during a command: its Ctrl-C interrupts the board, its prompt ends both waits at once.
    QTimer::singleShot(300, &w, [&] { windowAction(w, "actionAbort")->trigger(); });
    QElapsedTimer clock;
    clock.start();
    QVERIFY(w.exchange("import time; time.sleep(20)\r\n", 15000) && clock.elapsed() < 5000);
    QVERIFY(waitFor([&] { return syslogMessages(w).contains(QStringLiteral("Stopped")); }, 10000));
    QVERIFY(board.received().contains("time.sleep(20)\r\n\x03") && !syslogMessages(w).contains(QStringLiteral("Abort failed")));

    // A script that cannot be read sends nothing.
    const int sent = board.received().size();
    QVERIFY(!w.loadScript(QStringLiteral(":/data/nothing.py")));
    QVERIFY(syslogMessages(w).constLast().startsWith(QStringLiteral("Cannot open :/data/nothing.py: ")));
    QCOMPARE(board.received().size(), sent);
    QCOMPARE(w.state(), MorvexWindow::MC_REPL);

    // Loading checks acceptance only: a syntax error still gives "OK". Already raw: no second Ctrl-A.
    const QString broken = script(QStringLiteral("broken.py"), "def f(:\n    pass\n");
    QVERIFY(w.loadScript(broken) && w.loadScript(broken));
    QCOMPARE(w.state(), MorvexWindow::MC_RAW);
    QCOMPARE(board.received().mid(sent).count('\x01'), 1);
    QCOMPARE(board.received().mid(sent).count("def f(:"), 2);

    const QString empty = script(QStringLiteral("empty.py"), QByteArray());
    QVERIFY(w.runScript(empty) && executed(empty));
    QCOMPARE(w.state(), MorvexWindow::MC_RAW);
    QVERIFY(MorvexWindowProbe::rxBuffer(w).isEmpty());

    // An abort during a run waits for a prompt that a raw REPL never gives.
    QTimer::singleShot(500, &w, [&] { windowAction(w, "actionAbort")->trigger(); });
    const QString loop = script(QStringLiteral("loop.py"), "print('start')\nwhile True:\n    pass\n");
    QVERIFY(w.runScript(loop) && executed(loop));
    QVERIFY(waitFor([&] { return syslogMessages(w).contains(QStringLiteral("Abort failed")); }, 5000));

    // A line ending in '>' ends the run.
    const QString ends = script(QStringLiteral("ends.py"), "import time\nprint('end>')\ntime.sleep(0.5)\nprint('after')\n");
    QVERIFY(w.runScript(ends));
    QVERIFY(inOrder(syslogMessages(w), {QStringLiteral(">>end>"), QStringLiteral("Script %1 executed").arg(ends)}));
    QVERIFY(!syslogMessages(w).contains(QStringLiteral(">>after")));
}

QTEST_MAIN(tst_Commands)
#include "tst_commands.moc"
