// Update checks against feeds served on loopback by the test, and the About boxes.
#include "feedupdater.h"
#include "morvexwindow.h"
#include "testsupport.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QFile>
#include <QHash>
#include <QMessageBox>
#include <QNetworkProxy>
#include <QSettings>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

namespace {

// Serves one fixed HTTP answer to every request, and counts connections.
class FeedServer : public QObject
{
public:
    explicit FeedServer(const QByteArray &body, int status = 200)
        : m_body(body)
        , m_status(status)
    {
        connect(&m_server, &QTcpServer::newConnection, this, &FeedServer::accept);
    }

    bool listen() { return m_server.listen(QHostAddress::LocalHost); }
    QString url() const
    {
        return QStringLiteral("http://127.0.0.1:%1/software/morvex/updates/win/appcast.xml").arg(m_server.serverPort());
    }
    int connections() const { return m_connections; }
    QTcpServer &server() { return m_server; }

private:
    void accept()
    {
        while (QTcpSocket *socket = m_server.nextPendingConnection()) {
            ++m_connections;
            socket->setParent(this);
            connect(socket, &QTcpSocket::readyRead, this, [this, socket] { answer(socket); });
        }
    }

    void answer(QTcpSocket *socket)
    {
        QByteArray &request = m_requests[socket];
        request += socket->readAll();
        if (!request.contains("\r\n\r\n"))
            return;
        const QByteArray reason = m_status == 200 ? "OK" : "Not Found";
        socket->write("HTTP/1.1 " + QByteArray::number(m_status) + ' ' + reason + "\r\n"
                      "Content-Type: application/rss+xml\r\n"
                      "Content-Length: " + QByteArray::number(m_body.size()) + "\r\n"
                      "Connection: close\r\n\r\n" + m_body);
        socket->disconnectFromHost();
    }

    QTcpServer m_server;
    QByteArray m_body;
    int m_status;
    int m_connections = 0;
    QHash<QTcpSocket *, QByteArray> m_requests;
};

QByteArray appcast(const QByteArray &items)
{
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
           "<rss version=\"2.0\" xmlns:sparkle=\"http://www.andymatuschak.org/xml-namespaces/sparkle\">\n"
           "<channel><title>Morvex</title>\n" + items + "</channel></rss>\n";
}

QByteArray item(const QByteArray &version, const QByteArray &notes = QByteArray())
{
    QByteArray text = "<item><title>Morvex " + version + "</title>";
    if (!notes.isEmpty())
        text += "<sparkle:releaseNotesLink>" + notes + "</sparkle:releaseNotesLink>";
    return text + "<enclosure url=\"https://halvorn.works/morvex-" + version + ".exe\" sparkle:version=\"" + version
        + "\" length=\"100\" type=\"application/octet-stream\"/></item>\n";
}

QString newer(const char *version, const char *notes)
{
    return QStringLiteral("<p>Morvex %1 is available; you are running 0.2.0.</p><p><a href=\"%2\">Release notes</a></p>")
        .arg(QLatin1String(version), QLatin1String(notes));
}

const QString upToDate = QStringLiteral("<p>You are running the newest version of Morvex (0.2.0).</p>");

// The message boxes shown while the updater runs, answered with OK.
using Boxes = QScopedPointer<DialogAnswerer>;
Boxes okBoxes()
{
    return Boxes(DialogAnswerer::messageBox(QMessageBox::Ok));
}

bool visibleMessageBox()
{
    const QWidgetList widgets = QApplication::topLevelWidgets();
    for (QWidget *widget : widgets) {
        if (qobject_cast<QMessageBox *>(widget) && widget->isVisible())
            return true;
    }
    return false;
}

} // namespace

class tst_Updates : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init() { sandbox.clear(); }
    void manualCheck_data();
    void manualCheck();
    void automaticCheck_data();
    void automaticCheck();
    void interval_data();
    void interval();
    void menuEntryWithAutomaticChecksOff();
    void publicKey();
    void about_data();
    void about();

private:
    SettingsSandbox sandbox;
    QWidget owner;
};

void tst_Updates::initTestCase()
{
    QCoreApplication::setApplicationVersion(QStringLiteral("0.2.0"));
    // Loopback feeds must not be sent to a proxy of the environment.
    QNetworkProxy::setApplicationProxy(QNetworkProxy::NoProxy);
}

