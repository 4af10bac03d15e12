#include "feedupdater.h"

#include <QCoreApplication>
#include <QLabel>
#include <QMessageBox>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QSettings>
#include <QWidget>
#include <QXmlStreamReader>

namespace {

const QString sparkleNs = QStringLiteral("http://www.andymatuschak.org/xml-namespaces/sparkle");
constexpr qint64 dayMs = 86400 * 1000LL;
constexpr int transferTimeoutMs = 30000;

bool isSparkle(const QXmlStreamReader &xml, QLatin1String name)
{
    return xml.namespaceUri() == sparkleNs && xml.name() == name;
}

// One <item> of the feed, read to its end. The version may stand as an
// element or on the enclosure; the short version string is only for showing.
FeedUpdater::Release readItem(QXmlStreamReader &xml)
{
    QString version;
    QString enclosureVersion;
    QString shortVersion;
    QString notes;
    QString link;
    while (xml.readNextStartElement()) {
        if (xml.namespaceUri().isEmpty() && xml.name() == QLatin1String("enclosure")) {
            const QXmlStreamAttributes attributes = xml.attributes();
            enclosureVersion = attributes.value(sparkleNs, QStringLiteral("version")).trimmed().toString();
            if (shortVersion.isEmpty())
                shortVersion = attributes.value(sparkleNs, QStringLiteral("shortVersionString")).trimmed().toString();
            xml.skipCurrentElement();
        } else if (isSparkle(xml, QLatin1String("version"))) {
            version = xml.readElementText().trimmed();
        } else if (isSparkle(xml, QLatin1String("shortVersionString"))) {
            shortVersion = xml.readElementText().trimmed();
        } else if (isSparkle(xml, QLatin1String("releaseNotesLink"))) {
            notes = xml.readElementText().trimmed();
        } else if (xml.namespaceUri().isEmpty() && xml.name() == QLatin1String("link")) {
            link = xml.readElementText().trimmed();
        } else {
            xml.skipCurrentElement();
        }
    }
    if (version.isEmpty())
        version = enclosureVersion.isEmpty() ? shortVersion : enclosureVersion;

    FeedUpdater::Release release;
    release.version = QVersionNumber::fromString(version).normalized();
    release.versionText = shortVersion.isEmpty() ? version : shortVersion;
    release.notes = QUrl(notes.isEmpty() ? link : notes, QUrl::StrictMode);
    return release;
}

} // namespace

const QString FeedUpdater::lastCheckKey = QStringLiteral("Updater/LastCheck");

FeedUpdater::FeedUpdater(const QString &feedUrl, QWidget *owner)
    : QObject(owner)
    , m_feedUrl(QUrl::fromUserInput(feedUrl))
{
    qRegisterMetaType<Outcome>(); // for queued connections and spies
    QSettings settings;
    m_automatic = settings.value(QStringLiteral("Updates/Auto"), true).toBool();
    m_intervalMs = qint64(checkIntervalSeconds()) * 1000;
    m_autoTimer.setSingleShot(true);
    connect(&m_autoTimer, &QTimer::timeout, this, &FeedUpdater::automaticTimeout);
    if (!m_automatic)
        return;

    m_lastCheck = settings.value(lastCheckKey).toDateTime();
    if (!m_lastCheck.isValid()) {
        // The first start only sets the clock: the first automatic check is one interval away.
        m_lastCheck = QDateTime::currentDateTimeUtc();
        settings.setValue(lastCheckKey, m_lastCheck);
    }
    scheduleAutomatic();
}

void FeedUpdater::checkForUpdates()
{
    startCheck(true);
}

QDateTime FeedUpdater::nextAutomaticCheck() const
{
    return m_automatic ? m_lastCheck.addMSecs(m_intervalMs) : QDateTime();
}

void FeedUpdater::scheduleAutomatic()
{
    if (!m_automatic)
        return;
    const qint64 wait = QDateTime::currentDateTimeUtc().msecsTo(nextAutomaticCheck());
    // QTimer holds an int of milliseconds: long waits are taken a day at a time.
    m_autoTimer.start(wait <= 0 ? startDelayMs : int(qMin(wait, dayMs)));
}

void FeedUpdater::automaticTimeout()
{
    if (QDateTime::currentDateTimeUtc() < nextAutomaticCheck())
        scheduleAutomatic();
    else
        startCheck(false);
}

