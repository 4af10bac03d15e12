// Reconnect after a lost link, by port name or USB serial number, and the close question.
#include "morvexwindowprobe.h"
#include "testsupport.h"
#include "virtualboard.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>

namespace {
const QString exhausted = QStringLiteral("Reconnection attempts exhausted");

QString attempt(int n)
{
    return QStringLiteral("Reconnect attempt %1 of 10").arg(n);
}

void setExtraPorts(const QStringList &entries)
{
    qputenv("MORVEX_EXTRA_PORTS", entries.join(QLatin1Char(':')).toLocal8Bit());
}

bool connectedTo(MorvexWindow &w, int from, const QString &path, int timeoutMs)
{
    return waitFor([&] { return syslogMessages(w).mid(from).contains(QStringLiteral("Connected to %1").arg(path)); }, timeoutMs)
           && waitFor([&] { return w.state() == MorvexWindow::MC_REPL && windowAction(w, "actionUpload")->isEnabled(); }, 10000);
}
} // namespace

class tst_Reconnect : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QApplication::setQuitOnLastWindowClosed(false); } // the tests close windows
    void init() { sandbox.clear(); }
    void follow_data();
    void follow();
    void intervalGrowsWhilePortRefuses();
    void closeQuestion_data();
    void closeQuestion();

private:
    SettingsSandbox sandbox;
};

void tst_Reconnect::follow_data()
{
    QTest::addColumn<QString>("serial");     // of the board's port
    QTest::addColumn<QString>("comesBack");  // after a reset: "same" path, "other" path, or "same, other serial"
    QTest::addColumn<bool>("stranger");      // a second board, serial MC0002, listed first
    QTest::addColumn<QString>("reopened");   // "same", "other", or "" for none
    QTest::addColumn<QString>("usb");        // USB ids and description of every board's entry
    QTest::newRow("no serial, back under its path") << "" << "same" << false << "same" << "";
    QTest::newRow("serial, back under its path") << "MC0001" << "same" << false << "same" << "";
    QTest::newRow("serial followed to another path") << "MC0001" << "other" << true << "other" << "[f055:9800 Pyboard: VCP]";
    QTest::newRow("no serial: another path is not followed") << "" << "other" << false << "" << "";
    QTest::newRow("serial: its path with another serial is not opened") << "MC0001" << "same, other serial" << false << "" << "";
}

void tst_Reconnect::follow()
{
    QFETCH(QString, serial);
    QFETCH(QString, comesBack);
    QFETCH(bool, stranger);
    QFETCH(QString, reopened);
    QFETCH(QString, usb);
    QTemporaryDir elsewhere;
    const QString otherPath = elsewhere.filePath(QStringLiteral("ttyBack"));
    QStringList args{QStringLiteral("--reset-mode"), QStringLiteral("usb"), QStringLiteral("--reset-delay"), QStringLiteral("300")};
    if (comesBack == QLatin1String("other"))
        args << QStringLiteral("--return-link") << otherPath;
    VirtualBoard board, second;
    QVERIFY(board.start(args) && (!stranger || second.start()));
    const QString suffix = (serial.isEmpty() ? QString() : QLatin1Char('=') + serial) + usb;
    setExtraPorts((stranger ? QStringList{second.portPath() + QStringLiteral("=MC0002") + usb} : QStringList())
                  << board.portPath() + suffix << otherPath + suffix);
    MorvexWindow w;
    QVERIFY(connectBoard(w, board, 0));
    const int before = syslogMessages(w).size();
    windowAction(w, "actionReset")->trigger();
    QVERIFY(waitFor([&] { return syslogMessages(w).contains(QStringLiteral("Connection closed")); }, 5000));
    if (comesBack == QLatin1String("same, other serial"))
        setExtraPorts({board.portPath() + QStringLiteral("=MC0002")});
    QElapsedTimer clock;
    clock.start();
    if (reopened.isEmpty()) {
        QVERIFY2(waitFor([&] { return syslogMessages(w).contains(exhausted); }, 12000), qPrintable(syslogText(w)));
        // Ten attempts that find nothing follow each other at 400 ms.
        QVERIFY2(clock.elapsed() >= 3700 && clock.elapsed() <= 8000, qPrintable(QString::number(clock.elapsed())));
        const QStringList log = syslogMessages(w).mid(before);
        QVERIFY(inOrder(log, {attempt(1), attempt(10), exhausted}) && !log.contains(attempt(11)));
        QVERIFY(log.filter(QStringLiteral("Reconnecting to")).isEmpty() && !MorvexWindowProbe::port(w).isOpen());
    } else {
        const QString path = reopened == QLatin1String("same") ? board.portPath() : otherPath;
        QVERIFY2(connectedTo(w, before, path, 10000), qPrintable(syslogText(w)));
        QVERIFY(inOrder(syslogMessages(w).mid(before), {QStringLiteral("Reconnecting to %1").arg(path), QStringLiteral("Connected to %1").arg(path)}));
        QCOMPARE(MorvexWindowProbe::portName(w), path);
    }
    if (stranger)
        QVERIFY(second.received().isEmpty() && syslogMessages(w).filter(second.portPath()).isEmpty());
}