void tst_Updates::manualCheck_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<int>("status"); // 0: no server listens
    QTest::addColumn<int>("outcome");
    QTest::addColumn<QString>("text"); // the dialog's text, or its start for unreadable feeds

    const QByteArray notes = "https://halvorn.works/software/morvex/0.3.0.html";
    QTest::newRow("newer") << appcast(item("0.3.0", notes)) << 200 << int(FeedUpdater::NewerVersion)
                           << newer("0.3.0", notes);
    QTest::newRow("newer by version order, older by text order")
        << appcast(item("0.10.0", "https://halvorn.works/n")) << 200 << int(FeedUpdater::NewerVersion)
        << newer("0.10.0", "https://halvorn.works/n");
    QTest::newRow("newest item is not the first")
        << appcast(item("0.1.0", "https://halvorn.works/a") + item("0.4.1", "https://halvorn.works/b")
                   + item("0.3.0", "https://halvorn.works/c"))
        << 200 << int(FeedUpdater::NewerVersion) << newer("0.4.1", "https://halvorn.works/b");
    QTest::newRow("version as an element, relative notes")
        << appcast("<item><sparkle:version>0.2.1</sparkle:version>"
                   "<sparkle:releaseNotesLink>notes/0.2.1.html</sparkle:releaseNotesLink></item>")
        << 200 << int(FeedUpdater::NewerVersion) << QString();
    QTest::newRow("newer without notes")
        << appcast(item("1.0")) << 200 << int(FeedUpdater::NewerVersion)
        << QStringLiteral("<p>Morvex 1.0 is available; you are running 0.2.0.</p>");
    QTest::newRow("same version") << appcast(item("0.2.0")) << 200 << int(FeedUpdater::UpToDate) << upToDate;
    QTest::newRow("same version, written shorter") << appcast(item("0.2")) << 200 << int(FeedUpdater::UpToDate)
                                                   << upToDate;
    QTest::newRow("older version") << appcast(item("0.1.9")) << 200 << int(FeedUpdater::UpToDate) << upToDate;

    const QString invalid = QStringLiteral("<p>The update feed %1 is not an appcast that names a version.</p>");
    QTest::newRow("malformed XML") << QByteArray("<rss><channel><item>") << 200 << int(FeedUpdater::FeedInvalid)
                                   << invalid;
    QTest::newRow("items without a version") << appcast("<item><title>x</title></item>") << 200
                                             << int(FeedUpdater::FeedInvalid) << invalid;
    QTest::newRow("not an appcast") << QByteArray("<html><body>moved</body></html>") << 200
                                    << int(FeedUpdater::FeedInvalid) << invalid;
    QTest::newRow("HTTP 404") << appcast(item("0.3.0")) << 404 << int(FeedUpdater::FeedUnreadable)
                              << QStringLiteral("<p>The update feed %1 could not be read:</p>");
    QTest::newRow("server not there") << QByteArray() << 0 << int(FeedUpdater::FeedUnreadable)
                                      << QStringLiteral("<p>The update feed %1 could not be read:</p>");
}

void tst_Updates::manualCheck()
{
    QFETCH(QByteArray, body);
    QFETCH(int, status);
    QFETCH(int, outcome);
    QFETCH(QString, text);

    FeedServer server(body, status);
    QVERIFY(server.listen());
    const QString url = server.url();
    if (status == 0)
        server.server().close();
    QSettings().setValue("Updates/Auto", false);
    FeedUpdater updater(url, &owner);
    QSignalSpy finished(&updater, &FeedUpdater::checkFinished);
    Boxes boxes = okBoxes();

    updater.checkForUpdates();
    QVERIFY(updater.isChecking());
    QVERIFY(finished.wait(10000));
    QCOMPARE(finished.at(0).at(0).toInt(), outcome);
    QVERIFY(waitFor([&] { return boxes->answered() == 1; }, 5000));
    QCOMPARE(server.connections(), status == 0 ? 0 : 1);

    const QString shown = boxes->texts().value(0);
    if (text.isEmpty()) {
        const QString notes = QUrl(url).resolved(QUrl("notes/0.2.1.html")).toString();
        QCOMPARE(shown, newer("0.2.1", qPrintable(notes)));
    } else if (outcome == FeedUpdater::FeedUnreadable) {
        QVERIFY2(shown.startsWith(text.arg(url)), qPrintable(shown));
    } else {
        QCOMPARE(shown, text.contains("%1") ? text.arg(url) : text);
    }
}

