#include "savepath.h"

#include <QDateTime>
#include <QFileDialog>
#include <QFileInfo>
#include <QSettings>
#include <QStandardPaths>

QString askTimestampedSavePath(QWidget *parent, const QString &caption, const QString &filter,
                               const QString &folderKey, const QString &baseName, const QString &suffix)
{
    QSettings settings;
    const QString dir =
        settings.value(folderKey, QStandardPaths::standardLocations(QStandardPaths::DocumentsLocation).value(0)).toString();
    const QString proposed = dir + QLatin1Char('/') + baseName
                             + QDateTime::currentDateTime().toString(QStringLiteral("_yyyyMMddhhmmss")) + suffix;
    QString name = QFileDialog::getSaveFileName(parent, caption, proposed, filter);
    if (name.isEmpty())
        return name;
    if (!name.endsWith(suffix, Qt::CaseInsensitive))
        name += suffix;
    settings.setValue(folderKey, QFileInfo(name).absolutePath());
    return name;
}
