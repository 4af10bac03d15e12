// Package upload and synchronisation entry points; their transfers come later.
#include "morvexwindow.h"

void MorvexWindow::uploadZPack(const QString &path)
{
    Q_UNUSED(path)
    logLine(tr("Package upload is not available yet"));
}

void MorvexWindow::uploadZfw(const QString &path)
{
    Q_UNUSED(path)
    logLine(tr("Package upload is not available yet"));
}

void MorvexWindow::syncFiles(const QString &localRoot, const QStringList &names, bool uploadMissing)
{
    Q_UNUSED(localRoot)
    Q_UNUSED(names)
    Q_UNUSED(uploadMissing)
    logLine(tr("Synchronization is not available yet"));
}

void MorvexWindow::on_actionUpload_Package_triggered()
{
    logLine(tr("Package upload is not available yet"));
}

void MorvexWindow::on_actionSync_triggered()
{
    logLine(tr("Synchronization is not available yet"));
}
