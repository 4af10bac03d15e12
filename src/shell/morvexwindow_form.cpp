// The form around the link: colours, icons, and the switching of board actions.
#include "morvexwindow.h"

#include "qmaterialicon.h"
#include "theme.h"
#include "ui_morvexwindow.h"

#include <QDir>

void MorvexWindow::setupForm()
{
    const bool dark = isDarkTheme();
    QMaterialIcon *icons = QMaterialIcon::instance();
    icons->setBase(dark ? Qt::white : Qt::black);
    termTimeColor = dark ? QStringLiteral("#A5D6A7") : QStringLiteral("#4CAF50");
    icons->setOnColor(QColor(termTimeColor));
    logTimeColor = dark ? QStringLiteral("#FFCC80") : QStringLiteral("#FF9800");

    const struct {
        QAction *action;
        const char *icon;
    } actionIcons[] = {
        {ui->actionUpload, "send"},
        {ui->actionDownload, "save"},
        {ui->actionSync, "swap_horizontal_circle"},
        {ui->actionAbort, "cancel"},
        {ui->actionReset, "restore"},
        {ui->actionDFU, "system_update"},
        {ui->actionRemove, "delete"},
        {ui->actionEdit, "edit"},
        {ui->actionUpload_Package, "archive"},
        {ui->actionInstall_Package, "cloud_download"},
        {ui->actionNew_Directory, "create_new_folder"},
        {ui->actionNew_File, "add_circle"},
        {ui->actionLaunch, "launch"},
        {ui->actionReset_MC, "refresh"},
        {ui->actionMonitor_Only, "visibility"},
        {ui->actionAutomatic_Reconnect, "autorenew"},
    };
    setConnectIcon(false);
    for (const auto &entry : actionIcons)
        entry.action->setIcon(icons->icon(QLatin1String(entry.icon)));
    ui->pcFolderSelTool->setIcon(icons->icon(QStringLiteral("folder_open")));
    ui->pcFolderUpTool->setIcon(icons->icon(QStringLiteral("arrow_upward")));
}

void MorvexWindow::setConnectIcon(bool open)
{
    ui->actionConnect->setIcon(
        QMaterialIcon::instance()->icon(open ? QStringLiteral("link_off") : QStringLiteral("link")));
}

void MorvexWindow::setBoardActions(bool on)
{
    // Abort, Reset and DFU stay usable while the board is busy.
    ui->actionUpload->setEnabled(on);
    ui->actionDownload->setEnabled(on);
    ui->actionNew_File->setEnabled(on);
    ui->actionNew_Directory->setEnabled(on);
    ui->actionEdit->setEnabled(on);
    ui->actionRemove->setEnabled(on);
    ui->actionSync->setEnabled(on);
    ui->actionUpload_Package->setEnabled(on);
    ui->actionLaunch->setEnabled(on);
    ui->actionInstall_Package->setEnabled(on);
}

void MorvexWindow::loadWindowState()
{
    restoreGeometry(settings.value(QStringLiteral("UI/Geometry")).toByteArray());
    restoreState(settings.value(QStringLiteral("UI/Win")).toByteArray(), 0);
    QString dir = settings.value(QStringLiteral("UI/Dir")).toString();
    if (dir.isEmpty())
        dir = QDir::homePath();
    setPcFolder(dir);
    ui->actionAutomatic_Reconnect->setChecked(settings.value(QStringLiteral("MC/ConnRest"), false).toBool());
    ui->actionMonitor_Only->setChecked(settings.value(QStringLiteral("MC/MonOnly"), false).toBool());
}

void MorvexWindow::saveConnectionFlags()
{
    settings.setValue(QStringLiteral("MC/ConnRest"), ui->actionAutomatic_Reconnect->isChecked());
    settings.setValue(QStringLiteral("MC/MonOnly"), ui->actionMonitor_Only->isChecked());
}
