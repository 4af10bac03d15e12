// Texts of the AppImage updater, which ships in the AppImage package with its
// own update script and reads them from this catalogue. lupdate scans this
// file; it is not compiled, as the updater's code is not part of this tree.
#include <QtGlobal>

static const char *const appUpdaterTexts[] = {
    QT_TRANSLATE_NOOP("AppUpdater", "AppImage is corrupted - root directory variable is not set.\nAboriting update"),
    QT_TRANSLATE_NOOP("AppUpdater", "AppImage is corrupted - updater script is missing.\nAboriting update"),
    QT_TRANSLATE_NOOP("AppUpdater", "AppImage is corrupted - zsync_curl is missing.\nAboriting update"),
    QT_TRANSLATE_NOOP("AppUpdater", "appupdateimage process failed to start"),
    QT_TRANSLATE_NOOP("AppUpdater", "Update progress"),
    QT_TRANSLATE_NOOP("AppUpdater", "Error: "),
    QT_TRANSLATE_NOOP("AppUpdater", "Application has been updated and will now be closed."),
};
