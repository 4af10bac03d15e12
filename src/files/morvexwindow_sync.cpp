// One-way synchronisation of a local folder onto the board; the transfer comes later.
#include "morvexwindow.h"

void MorvexWindow::syncFiles(const QString &localRoot, const QStringList &names, bool uploadMissing)
{
    Q_UNUSED(localRoot)
    Q_UNUSED(names)
    Q_UNUSED(uploadMissing)
    logLine(tr("Synchronization is not available yet"));
}

void MorvexWindow::on_actionSync_triggered()
{
    logLine(tr("Synchronization is not available yet"));
}
