// Package upload entry points; their transfers come later.
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

void MorvexWindow::on_actionUpload_Package_triggered()
{
    logLine(tr("Package upload is not available yet"));
}
