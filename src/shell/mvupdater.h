#pragma once

// The window knows only this interface of the update machinery.
class MVUpdater
{
public:
    virtual ~MVUpdater() = default;
    virtual void checkForUpdates() = 0;
};
