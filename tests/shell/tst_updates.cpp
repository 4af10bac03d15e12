// Update checks against feeds served on loopback by the test.
#include "feedupdater.h"
#include "morvexwindow.h"
#include "testsupport.h"

#include <QtNetwork>
#include <QtTest>
#include <QtWidgets>

namespace {

// Serves one fixed HTTP answer to every request, and counts connections.
class FeedServer : public QTcpServer
{
public:
    FeedServer(const QByteArray &body, int status)
    {
        const QByteArray answer = "HTTP/1.1 " + QByteArray::number(status) + (status == 200 ? " OK" : " Not Found")
            + "\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\nConnection: close\r\n\r\n" + body;
        connect(this, &QTcpServer::newConnection, this, [this, answer] {
            while (QTcpSocket *socket = nextPendingConnection()) {
                ++connections;
                socket->setParent(this);
                connect(socket, &QTcpSocket::readyRead, socket, [socket, answer] {
                    socket->setProperty("request", socket->property("request").toByteArray() + socket->readAll());
                    if (socket->property("request").toByteArray().contains("\r\n\r\n")) {
                        socket->write(answer);
                        socket->disconnectFromHost();
                    }
                });
            }
        });
        listen(QHostAddress::LocalHost);
    }
    QString url() const { return QStringLiteral("http://127.0.0.1:%1/software/morvex/updates/win/appcast.xml").arg(serverPort()); }
    int connections = 0;
};

QByteArray appcast(const QByteArray &items)
{
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<rss version=\"2.0\" "
           "xmlns:sparkle=\"http://www.andymatuschak.org/xml-namespaces/sparkle\"><channel><title>Morvex</title>\n"
        + items + "</channel></rss>\n";
}

QByteArray item(const QByteArray &version, const QByteArray &notes = QByteArray())
{
    return "<item><title>Morvex " + version + "</title>"
        + (notes.isEmpty() ? QByteArray() : "<sparkle:releaseNotesLink>" + notes + "</sparkle:releaseNotesLink>")
        + "<enclosure url=\"https://halvorn.works/morvex-" + version + ".exe\" sparkle:version=\"" + version
        + "\" length=\"100\" type=\"application/octet-stream\"/></item>\n";
}

QString newer(const QString &version, const QString &notes = QString())
{
    return QStringLiteral("<p>Morvex %1 is available; you are running 0.2.0.</p>").arg(version)
        + (notes.isEmpty() ? QString() : QStringLiteral("<p><a href=\"%1\">Release notes</a></p>").arg(notes));
}

const QString upToDate = QStringLiteral("<p>You are running the newest version of Morvex (0.2.0).</p>");
const QString invalid = QStringLiteral("<p>The update feed %1 is not an appcast that names a version.</p>");
const QString unreadable = QStringLiteral("<p>The update feed %1 could not be read:</p>");

} // namespace

class tst_Updates : public QObject
{
    Q_OBJECT
    SettingsSandbox sandbox;
    QWidget owner;

private slots:
    void init() { sandbox.clear(); }
    void initTestCase()
    {
        QCoreApplication::setApplicationVersion("0.2.0");
        // Loopback feeds must not be sent to a proxy of the environment.
        QNetworkProxy::setApplicationProxy(QNetworkProxy::NoProxy);
    }