void tst_Updates::automaticCheck_data()
{
    QTest::addColumn<bool>("automatic");
    QTest::addColumn<int>("lastCheckDaysAgo"); // -1: never checked
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<int>("status");
    QTest::addColumn<bool>("connects");
    QTest::addColumn<bool>("dialog");

    const QByteArray same = appcast(item("0.2.0"));
    const QByteArray next = appcast(item("0.3.0", "https://halvorn.works/n"));
    QTest::newRow("not yet due: no connection") << true << 6 << next << 200 << false << false;
    QTest::newRow("first start only sets the clock") << true << -1 << next << 200 << false << false;
    QTest::newRow("automatic checks off") << false << 30 << next << 200 << false << false;
    QTest::newRow("due, nothing new: silent") << true << 8 << same << 200 << true << false;
    QTest::newRow("due, unreadable: silent") << true << 8 << same << 404 << true << false;
    QTest::newRow("due, newer: dialog") << true << 8 << next << 200 << true << true;
}

void tst_Updates::automaticCheck()
{
    QFETCH(bool, automatic);
    QFETCH(int, lastCheckDaysAgo);
    QFETCH(QByteArray, body);
    QFETCH(int, status);
    QFETCH(bool, connects);
    QFETCH(bool, dialog);

    FeedServer server(body, status);
    QVERIFY(server.listen());
    QSettings settings;
    settings.setValue("Updates/Auto", automatic);
    const QDateTime now = QDateTime::currentDateTimeUtc();
    if (lastCheckDaysAgo >= 0)
        settings.setValue(FeedUpdater::lastCheckKey, now.addDays(-lastCheckDaysAgo));

    QSignalSpy connected(&server.server(), &QTcpServer::newConnection);
    Boxes boxes = okBoxes();
    FeedUpdater updater(server.url(), &owner);
    QSignalSpy finished(&updater, &FeedUpdater::checkFinished);

    if (!connects) {
        if (!automatic) {
            QVERIFY(!updater.nextAutomaticCheck().isValid());
        } else {
            QVERIFY(updater.nextAutomaticCheck() >= now.addDays(1));
            if (lastCheckDaysAgo < 0)
                QVERIFY(QSettings().value(FeedUpdater::lastCheckKey).toDateTime() >= now.addSecs(-1));
        }
        // A due check would have connected by now.
        QVERIFY(!connected.wait(FeedUpdater::startDelayMs + 1000));
        QCOMPARE(server.connections(), 0);
        QVERIFY(finished.isEmpty());
        return;
    }

    QVERIFY(finished.wait(FeedUpdater::startDelayMs + 10000));
    QCOMPARE(server.connections(), 1);
    if (dialog) {
        QVERIFY(waitFor([&] { return boxes->answered() == 1; }, 5000));
        QCOMPARE(boxes->texts(), QStringList{newer("0.3.0", "https://halvorn.works/n")});
    } else {
        // A box shown is either still there or already answered.
        QVERIFY(!visibleMessageBox());
        QCOMPARE(boxes->answered(), 0);
    }
    // The check is booked, and the next one is a whole interval away.
    QVERIFY(QSettings().value(FeedUpdater::lastCheckKey).toDateTime() >= now.addSecs(-1));
    QVERIFY(updater.nextAutomaticCheck() >= now.addDays(7).addSecs(-1));
}

void tst_Updates::interval_data()
{
    QTest::addColumn<QVariant>("days"); // invalid: key absent
    QTest::addColumn<quint64>("seconds");

    QTest::newRow("0 gives one day") << QVariant(0) << quint64(86400);
    QTest::newRow("1 gives one day") << QVariant(1) << quint64(86400);
    QTest::newRow("7 gives seven") << QVariant(7) << quint64(604800);
    QTest::newRow("absent gives seven") << QVariant() << quint64(604800);
    QTest::newRow("not a number gives one day") << QVariant("weekly") << quint64(86400);
}

