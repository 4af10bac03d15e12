// Connecting to the virtual board: bytes sent, log lines, states, failures.
#include "morvexwindowprobe.h"
#include "testsupport.h"
#include "virtualboard.h"

#include <QAction>
#include <QGroupBox>
#include <QMetaEnum>
#include <QTabWidget>
#include <QTest>
#include <QToolBar>

namespace {
const QString boardLine = QStringLiteral(
    "Connected to micropython board pyboard (mod unknown), release 1.28.0. Core PYBv1.1 with STM32F405RG version "
    "v1.28.0 on 2026-11-21");

bool announced(MorvexWindow &w)
{
    return syslogMessages(w).contains(boardLine);
}
} // namespace

class tst_Connect : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void normalConnect();
    void monitorOnly();
    void resetWithSurvivingPort();
    void resetWithVanishingPort();
    void silentBoard();
    void rawReplEnterAndLeave();
    void executionAborted();
    void portLoss_data();
    void portLoss();
    void portErrors_data();
    void portErrors();
    void connectWhileOpenDisconnects();
    void unopenablePort();

private:
    SettingsSandbox sandbox;
    VirtualBoard monitored; // shared by the rows of portErrors
};

void tst_Connect::init()
{
    sandbox.clear();
}

void tst_Connect::normalConnect()
{
    VirtualBoard board;
    QVERIFY(board.start());
    MorvexWindow w;
    connectThroughPopup(w, board, 0);
    QVERIFY2(waitFor([&] { return announced(w); }, 15000), qPrintable(syslogText(w)));
    QVERIFY(waitFor([&] { return w.state() == MorvexWindow::MC_REPL && w.findChild<QGroupBox *>("fileSystemGroup")->isEnabled(); }, 5000));

    const QStringList log = syslogMessages(w);
    QVERIFY2(inOrder(log, {QStringLiteral("Connected to %1").arg(board.portPath()), QStringLiteral("REPL initialized"),
                           boardLine}),
             qPrintable(log.join('\n')));
    const QByteArray received = board.received();
    QVERIFY2(received.startsWith("\x02\x03import os;print(os.uname())\r\n"), received.constData());
    QCOMPARE(w.findChild<QTabWidget *>("logTabWidget")->currentIndex(), 1);
    QVERIFY(w.findChild<QToolBar *>("b_actionsToolBar")->isEnabled());
    QVERIFY(windowAction(w, "actionUpload")->isEnabled());
    QCOMPARE(MorvexWindowProbe::portName(w), board.portPath());
}

void tst_Connect::monitorOnly()
{
    VirtualBoard board;
    QVERIFY(board.start());
    MorvexWindow w;
    windowAction(w, "actionMonitor_Only")->setChecked(true);
    windowAction(w, "actionReset_MC")->setChecked(true);
    connectThroughPopup(w, board, 0);
    QVERIFY(waitFor([&] { return terminalMessages(w).contains(QStringLiteral("Opened connection to %1").arg(board.portPath())); }, 5000));
    QCOMPARE(w.state(), MorvexWindow::MC_UNKNOWN);
    QVERIFY(!w.findChild<QGroupBox *>("fileSystemGroup")->isEnabled());
    QVERIFY(w.findChild<QToolBar *>("b_actionsToolBar")->isEnabled());
    QVERIFY(!windowAction(w, "actionUpload")->isEnabled());
    // Reset MC has no effect with Monitor Only and stays checked.
    QVERIFY(windowAction(w, "actionReset_MC")->isChecked());
    QVERIFY(!waitFor([&] { return !board.received().isEmpty(); }, 600));
}