void tst_Reconnect::intervalGrowsWhilePortRefuses()
{
    VirtualBoard board;
    QVERIFY(board.start());
    const QString path = board.portPath();
    setExtraPorts({path});
    MorvexWindow w;
    windowAction(w, "actionAutomatic_Reconnect")->setChecked(true);
    QVERIFY(connectBoard(w, board, 0));
    const int before = syslogMessages(w).size();
    board.stop();
    QVERIFY(QDir().mkdir(path)); // the name is back at once, as something no serial port opens on

    // The wait each attempt leaves for the next, read as the attempt is logged.
    QVector<int> intervals;
    QTimer watch;
    connect(&watch, &QTimer::timeout, &w, [&] {
        if (syslogMessages(w).mid(before).contains(attempt(intervals.size() + 1)))
            intervals << MorvexWindowProbe::reconnectTimer(w).interval();
    });
    watch.start(5);
    QVERIFY2(waitFor([&] { return intervals.size() == 6; }, 10000), qPrintable(syslogText(w)));
    watch.stop();
    QCOMPARE(intervals, (QVector<int>{400, 500, 700, 1000, 1400, 1900}));

    // A board on that name again: the next attempt opens it, the interval is 400 once more,
    // and the next loss begins again at attempt 1.
    QVERIFY(QDir().rmdir(path));
    VirtualBoard back;
    QVERIFY(back.start({QStringLiteral("--link"), path}));
    QVERIFY2(connectedTo(w, before, path, 8000), qPrintable(syslogText(w)));
    QCOMPARE(MorvexWindowProbe::reconnectTimer(w).interval(), 400);
    const int lostAgain = syslogMessages(w).size();
    back.stop();
    QVERIFY(waitFor([&] { return syslogMessages(w).mid(lostAgain).contains(attempt(1)); }, 5000));
}

// The question comes only while a zpack upload (or an edit, in the editing suite) holds the open port.
void tst_Reconnect::closeQuestion_data()
{
    QTest::addColumn<QString>("underWay"); // "zpack" or "zfw"; the editing suite asks with an edit open
    QTest::addColumn<bool>("portOpen");
    QTest::addColumn<int>("answer"); // 0: no question expected
    QTest::newRow("zpack, answered No") << "zpack" << true << int(QMessageBox::No);
    QTest::newRow("zpack, answered Yes") << "zpack" << true << int(QMessageBox::Yes);
    QTest::newRow("zpack, port lost") << "zpack" << false << 0;
    QTest::newRow("zfw is not asked about") << "zfw" << true << 0;
}

void tst_Reconnect::closeQuestion()
{
    QFETCH(QString, underWay);
    QFETCH(bool, portOpen);
    QFETCH(int, answer);
    QTemporaryDir local;
    const QString archive = local.filePath(QStringLiteral("pack"));
    const QList<QPair<QString, QByteArray>> big{{QStringLiteral("big.txt"), QByteArray(4000, 'x')}};
    QVERIFY(underWay == QLatin1String("zpack") ? writeZip(archive, big) : writeZfw(archive, {}, big));
    VirtualBoard board;
    QVERIFY(board.start({QStringLiteral("--family"), QStringLiteral("esp32")}));
    setExtraPorts({});
    MorvexWindow w;
    w.show();
    QVERIFY(connectBoard(w, board, 1));
    QScopedPointer<DialogAnswerer> answerer(DialogAnswerer::messageBox(answer ? QMessageBox::StandardButton(answer) : QMessageBox::Cancel));
    const auto closeNow = [&] {
        if (!portOpen) {
            board.stop();
            QVERIFY(waitFor([&] { return !MorvexWindowProbe::port(w).isOpen(); }, 5000));
        }
        w.close();
    };
    // Closed inside the upload's waits.
    ActWhen during([&] { return syslogMessages(w).filter(QStringLiteral("Uploading big.txt")).size() == 1; }, closeNow);
    underWay == QLatin1String("zpack") ? w.uploadZPack(archive) : w.uploadZfw(archive);
    QVERIFY(during.done());
    QVERIFY(!portOpen || board.readFile(QStringLiteral("big.txt")) == big.constFirst().second);
    QCOMPARE(answerer->texts(), answer ? QStringList{QStringLiteral("An MC operation is in progress. Abort and quit?")} : QStringList());
    QCOMPARE(answerer->titles() + answerer->buttons(), answer ? QStringList({"Exit", "Yes No"}) : QStringList());
    QCOMPARE(w.isVisible(), answer == QMessageBox::No);
}

QTEST_MAIN(tst_Reconnect)
#include "tst_reconnect.moc"
