// Device-side scripts: loading, running local scripts, the echo test, and gating.
#include "morvexwindowprobe.h"
#include "testsupport.h"
#include "virtualboard.h"

#include <QAction>
#include <QGroupBox>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QToolBar>

class tst_Scripts : public QObject
{
    Q_OBJECT

private slots:
    void init() { sandbox.clear(); }
    void debugEcho_data();
    void debugEcho();
    void loadMissingScript();
    void loadBrokenScriptTwice();
    void runScriptLines_data();
    void runScriptLines();
    void abortDuringRunScript();
    void gatingWalk();

private:
    SettingsSandbox sandbox;
};

void tst_Scripts::debugEcho_data()
{
    QTest::addColumn<QString>("family");
    QTest::newRow("stm32") << "stm32";
    QTest::newRow("esp32") << "esp32";
}

void tst_Scripts::debugEcho()
{
    QFETCH(QString, family);
    VirtualBoard board;
    QVERIFY(board.start({QStringLiteral("--family"), family}));
    MorvexWindow w;
    QVERIFY(connectBoard(w, board, family == QLatin1String("esp32") ? 1 : 0));
    QVERIFY2(w.debugEcho(), qPrintable(syslogText(w)));
    // No pattern carries the record terminator or a zero byte.
    const QByteArray received = board.received();
    const int start = received.indexOf("_debug()\x04") + 9;
    QVERIFY(start > 9);
    QVERIFY(!received.mid(start, 90 * 32).contains('>'));
    QVERIFY(!received.mid(start, 90 * 32).contains('\0'));
}

void tst_Scripts::loadMissingScript()
{
    VirtualBoard board;
    QVERIFY(board.start());
    MorvexWindow w;
    QVERIFY(connectBoard(w, board, 0));
    const int before = board.received().size();
    QVERIFY(!w.loadScript(QStringLiteral(":/data/nothing.py")));
    QVERIFY(syslogMessages(w).constLast().startsWith(QStringLiteral("Cannot open :/data/nothing.py: ")));
    QCOMPARE(board.received().size(), before);
    QCOMPARE(w.state(), MorvexWindow::MC_REPL);
}

void tst_Scripts::loadBrokenScriptTwice()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("broken.py"));
    QVERIFY(writeLocalFile(path, "def f(:\n    pass\n"));
    VirtualBoard board;
    QVERIFY(board.start());
    MorvexWindow w;
    QVERIFY(connectBoard(w, board, 0));
    QVERIFY(w.loadScript(path)); // acceptance only: a syntax error still gives "OK"
    QCOMPARE(w.state(), MorvexWindow::MC_RAW);
    const QByteArray afterFirst = board.received();
    QCOMPARE(afterFirst.count('\x01'), 1);
    QVERIFY(w.loadScript(path));
    QCOMPARE(board.received().count('\x01'), 1); // already raw: no second Ctrl-A
    QCOMPARE(board.received().count("def f(:"), 2);
}

void tst_Scripts::runScriptLines_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QStringList>("shown");
    QTest::addColumn<QStringList>("hidden");

    QTest::newRow("a line ending in '>' ends the run")
        << QByteArray("import time\nprint('end>')\ntime.sleep(0.5)\nprint('after')\n")
        << QStringList{">>end>"} << QStringList{">>after"};
    QTest::newRow("empty script") << QByteArray() << QStringList() << QStringList();
}

void tst_Scripts::runScriptLines()
{
    QFETCH(QByteArray, script);
    QFETCH(QStringList, shown);
    QFETCH(QStringList, hidden);
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("run.py"));
    QVERIFY(writeLocalFile(path, script));
    VirtualBoard board;
    QVERIFY(board.start());
    MorvexWindow w;
    QVERIFY(connectBoard(w, board, 0));
    QVERIFY(w.runScript(path));
    const QStringList log = syslogMessages(w);
    QVERIFY2(inOrder(log, shown + QStringList{QStringLiteral("Script %1 executed").arg(path)}), qPrintable(log.join('\n')));
    for (const QString &line : hidden)
        QVERIFY(!log.contains(line));
    QCOMPARE(w.state(), MorvexWindow::MC_RAW);
    QVERIFY(MorvexWindowProbe::rxBuffer(w).isEmpty());
}

