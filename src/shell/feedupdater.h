#pragma once

#include "mvupdater.h"

#include <QDateTime>
#include <QObject>
#include <QTimer>
#include <QUrl>
#include <QVersionNumber>

class QNetworkAccessManager;
class QNetworkReply;
class QWidget;

// Update checks of our own: reads the appcast feed and tells the user, in a
// dialog over the owner window, whether the feed offers a newer version than
// the one running. It downloads nothing. Automatic checks follow
// "Updates/Auto" and "Updates/Interval"; nothing touches the network before a
// check is due or asked for, and an automatic check speaks only of a newer
// version.
class FeedUpdater : public QObject, public MVUpdater
{
    Q_OBJECT

public:
    enum Outcome { NewerVersion, UpToDate, FeedUnreadable, FeedInvalid };
    Q_ENUM(Outcome)

    struct Release
    {
        QVersionNumber version;
        QString versionText;
        QUrl notes;
    };

    // The updater's own bookkeeping, in a settings group of its own: when it last checked.
    static const QString lastCheckKey;
    // A check that falls due at start waits this long, so the window comes first.
    static constexpr int startDelayMs = 2000;

    FeedUpdater(const QString &feedUrl, QWidget *owner);

    void checkForUpdates() override;

    // When the next automatic check runs; invalid while automatic checks are off.
    QDateTime nextAutomaticCheck() const;
    bool isChecking() const { return m_reply != nullptr; }

    // The newest release an appcast offers; false if the text is no appcast
    // or names no version.
    static bool parseFeed(const QByteArray &xml, Release &newest);

signals:
    // After the report, if any, has been put on the screen.
    void checkFinished(FeedUpdater::Outcome outcome);

private:
    void startCheck(bool manual);
    void replyFinished();
    void report(Outcome outcome, const Release &release, const QString &error);
    void scheduleAutomatic();
    void automaticTimeout();

    QNetworkAccessManager *m_network = nullptr; // made at the first check
    QUrl m_feedUrl;
    QTimer m_autoTimer;
    QNetworkReply *m_reply = nullptr;
    bool m_manual = false;
    bool m_automatic = true;
    qint64 m_intervalMs = 0;
    QDateTime m_lastCheck;
};
