#pragma once

#include "mvupdater.h"

#include <QString>

// Update checks through WinSparkle, which owns every dialog around them and
// checks by itself on its own threads. Windows builds with MORVEX_WINSPARKLE only.
class SparkleUpdater : public MVUpdater
{
public:
    explicit SparkleUpdater(const QString &feedUrl);
    ~SparkleUpdater() override;

    void checkForUpdates() override;
};
