// Installing packages of the package index: the dialog, and what the installer asks of the link.
#include "morvexwindow.h"

#include "installpackagedialog.h"
#include "packageinstaller.h"

bool MorvexWindow::replLines(const QString &call, int timeoutMs, QList<QByteArray> &lines)
{
    lines.clear();
    if (!enterRepl() || !exchange(call.toLatin1() + EOL, timeoutMs))
        return false;
    // The echo comes first; a prompt left over from before may stand anywhere.
    while (!rxQueue.isEmpty()) {
        const QByteArray piece = rxQueue.takeFirst();
        if (piece != PROMPT)
            lines << piece;
    }
    return true;
}

void MorvexWindow::on_actionInstall_Package_triggered()
{
    // The File menu stays live when the link closes, where the tool bar does not.
    if (!port.isOpen()) {
        logLine(tr("Connect to a board first"));
        return;
    }
    PackageInstaller installer(this);
    InstallPackageDialog dialog(installer, this);
    dialog.exec();
}