    void manualCheck_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("status"); // 0: no server listens
        QTest::addColumn<QString>("text"); // the box's text (%1: the feed), or its start for unreadable feeds
        QTest::newRow("newer") << appcast(item("0.3.0", "https://h.w/3")) << 200 << newer("0.3.0", "https://h.w/3");
        QTest::newRow("newer by version order") << appcast(item("0.10.0")) << 200 << newer("0.10.0");
        QTest::newRow("newest item is not the first")
            << appcast(item("0.1.0", "a") + item("0.4.1", "https://h.w/b") + item("0.3.0")) << 200 << newer("0.4.1", "https://h.w/b");
        QTest::newRow("version as an element, relative notes")
            << appcast("<item><sparkle:version>0.2.1</sparkle:version><sparkle:releaseNotesLink>notes/0.2.1.html</sparkle:releaseNotesLink></item>")
            << 200 << newer("0.2.1", "%2");
        QTest::newRow("same version") << appcast(item("0.2.0")) << 200 << upToDate;
        QTest::newRow("same, written shorter") << appcast(item("0.2")) << 200 << upToDate;
        QTest::newRow("older version") << appcast(item("0.1.9")) << 200 << upToDate;
        QTest::newRow("malformed XML") << QByteArray("<rss><channel><item>") << 200 << invalid;
        QTest::newRow("server not there") << QByteArray() << 0 << unreadable;
    }

    void manualCheck()
    {
        QFETCH(QByteArray, body);
        QFETCH(int, status);
        QFETCH(QString, text);
        const int outcome = text == upToDate ? FeedUpdater::UpToDate : text == invalid ? FeedUpdater::FeedInvalid
                          : text == unreadable ? FeedUpdater::FeedUnreadable : FeedUpdater::NewerVersion;
        FeedServer server(body, status);
        const QString url = server.url();
        if (status == 0)
            server.close();
        QSettings().setValue("Updates/Auto", false);
        FeedUpdater updater(url, &owner);
        QSignalSpy finished(&updater, &FeedUpdater::checkFinished);
        QScopedPointer<DialogAnswerer> boxes(DialogAnswerer::messageBox(QMessageBox::Ok));
        updater.checkForUpdates();
        QVERIFY(finished.wait(10000));
        QCOMPARE(finished.at(0).at(0).toInt(), outcome);
        QVERIFY(waitFor([&] { return boxes->answered() == 1; }, 5000));
        text = text.contains("%2") ? text.arg(QUrl(url).resolved(QUrl("notes/0.2.1.html")).toString()) : text.arg(url);
        const QString shown = boxes->texts().value(0);
        QVERIFY2(outcome == FeedUpdater::FeedUnreadable ? shown.startsWith(text) : shown == text, qPrintable(shown));
    }

    void automaticCheck_data()
    {
        QTest::addColumn<int>("lastCheckDaysAgo"); // -1: never checked
        QTest::addColumn<QVariant>("interval"); // the stored "Updates/Interval", invalid when absent
        QTest::addColumn<int>("days"); // the interval it gives
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("version"); // in the feed; "0.3.0" is newer
        QTest::newRow("not yet due: no connection") << 6 << QVariant() << 7 << 200 << QByteArray("0.3.0");
        QTest::newRow("interval 0 gives one day") << 0 << QVariant(0) << 1 << 200 << QByteArray("0.3.0");
        QTest::newRow("interval 1 gives one day") << 0 << QVariant(1) << 1 << 200 << QByteArray("0.3.0");
        QTest::newRow("interval 7 gives seven") << 6 << QVariant(7) << 7 << 200 << QByteArray("0.3.0");
        QTest::newRow("first start only sets the clock") << -1 << QVariant() << 7 << 200 << QByteArray("0.3.0");
        QTest::newRow("due, nothing new: silent") << 8 << QVariant() << 7 << 200 << QByteArray("0.2.0");
        QTest::newRow("due, unreadable: silent") << 8 << QVariant() << 7 << 404 << QByteArray("0.3.0");
        QTest::newRow("due, newer: dialog") << 8 << QVariant() << 7 << 200 << QByteArray("0.3.0");
    }

    void automaticCheck()
    {
        QFETCH(int, lastCheckDaysAgo);
        QFETCH(QVariant, interval);
        QFETCH(int, days);
        QFETCH(int, status);
        QFETCH(QByteArray, version);
        FeedServer server(appcast(item(version, "https://h.w/n")), status);
        const QDateTime now = QDateTime::currentDateTimeUtc();
        if (interval.isValid())
            QSettings().setValue("Updates/Interval", interval);
        if (lastCheckDaysAgo >= 0)
            QSettings().setValue(FeedUpdater::lastCheckKey, now.addDays(-lastCheckDaysAgo));
        QSignalSpy connected(&server, &QTcpServer::newConnection);
        QScopedPointer<DialogAnswerer> boxes(DialogAnswerer::messageBox(QMessageBox::Ok));
        FeedUpdater updater(server.url(), &owner);
        QSignalSpy finished(&updater, &FeedUpdater::checkFinished);
        const auto booked = [&] { return QSettings().value(FeedUpdater::lastCheckKey).toDateTime() >= now.addSecs(-1); };
        if (lastCheckDaysAgo < days) {
            QVERIFY(lastCheckDaysAgo >= 0 || booked());
            const QDateTime last = QSettings().value(FeedUpdater::lastCheckKey).toDateTime();
            QCOMPARE(last.secsTo(updater.nextAutomaticCheck()), days * qint64(86400));
            // A due check would have connected by now.
            QVERIFY(!connected.wait(FeedUpdater::startDelayMs + 1000));
            QVERIFY(finished.isEmpty());
            return;
        }
        QVERIFY(finished.wait(FeedUpdater::startDelayMs + 10000));
        QCOMPARE(server.connections, 1);
        if (version == "0.3.0" && status == 200) {
            QVERIFY(waitFor([&] { return boxes->answered() == 1; }, 5000));
            QCOMPARE(boxes->texts(), QStringList{newer("0.3.0", "https://h.w/n")});
        } else {
            // A box shown is either still there or already answered.
            for (QWidget *widget : QApplication::topLevelWidgets())
                QVERIFY(!(qobject_cast<QMessageBox *>(widget) && widget->isVisible()));
            QCOMPARE(boxes->answered(), 0);
        }
        // The check is booked, and the next one is a whole interval away.
        QVERIFY(booked() && updater.nextAutomaticCheck() >= now.addDays(7).addSecs(-1));
    }

    // With automatic checks off the menu entry still checks, once however often it is chosen.
    void menuEntries()
    {
        FeedServer server(appcast(item("0.2.0")), 200);
        QSettings().setValue("Updates/Auto", false);
        QSettings().setValue("Updates/URL", server.url());
        MorvexWindow window;
        auto *updater = window.findChild<FeedUpdater *>();
        QVERIFY(updater && !updater->nextAutomaticCheck().isValid());
        QSignalSpy finished(updater, &FeedUpdater::checkFinished);
        QScopedPointer<DialogAnswerer> boxes(DialogAnswerer::messageBox(QMessageBox::Ok));
        windowAction(window, "actionCheck_for_updates")->trigger();
        windowAction(window, "actionCheck_for_updates")->trigger(); // joins the check under way
        QVERIFY(finished.wait(10000));
        QVERIFY(waitFor([&] { return boxes->answered() == 1; }, 5000));
        QCOMPARE(boxes->texts(), QStringList{upToDate});
        QCOMPARE(qMakePair(server.connections, finished.size()), qMakePair(1, 1));
    }
};

QTEST_MAIN(tst_Updates)
#include "tst_updates.moc"
