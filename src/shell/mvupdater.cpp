#include "mvupdater.h"

#ifdef MORVEX_WINSPARKLE
#include "sparkleupdater.h"
#else
#include "feedupdater.h"
#endif

#include <QSettings>
#include <QString>

quint64 MVUpdater::checkIntervalSeconds()
{
    constexpr quint64 day = 86400;
    const quint64 seconds = QSettings().value(QStringLiteral("Updates/Interval"), 7u).toUInt() * day;
    return qMax(seconds, day);
}

QString MVUpdater::defaultFeedUrl()
{
    return QStringLiteral("https://halvorn.works/software/morvex/updates/win/appcast.xml");
}

MVUpdater *createUpdater(const QString &feedUrl, QWidget *owner)
{
#ifdef MORVEX_WINSPARKLE
    Q_UNUSED(owner)
    // WinSparkle's state is global: one instance, kept until the process ends.
    static SparkleUpdater *const sparkle = new SparkleUpdater(feedUrl);
    return sparkle;
#else
    return new FeedUpdater(feedUrl, owner);
#endif
}