void FeedUpdater::startCheck(bool manual)
{
    if (m_reply) {
        // The check under way answers the menu entry too.
        m_manual = m_manual || manual;
        return;
    }
    m_manual = manual;
    m_autoTimer.stop();
    m_lastCheck = QDateTime::currentDateTimeUtc();
    QSettings().setValue(lastCheckKey, m_lastCheck);

    QNetworkRequest request(m_feedUrl);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::NoLessSafeRedirectPolicy);
    request.setTransferTimeout(transferTimeoutMs);
    request.setHeader(QNetworkRequest::UserAgentHeader,
                      QStringLiteral("%1/%2").arg(QCoreApplication::applicationName(),
                                                  QCoreApplication::applicationVersion()));
    // Made only now: the network stack starts nothing before a check is due or asked for.
    if (!m_network)
        m_network = new QNetworkAccessManager(this);
    m_reply = m_network->get(request);
    connect(m_reply, &QNetworkReply::finished, this, &FeedUpdater::replyFinished);
}

void FeedUpdater::replyFinished()
{
    QNetworkReply *reply = m_reply;
    m_reply = nullptr;
    reply->deleteLater();

    Release newest;
    Outcome outcome;
    if (reply->error() != QNetworkReply::NoError) {
        outcome = FeedUnreadable;
    } else if (!parseFeed(reply->readAll(), newest)) {
        outcome = FeedInvalid;
    } else {
        // A relative link is read against the address that finally served the feed.
        if (!newest.notes.isEmpty())
            newest.notes = reply->url().resolved(newest.notes);
        const QVersionNumber running = QVersionNumber::fromString(QCoreApplication::applicationVersion()).normalized();
        outcome = newest.version > running ? NewerVersion : UpToDate;
    }
    // An automatic check stays silent unless there is something new.
    if (m_manual || outcome == NewerVersion)
        report(outcome, newest, reply->errorString());
    m_manual = false;
    scheduleAutomatic();
    emit checkFinished(outcome);
}

void FeedUpdater::report(Outcome outcome, const Release &release, const QString &error)
{
    const QString application = QCoreApplication::applicationName().toHtmlEscaped();
    const QString feed = m_feedUrl.toDisplayString().toHtmlEscaped();
    QString text;
    QMessageBox::Icon icon = QMessageBox::Information;
    switch (outcome) {
    case NewerVersion:
        if (release.notes.isValid()
            && (release.notes.scheme() == QLatin1String("https") || release.notes.scheme() == QLatin1String("http"))) {
            text = tr("<p>%1 %2 is available; you are running %3.</p><p><a href=\"%4\">Release notes</a></p>")
                       .arg(application, release.versionText.toHtmlEscaped(),
                            QCoreApplication::applicationVersion().toHtmlEscaped(),
                            release.notes.toString(QUrl::FullyEncoded).toHtmlEscaped());
        } else {
            text = tr("<p>%1 %2 is available; you are running %3.</p>")
                       .arg(application, release.versionText.toHtmlEscaped(),
                            QCoreApplication::applicationVersion().toHtmlEscaped());
        }
        break;
    case UpToDate:
        text = tr("<p>You are running the newest version of %1 (%2).</p>")
                   .arg(application, QCoreApplication::applicationVersion().toHtmlEscaped());
        break;
    case FeedUnreadable:
        icon = QMessageBox::Warning;
        text = tr("<p>The update feed %1 could not be read:</p><p>%2</p>").arg(feed, error.toHtmlEscaped());
        break;
    case FeedInvalid:
        icon = QMessageBox::Warning;
        text = tr("<p>The update feed %1 is not an appcast that names a version.</p>").arg(feed);
        break;
    }

    // Not exec(): the link keeps its own nested loops, and one more is not needed here.
    auto *box = new QMessageBox(icon, tr("Check for Updates"), text, QMessageBox::Ok,
                                qobject_cast<QWidget *>(parent()));
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setTextFormat(Qt::RichText);
    box->setTextInteractionFlags(Qt::TextBrowserInteraction);
    const QList<QLabel *> labels = box->findChildren<QLabel *>();
    for (QLabel *label : labels)
        label->setOpenExternalLinks(true);
    box->open();
}

bool FeedUpdater::parseFeed(const QByteArray &text, Release &newest)
{
    QXmlStreamReader xml(text);
    if (!xml.readNextStartElement() || xml.name() != QLatin1String("rss"))
        return false;
    bool found = false;
    while (!xml.atEnd()) {
        xml.readNext();
        if (!xml.isStartElement() || xml.name() != QLatin1String("item"))
            continue;
        const Release item = readItem(xml);
        if (!item.version.isNull() && (!found || item.version > newest.version)) {
            newest = item;
            found = true;
        }
    }
    return found && !xml.hasError();
}
