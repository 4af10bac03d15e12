#pragma once

#include <QtGlobal>

class QString;
class QWidget;

// The window knows only this interface of the update machinery.
class MVUpdater
{
public:
    virtual ~MVUpdater() = default;
    virtual void checkForUpdates() = 0;

    // "Updates/Interval" counts days; anything below one day means one day.
    static quint64 checkIntervalSeconds();
    static QString defaultFeedUrl();
};

// The updater of this build: WinSparkle's where it is built in, our own feed
// reader otherwise, a child of owner that reports in dialogs over it.
MVUpdater *createUpdater(const QString &feedUrl, QWidget *owner);
