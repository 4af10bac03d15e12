// Small file-system operations on the board: remove, make directories, existence test.
#include "morvexwindow.h"

#include "boardtext.h"
#include "ui_morvexwindow.h"

#include <QFile>
#include <QInputDialog>
#include <QMessageBox>

bool MorvexWindow::removeBoardPath(const QString &path, bool isDir)
{
    const QString script = isDir ? scriptPath(QStringLiteral("Scripts/Rmdir"), QStringLiteral(":/data/rmdir.py"),
                                              QStringLiteral(":/data/rmdir_e.py"))
                                 : scriptPath(QStringLiteral("Scripts/Remove"), QStringLiteral(":/data/remove.py"),
                                              QStringLiteral(":/data/remove_e.py"));
    if (!loadScript(script))
        return false;
    const QString call = QStringLiteral("%1('%2')").arg(isDir ? QStringLiteral("_rmd") : QStringLiteral("_rm"), path);
    // The ">" in front closes the raw REPL's "OK" alone; the result follows in a record of its own.
    const auto result = [](const QByteArray &item) { return item.startsWith('#') || endsRawCommand(item); };
    if (!exchange(call.toLatin1() + CTRL_D, 5000, result))
        return false;
    QByteArray reply = takeReplyStartingWith(rxQueue, '#');
    if (reply.startsWith("#0")) {
        logLine(tr("%1 removed").arg(path));
        return true;
    }
    logLine(tr("Removal error: %1. Aborted").arg(boardUtf8(reply.mid(2).replace('\x04', ' '))));
    return false;
}

void MorvexWindow::removeEntry(const QModelIndex &index)
{
    if (removeBoardPath(mcModel.filePath(index), mcModel.isDir(index)))
        changeBoardDir(mcModel.rootPath);
}

bool MorvexWindow::boardDirExists(const QString &path)
{
    QString script = settings.value(QStringLiteral("Scripts/Direxists"), QStringLiteral(":/data/direxists.py"))
                         .toString();
    if (script.isEmpty())
        script = QStringLiteral(":/data/direxists.py");
    if (!loadScript(script) || !enterRepl())
        return false;
    if (!exchange(QStringLiteral("print(_direxists('%1'))").arg(path).toLatin1() + EOL, 1000))
        return false;
    while (!rxQueue.isEmpty()) {
        const QByteArray piece = rxQueue.takeFirst().trimmed();
        if (piece == "True")
            return true;
        if (piece == "False")
            return false;
    }
    return false;
}

bool MorvexWindow::makeBoardDirs(const QString &path)
{
    if (path.isEmpty() || path == QLatin1String("/"))
        return true;
    if (!enterRepl())
        return false;
    const QString script = scriptPath(QStringLiteral("PY/mkdir"), QStringLiteral(":/data/mkdir.py"),
                                      QStringLiteral(":/data/mkdir_e.py"));
    QFile file(script);
    if (!file.open(QIODevice::ReadOnly)) {
        logLine(tr("Directory creator %1 is missing").arg(script));
        return false;
    }
    // Sent through paste mode: Ctrl-E, the script, Ctrl-D.
    const QString pasteTemplate = QLatin1Char('\x05') + QString::fromLatin1(file.readAll()) + QLatin1Char('\x04');
    QString full = path;
    if (!full.endsWith(QLatin1Char('/')))
        full += QLatin1Char('/');
    // From index 2: a leading "/" needs no directory, and a relative first name has at least two characters.
    int slash = full.indexOf(QLatin1Char('/'), 2);
    while (slash > 0) {
        const QString prefix = full.left(slash);
        QString command = pasteTemplate;
        command.replace(QStringLiteral("$dir"), QStringLiteral("'%1'").arg(prefix));
        logLine(tr("Creating dir %1").arg(prefix));
        if (!exchange(command.toLatin1() + EOL, 5000))
            return false;
        slash = full.indexOf(QLatin1Char('/'), slash + 1);
    }
    settleBoard(false);
    return true;
}

void MorvexWindow::on_actionRemove_triggered()
{
    const QModelIndex index = ui->mcFileList->currentIndex();
    if (!index.isValid())
        return;
    if (mcModel.isDir(index))
        logLine(tr("Directory %1 must be empty in order to be removed").arg(mcModel.fileName(index)));
    removeEntry(index);
}

void MorvexWindow::on_actionNew_Directory_triggered()
{
    const QString name = QInputDialog::getText(this, tr("New Directory"), tr("Name"));
    if (name.isEmpty())
        return;
    if (mcModel.hasDir(name)) {
        QMessageBox::warning(this, tr("New Directory"), tr("A directory with the same name already exists"));
        return;
    }
    if (makeBoardDirs(name))
        changeBoardDir(mcModel.rootPath);
    else
        logLine(tr("MC directory creation failure"));
}
