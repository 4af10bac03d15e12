// The chain every link test stands on: a QSerialPort on the virtual board's pty.
#include "testsupport.h"
#include "virtualboard.h"

#include <QDeadlineTimer>
#include <QSerialPort>
#include <QTest>

namespace {
// Reads until the received bytes end with `tail` or the deadline passes.
QByteArray readUntil(QSerialPort &port, const QByteArray &tail, int timeoutMs)
{
    QByteArray received;
    QDeadlineTimer deadline(timeoutMs);
    while (!received.endsWith(tail) && !deadline.hasExpired()) {
        if (port.waitForReadyRead(int(qMax<qint64>(1, deadline.remainingTime()))))
            received += port.readAll();
    }
    return received;
}
} // namespace

class tst_BoardChain : public QObject
{
    Q_OBJECT

private slots:
    void promptAndRawRepl_data();
    void promptAndRawRepl();
};

void tst_BoardChain::promptAndRawRepl_data()
{
    QTest::addColumn<QString>("family");
    QTest::newRow("stm32") << "stm32";
    QTest::newRow("esp32") << "esp32";
}

void tst_BoardChain::promptAndRawRepl()
{
    QFETCH(QString, family);
    VirtualBoard board;
    QVERIFY2(board.start({QStringLiteral("--family"), family}), qPrintable(board.errors()));
    QSerialPort port(board.portPath());
    port.setBaudRate(115200);
    QVERIFY2(port.open(QIODevice::ReadWrite), qPrintable(port.errorString()));

    port.write("\x02\x03");
    const QByteArray banner = readUntil(port, "\r\n>>> \r\n>>> ", 5000);
    QVERIFY2(banner.endsWith("Type \"help()\" for more information.\r\n>>> \r\n>>> "), banner.constData());
    QVERIFY(banner.startsWith("\r\nMicroPython v"));

    port.write("\x01");
    QCOMPARE(readUntil(port, ">", 5000), QByteArray("\r\nraw REPL; CTRL-B to exit\r\n>"));
    port.write("print(1)\x04");
    QCOMPARE(readUntil(port, "\x04>", 5000), QByteArray("OK1\r\n\x04\x04>"));
}

QTEST_GUILESS_MAIN(tst_BoardChain)
#include "tst_boardchain.moc"