void tst_Connect::resetWithSurvivingPort()
{
    VirtualBoard board;
    QVERIFY(board.start({QStringLiteral("--reset-mode"), QStringLiteral("uart"), QStringLiteral("--reset-delay"),
                         QStringLiteral("200")}));
    MorvexWindow w;
    windowAction(w, "actionReset_MC")->setChecked(true);
    connectThroughPopup(w, board, 0);
    QVERIFY2(waitFor([&] { return announced(w); }, 15000), qPrintable(syslogText(w)));
    QVERIFY(!windowAction(w, "actionReset_MC")->isChecked());
    const QStringList log = syslogMessages(w);
    QVERIFY(inOrder(log, {QStringLiteral("REPL initialized"), QStringLiteral("MC initialization..."), boardLine}));
    QVERIFY(!log.contains(QStringLiteral("Connection deferred...")));
    QCOMPARE(board.received().count("import machine; machine.reset(1)\r\n"), 1);
}

void tst_Connect::resetWithVanishingPort()
{
    VirtualBoard board;
    QVERIFY(board.start({QStringLiteral("--reset-mode"), QStringLiteral("usb"), QStringLiteral("--reset-delay"),
                         QStringLiteral("600")}));
    MorvexWindow w;
    windowAction(w, "actionReset_MC")->setChecked(true);
    connectThroughPopup(w, board, 0);
    QVERIFY2(waitFor([&] { return announced(w); }, 20000), qPrintable(syslogText(w)));
    QVERIFY(!windowAction(w, "actionReset_MC")->isChecked());
    const QStringList log = syslogMessages(w);
    QVERIFY2(inOrder(log, {QStringLiteral("Connection closed"), QStringLiteral("Reconnecting.... Please wait."),
                           QStringLiteral("Reconnect attempt 1 of 10"),
                           QStringLiteral("Reconnecting to %1").arg(board.portPath()),
                           QStringLiteral("Connected to %1").arg(board.portPath()), boardLine}),
             qPrintable(log.join('\n')));
    // The board drops its port at once; only a machine too busy to notice within
    // the 100 ms pause settles the board first instead of deferring.
    QVERIFY(log.contains(QStringLiteral("Connection deferred..."))
            || log.contains(QStringLiteral("MC initialization...")));
    QVERIFY(!log.contains(QStringLiteral("Fatal communication error")));
    // The second connect takes control again but sends no second reset.
    const QByteArray received = board.received();
    QCOMPARE(received.count("machine.reset(1)"), 1);
    QVERIFY(received.indexOf("\x02\x03", received.indexOf("machine.reset(1)")) > 0);
}

void tst_Connect::silentBoard()
{
    VirtualBoard board;
    QVERIFY(board.start({QStringLiteral("--mute-after"), QStringLiteral("0")}));
    MorvexWindow w;
    connectThroughPopup(w, board, 0);
    QVERIFY(waitFor([&] { return syslogMessages(w).contains(QStringLiteral("Connection failed - MC is not responding")); }, 16000));
    QCOMPARE(board.received(), QByteArray("\x02\x03\x02"));
    QCOMPARE(w.state(), MorvexWindow::MC_UNKNOWN);
    QVERIFY(MorvexWindowProbe::port(w).isOpen());
    QVERIFY(!terminalMessages(w).join('\n').contains(QStringLiteral("Execution aborted")));
}

void tst_Connect::rawReplEnterAndLeave()
{
    VirtualBoard board;
    QVERIFY(board.start());
    MorvexWindow w;
    QVERIFY(monitorBoard(w, board, 0));

    QVERIFY(w.enterRawRepl());
    QCOMPARE(w.state(), MorvexWindow::MC_RAW);
    QVERIFY(inOrder(syslogMessages(w), {QStringLiteral("REPL initialized"), QStringLiteral("RAW REPL initialized")}));
    QCOMPARE(board.received(), QByteArray("\x02\x03\x01"));
    QVERIFY(w.enterRawRepl()); // already there: nothing sent
    QVERIFY(w.enterRepl());
    QCOMPARE(w.state(), MorvexWindow::MC_REPL);
    QCOMPARE(board.received(), QByteArray("\x02\x03\x01\x02"));
    const int lines = syslogMessages(w).size();
    QVERIFY(w.enterRepl()); // already there: nothing sent or written
    QCOMPARE(syslogMessages(w).size(), lines);
    QCOMPARE(board.received(), QByteArray("\x02\x03\x01\x02"));
}

