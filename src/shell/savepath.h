// The save dialog of logs and plots: a time-stamped name in the folder used last.
#pragma once

#include <QString>

class QWidget;

// Asks where to save, proposing baseName_yyyyMMddhhmmss plus suffix in the folder
// remembered under folderKey (Documents at first). The suffix is added when the
// user leaves it out, and the chosen folder is remembered. Empty if cancelled.
QString askTimestampedSavePath(QWidget *parent, const QString &caption, const QString &filter,
                               const QString &folderKey, const QString &baseName, const QString &suffix);