void tst_Scripts::abortDuringRunScript()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("loop.py"));
    QVERIFY(writeLocalFile(path, "print('start')\nwhile True:\n    pass\n"));
    VirtualBoard board;
    QVERIFY(board.start());
    MorvexWindow w;
    QVERIFY(connectBoard(w, board, 0));
    QTimer::singleShot(500, &w, [&] { windowAction(w, "actionAbort")->trigger(); });
    QVERIFY(w.runScript(path));
    QVERIFY(syslogMessages(w).contains(QStringLiteral("Script %1 executed").arg(path)));
    QCOMPARE(w.state(), MorvexWindow::MC_RAW);
    // The abort waited for a prompt that a raw REPL never gives.
    QVERIFY(waitFor([&] { return syslogMessages(w).contains(QStringLiteral("Abort failed")); }, 5000));
}

void tst_Scripts::gatingWalk()
{
    VirtualBoard board;
    QVERIFY(board.start({QStringLiteral("--reset-mode"), QStringLiteral("uart"), QStringLiteral("--reset-delay"),
                         QStringLiteral("200")}));
    MorvexWindow w;
    auto *toolBar = w.findChild<QToolBar *>(QStringLiteral("b_actionsToolBar"));
    auto *group = w.findChild<QGroupBox *>(QStringLiteral("fileSystemGroup"));
    auto *upload = windowAction(w, "actionUpload");

    // Window built.
    QVERIFY(!toolBar->isEnabled() && !upload->isEnabled() && !group->isEnabled());
    QVERIFY(showsIcon(windowAction(w, "actionConnect")->icon(), QStringLiteral("link")));

    // Port opened, monitor only: tool bar on, board actions unchanged.
    windowAction(w, "actionMonitor_Only")->setChecked(true);
    connectThroughPopup(w, board, 0);
    QVERIFY(toolBar->isEnabled());
    QVERIFY(!upload->isEnabled());
    QVERIFY(!group->isEnabled());
    QVERIFY(showsIcon(windowAction(w, "actionConnect")->icon(), QStringLiteral("link_off")));

    // queryInfo through Abort: board actions on, file area on.
    windowAction(w, "actionAbort")->trigger();
    QVERIFY(upload->isEnabled());
    QVERIFY(group->isEnabled());

    // Reset: board actions off until the next queryInfo.
    windowAction(w, "actionReset")->trigger();
    QVERIFY(!upload->isEnabled());
    QVERIFY(windowAction(w, "actionAbort")->isEnabled() && windowAction(w, "actionReset")->isEnabled()
            && windowAction(w, "actionDFU")->isEnabled());
    QVERIFY(waitFor([&] { return upload->isEnabled(); }, 10000));

    // An upload switches them off while it runs and on at its end.
    bool offDuringUpload = false;
    QTimer probe;
    connect(&probe, &QTimer::timeout, &w, [&] { offDuringUpload = offDuringUpload || !upload->isEnabled(); });
    probe.start(5);
    QVERIFY2(uploadBytes(w, QByteArray(2000, 'z'), QStringLiteral("/flash/z.txt")), qPrintable(syslogText(w)));
    probe.stop();
    QVERIFY(offDuringUpload);
    QVERIFY(upload->isEnabled());

    // States: the file area follows MC_REPL/MC_RAW only.
    w.setState(MorvexWindow::MC_RUNNING);
    QVERIFY(!group->isEnabled());
    w.setState(MorvexWindow::MC_RAW);
    QVERIFY(group->isEnabled());

    // closeLink: tool bar off, board actions unchanged, icon back to "link".
    windowAction(w, "actionConnect")->trigger();
    QVERIFY(!toolBar->isEnabled());
    QVERIFY(upload->isEnabled());
    QVERIFY(!group->isEnabled());
    QVERIFY(showsIcon(windowAction(w, "actionConnect")->icon(), QStringLiteral("link")));
}

QTEST_MAIN(tst_Scripts)
#include "tst_scripts.moc"
