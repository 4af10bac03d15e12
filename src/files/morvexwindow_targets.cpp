// What an upload from the PC pane does, and where on the board the file goes.
#include "morvexwindow.h"

#include "preferences.h"
#include "ui_morvexwindow.h"

#include <QDir>
#include <QFileInfo>
#include <QMessageBox>

void MorvexWindow::on_pcFileList_doubleClicked(const QModelIndex &index)
{
    const QFileInfo file = pcModel.fileInfo(index);
    if (file.isDir()) {
        setPcFolder(file.absoluteFilePath());
        return;
    }
    const QString suffix = file.suffix().toLower();
    if (suffix == QLatin1String("zpack") || suffix == QLatin1String("zfw")) {
        const auto answer = QMessageBox::question(
            this, tr("Upload File"), tr("This is an update package. Do you want to unpack it and upload its contents?"),
            QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel, QMessageBox::Yes);
        if (answer == QMessageBox::Yes) {
            if (suffix == QLatin1String("zpack"))
                uploadZPack(file.absoluteFilePath());
            else
                uploadZfw(file.absoluteFilePath());
            return;
        }
        if (answer != QMessageBox::No)
            return;
    }
    if (suffix == QLatin1String("py") && settings.value(QStringLiteral("MC/SuggestExecute"), false).toBool()) {
        const auto answer = QMessageBox::question(this, tr("Upload File"),
                                                  tr("Execute this file on the MC instead of uploading?"),
                                                  QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel,
                                                  QMessageBox::No);
        if (answer == QMessageBox::Yes) {
            runScript(file.absoluteFilePath());
            return;
        }
        if (answer != QMessageBox::No)
            return;
    }
    uploadWithPolicy(file);
}

void MorvexWindow::on_actionUpload_triggered()
{
    const QList<QFileInfo> selected = selectedPcFiles();
    if (selected.size() > 1) {
        uploadSelection(selected);
        return;
    }
    const QModelIndex index = ui->pcFileList->currentIndex();
    if (index.isValid() && !pcModel.isDir(index))
        on_pcFileList_doubleClicked(index);
}

void MorvexWindow::uploadWithPolicy(const QFileInfo &file)
{
    const QString target = policyTarget(file);
    if (target.isEmpty())
        return;
    const int slash = target.lastIndexOf(QLatin1Char('/'));
    if (slash >= 0 && !makeBoardDirs(target.left(slash)))
        return;
    if (uploadFile(file.absoluteFilePath(), target))
        changeBoardDir(mcModel.rootPath);
}

QString MorvexWindow::policyTarget(const QFileInfo &file)
{
    const int policy = settings.value(QStringLiteral("MC/SubDirsSel"), 2).toInt();
    const QDir root = pcModel.rootDirectory();
    const QString relative = root.relativeFilePath(file.absoluteFilePath());
    QString target;
    if (policy == Preferences::Target_Keep) {
        target = relative;
    } else if (policy == Preferences::Target_Root) {
        target = file.fileName();
    } else if (root.absolutePath() == file.absoluteDir().absolutePath()) {
        target = file.fileName();
    } else {
        QMessageBox box(QMessageBox::Question, tr("Upload File"), tr("Keep the subdirectory structure?"),
                        QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel, this);
        box.setInformativeText(tr("File's relative path is %1").arg(relative));
        box.setDetailedText(tr("If you choose to keep the directory structure, the file will be uploaded to\n%1\n\n"
                               "If not, it will be uploaded to\n%2")
                                .arg(mcModel.rootPath + relative, mcModel.rootPath + file.fileName()));
        const int answer = box.exec();
        if (answer == QMessageBox::Yes)
            target = relative;
        else if (answer == QMessageBox::No)
            target = file.fileName();
        else
            return QString();
    }
    if (target.isEmpty())
        return QString();
    target = mcModel.rootPath + target;
    return target.replace(QLatin1Char('\\'), QLatin1Char('/'));
}