void tst_Updates::interval()
{
    QFETCH(QVariant, days);
    QFETCH(quint64, seconds);

    QSettings settings;
    if (days.isValid())
        settings.setValue("Updates/Interval", days);
    QCOMPARE(MVUpdater::checkIntervalSeconds(), seconds);

    const QDateTime last = QDateTime::currentDateTimeUtc().addSecs(-60);
    settings.setValue(FeedUpdater::lastCheckKey, last);
    FeedUpdater updater(QStringLiteral("http://127.0.0.1:9/appcast.xml"), &owner);
    QCOMPARE(quint64(last.secsTo(updater.nextAutomaticCheck())), seconds);
}

void tst_Updates::menuEntryWithAutomaticChecksOff()
{
    FeedServer server(appcast(item("0.2.0")));
    QVERIFY(server.listen());
    QSettings settings;
    settings.setValue("Updates/Auto", false);
    settings.setValue("Updates/URL", server.url());

    MorvexWindow window;
    auto *updater = window.findChild<FeedUpdater *>();
    QVERIFY(updater);
    QVERIFY(!updater->nextAutomaticCheck().isValid());
    QSignalSpy finished(updater, &FeedUpdater::checkFinished);
    Boxes boxes = okBoxes();

    // The link is closed: the entry works in any link state.
    QAction *check = windowAction(window, "actionCheck_for_updates");
    check->trigger();
    check->trigger(); // joins the check under way
    QVERIFY(finished.wait(10000));
    QVERIFY(waitFor([&] { return boxes->answered() == 1; }, 5000));
    QCOMPARE(boxes->texts(), QStringList{upToDate});
    QCOMPARE(server.connections(), 1);
    QCOMPARE(finished.size(), 1);
}

void tst_Updates::publicKey()
{
    QFile key(QStringLiteral(":/upd/halvorn_dsa_win_pub.pem"));
    QVERIFY(key.open(QIODevice::ReadOnly));
    QList<QByteArray> lines = key.readAll().trimmed().split('\n');
    QCOMPARE(lines.takeFirst(), QByteArray("-----BEGIN PUBLIC KEY-----"));
    QCOMPARE(lines.takeLast(), QByteArray("-----END PUBLIC KEY-----"));
    const QByteArray der = QByteArray::fromBase64(lines.join(), QByteArray::AbortOnBase64DecodingErrors);
    // The algorithm identifier of DSA, 1.2.840.10040.4.1.
    QVERIFY(der.contains(QByteArray::fromHex("06072a8648ce380401")));
    QVERIFY(der.size() > 800); // a 2048-bit key or larger
}

void tst_Updates::about_data()
{
    QTest::addColumn<QString>("action");
    QTest::addColumn<QString>("text"); // empty: Qt's own box, not compared

    QTest::newRow("About") << "actionAbout"
                           << "MVX Board Toolkit v0.2.0<br>Developed by: Halvorn Works LLC \u00a92020<br>"
                              "<a href=\"https://support.halvorn.works/\">support.halvorn.works</a><br><br>"
                              "3rd party software:<ul>"
                              "<li><a href=\"https://github.com/google/material-design-icons\">Material design icons</a>"
                              " (Apache License 2.0)</li>"
                              "<li><a href=\"https://github.com/Megaxela/QCodeEditor\">QCodeEditor</a> (MIT License)</li>"
                              "<li><a href=\"https://github.com/rxi/microtar\">microtar</a> (MIT License)</li></ul>";
    QTest::newRow("About Qt") << "actionAbout_Qt" << "";
}

void tst_Updates::about()
{
    QFETCH(QString, action);
    QFETCH(QString, text);
    QSettings().setValue("Updates/Auto", false);
    MorvexWindow window;
    Boxes boxes = okBoxes();
    windowAction(window, action.toLatin1().constData())->trigger();
    QCOMPARE(boxes->titles(), QStringList{QStringLiteral("Morvex")});
    if (!text.isEmpty())
        QCOMPARE(boxes->texts(), QStringList{text});
}

QTEST_MAIN(tst_Updates)
#include "tst_updates.moc"