void tst_Connect::executionAborted()
{
    MorvexWindow w;
    w.setState(MorvexWindow::MC_RUNNING);
    QVERIFY(terminalText(w).isEmpty());
    w.setState(MorvexWindow::MC_REPL);
    QCOMPARE(terminalMessages(w), QStringList{QStringLiteral("Execution aborted")});
    QCOMPARE(w.findChild<QTabWidget *>("logTabWidget")->currentIndex(), 1);
    w.setState(MorvexWindow::MC_RAW);
    QCOMPARE(terminalMessages(w).size(), 1);
}

void tst_Connect::portLoss_data()
{
    QTest::addColumn<bool>("reconnect");
    QTest::newRow("no reconnect") << false;
    QTest::newRow("automatic reconnect") << true;
}

void tst_Connect::portLoss()
{
    QFETCH(bool, reconnect);
    VirtualBoard board;
    QVERIFY(board.start());
    MorvexWindow w;
    windowAction(w, "actionAutomatic_Reconnect")->setChecked(reconnect);
    connectThroughPopup(w, board, 0);
    QVERIFY(waitFor([&] { return announced(w); }, 15000));
    board.stop();
    QVERIFY(waitFor([&] { return syslogMessages(w).contains(QStringLiteral("Connection closed")); }, 5000));
    QCOMPARE(syslogMessages(w).contains(QStringLiteral("Fatal communication error")), !reconnect);
    QVERIFY(!MorvexWindowProbe::port(w).isOpen());
    QCOMPARE(w.state(), MorvexWindow::MC_UNKNOWN);
    QVERIFY(!w.findChild<QToolBar *>("b_actionsToolBar")->isEnabled());
    if (reconnect) {
        QVERIFY(syslogMessages(w).contains(QStringLiteral("Reconnecting.... Please wait.")));
        QVERIFY(waitFor([&] { return syslogMessages(w).contains(QStringLiteral("Reconnection attempts exhausted")); }, 10000));
        QVERIFY(syslogMessages(w).contains(QStringLiteral("Reconnect attempt 10 of 10")));
    } else {
        QVERIFY(!syslogMessages(w).contains(QStringLiteral("Reconnecting.... Please wait.")));
    }
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
    const QStringList said = fatal ? QStringList{"Fatal communication error", "Connection closed"} : QStringList();
    QCOMPARE(syslogMessages(w).mid(before), said);
    QCOMPARE(MorvexWindowProbe::port(w).isOpen(), !fatal);
}

void tst_Connect::connectWhileOpenDisconnects()
{
    VirtualBoard board;
    QVERIFY(board.start());
    MorvexWindow w;
    connectThroughPopup(w, board, 0);
    QVERIFY(waitFor([&] { return announced(w); }, 15000));
    windowAction(w, "actionConnect")->trigger(); // no popup: a disconnect
    QVERIFY(!MorvexWindowProbe::port(w).isOpen());
    QVERIFY(!syslogMessages(w).contains(QStringLiteral("Connection closed")));
    QCOMPARE(w.state(), MorvexWindow::MC_UNKNOWN);
    QCOMPARE(MorvexWindowProbe::mcModel(w).rowCount(), 0);
}

void tst_Connect::unopenablePort()
{
    MorvexWindow w;
    QSerialPort &port = MorvexWindowProbe::port(w);
    port.setPortName(QStringLiteral("/nonexistent/ttyNothing"));
    QVERIFY(!w.openPort());
    const QString expected = QStringLiteral("Cannot connect to /nonexistent/ttyNothing: ");
    QVERIFY(syslogMessages(w).constFirst().startsWith(expected));
    QVERIFY(terminalMessages(w).constFirst().startsWith(expected));
    QCOMPARE(w.state(), MorvexWindow::MC_UNKNOWN);
}

QTEST_MAIN(tst_Connect)
#include "tst_connect.moc"
