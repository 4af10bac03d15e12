#include "sparkleupdater.h"

#include <QCoreApplication>
#include <QFile>
#include <QSettings>

#include <winsparkle.h>

#include <climits>
#include <string>

SparkleUpdater::SparkleUpdater(const QString &feedUrl)
{
    const std::wstring company = QCoreApplication::organizationName().toStdWString();
    const std::wstring application = QCoreApplication::applicationName().toStdWString();
    const std::wstring version = QCoreApplication::applicationVersion().toStdWString();
    win_sparkle_set_app_details(company.c_str(), application.c_str(), version.c_str());

    const quint64 interval = qMin<quint64>(checkIntervalSeconds(), INT_MAX);
    win_sparkle_set_appcast_url(feedUrl.toLocal8Bit().constData());
    win_sparkle_set_automatic_check_for_updates(
        QSettings().value(QStringLiteral("Updates/Auto"), true).toBool() ? 1 : 0);
    win_sparkle_set_update_check_interval(int(interval));

    // Without the key the library decides how far it trusts unsigned updates.
    QFile key(QStringLiteral(":/upd/halvorn_dsa_win_pub.pem"));
    if (key.open(QIODevice::ReadOnly))
        win_sparkle_set_dsa_pub_pem(key.readAll().constData());

    win_sparkle_init();
}

SparkleUpdater::~SparkleUpdater()
{
    win_sparkle_cleanup();
}

void SparkleUpdater::checkForUpdates()
{
    win_sparkle_check_update_with_ui();
}
