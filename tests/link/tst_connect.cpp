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
    void init() { sandbox.clear(); }
    void monitorOnly();
    void resetAtConnect_data();
    void resetAtConnect();
    void silentBoard();
    void rawReplEnterAndLeave();
    void executionAborted();
    void portLoss();
    void portErrors_data();
    void portErrors();
    void connectWhileOpenDisconnects();

private:
    SettingsSandbox sandbox;
    VirtualBoard monitored; // shared by the rows of portErrors
};

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

void tst_Connect::resetAtConnect_data()
{
    QTest::addColumn<QString>("mode");
    QTest::addColumn<QString>("delay");
    QTest::addColumn<QStringList>("story"); // in this order; %1 is the port

    QTest::newRow("port survives") << "uart" << "200"
                                   << QStringList{"REPL initialized", "MC initialization...", boardLine};
    QTest::newRow("port vanishes") << "usb" << "600"
                                   << QStringList{"Connection closed", "Reconnecting.... Please wait.",
                                                  "Reconnect attempt 1 of 10", "Reconnecting to %1", "Connected to %1",
                                                  boardLine};
}

void tst_Connect::resetAtConnect()
{
    QFETCH(QString, mode);
    QFETCH(QString, delay);
    QFETCH(QStringList, story);
    const bool vanishes = mode == QLatin1String("usb");
    VirtualBoard board;
    QVERIFY(board.start({QStringLiteral("--reset-mode"), mode, QStringLiteral("--reset-delay"), delay}));
    MorvexWindow w;
    windowAction(w, "actionReset_MC")->setChecked(true);
    connectThroughPopup(w, board, 0);
    QVERIFY2(waitFor([&] { return announced(w); }, 20000), qPrintable(syslogText(w)));
    QVERIFY(!windowAction(w, "actionReset_MC")->isChecked());
    const QStringList log = syslogMessages(w);
    for (QString &line : story)
        line.replace(QLatin1String("%1"), board.portPath());
    QVERIFY2(inOrder(log, story), qPrintable(log.join('\n')));
    // A vanishing port defers the connect, unless the machine was too busy to notice
    // within the 100 ms pause and settled the board first.
    if (vanishes)
        QVERIFY(log.contains(QStringLiteral("Connection deferred...")) || log.contains(QStringLiteral("MC initialization...")));
    else
        QVERIFY(!log.contains(QStringLiteral("Connection deferred...")));
    QVERIFY(!log.contains(QStringLiteral("Fatal communication error")));
    // A connect after the board came back takes control again but sends no second reset.
    const QByteArray received = board.received();
    QCOMPARE(received.count("import machine; machine.reset(1)\r\n"), 1);
    if (vanishes)
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

void tst_Connect::portLoss()
{
    // With automatic reconnect the loss starts the reconnect attempts instead.
    VirtualBoard board;
    QVERIFY(board.start());
    MorvexWindow w;
    QVERIFY(connectBoard(w, board, 0));
    board.stop();
    QVERIFY(waitFor([&] { return syslogMessages(w).contains(QStringLiteral("Connection closed")); }, 5000));
    QVERIFY(syslogMessages(w).contains(QStringLiteral("Fatal communication error")));
    QVERIFY(!syslogMessages(w).contains(QStringLiteral("Reconnecting.... Please wait.")));
    QVERIFY(!MorvexWindowProbe::port(w).isOpen());
    QCOMPARE(w.state(), MorvexWindow::MC_UNKNOWN);
    QVERIFY(!w.findChild<QToolBar *>("b_actionsToolBar")->isEnabled());
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

QTEST_MAIN(tst_Connect)
#include "tst_connect.moc"
