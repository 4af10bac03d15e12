// Connecting to the virtual board: bytes sent, log lines, states, action gating, failures.
#include "morvexwindowprobe.h"
#include "testsupport.h"
#include "virtualboard.h"

#include <QAction>
#include <QGroupBox>
#include <QMetaEnum>
#include <QTest>
#include <QToolBar>

class tst_Connect : public QObject
{
    Q_OBJECT

private slots:
    void init() { sandbox.clear(); }
    void gatingFromMonitorToDisconnect();
    void silentBoard();
    void portErrors_data();
    void portErrors();

private:
    SettingsSandbox sandbox;
    VirtualBoard monitored; // shared by the rows of portErrors
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
    QVERIFY(!waitFor([&] { return !board.received().isEmpty(); }, 600));
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
