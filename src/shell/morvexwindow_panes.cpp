// The two file panes: the PC folder, double clicks and the context menus.
#include "morvexwindow.h"

#include "qmaterialicon.h"
#include "ui_morvexwindow.h"

#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QHeaderView>
#include <QMenu>

namespace {
QAction *addMenuEntry(QMenu *menu, int data, const QString &text, const char *icon)
{
    QAction *action = menu->addAction(QMaterialIcon::instance()->icon(QLatin1String(icon)), text);
    action->setData(data);
    return action;
}
} // namespace

void MorvexWindow::setupPanes()
{
    pcModel.setReadOnly(true);
    pcModel.setIconProvider(&pcIcons);
    ui->mcFileList->setModel(&mcModel);
    ui->mcFileList->horizontalHeader()->setSectionResizeMode(0, QHeaderView::Stretch);
    ui->mcFileList->setShowGrid(false);
    ui->pcFileList->setSortingEnabled(true);
    ui->pcFileList->setModel(&pcModel);
    ui->pcFileList->sortByColumn(0, Qt::AscendingOrder);
    // Several files at once go up in one batch.
    ui->pcFileList->setSelectionMode(QAbstractItemView::ExtendedSelection);
    ui->pcFileList->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    ui->pcFileList->setContextMenuPolicy(Qt::CustomContextMenu);
    ui->mcFileList->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(ui->pcFileList, &QWidget::customContextMenuRequested, this, &MorvexWindow::pcFileListMenu);
    connect(ui->mcFileList, &QWidget::customContextMenuRequested, this, &MorvexWindow::mcFileListMenu);

    // Built before the icon colours are set, so these icons stay in the starting colour.
    pcMenu = new QMenu(this);
    addMenuEntry(pcMenu, 0, tr("Run on the MC"), "build");
    addMenuEntry(pcMenu, 1, tr("Upload"), "send");
    addMenuEntry(pcMenu, 2, tr("Synchronize"), "swap_horizontal_circle");
    mcMenu = new QMenu(this);
    addMenuEntry(mcMenu, 0, tr("Edit"), "edit");
    addMenuEntry(mcMenu, 1, tr("Download"), "save");
    addMenuEntry(mcMenu, 2, tr("Remove"), "delete");
}

void MorvexWindow::setPcFolder(const QString &path)
{
    if (settings.value(QStringLiteral("UI/Dir")).toString() != path)
        settings.setValue(QStringLiteral("UI/Dir"), path);
    const bool blocked = ui->pcFolderEdit->blockSignals(true);
    ui->pcFolderEdit->setText(path);
    ui->pcFolderEdit->blockSignals(blocked);
    pcModel.setRootPath(path);
    ui->pcFileList->setRootIndex(pcModel.index(path, 0));
}

void MorvexWindow::on_pcFolderEdit_textChanged(const QString &text)
{
    if (QFileInfo(text).isDir())
        setPcFolder(text);
}

void MorvexWindow::on_pcFolderSelTool_clicked()
{
    const QString dir = QFileDialog::getExistingDirectory(this, tr("Select Directory"), ui->pcFolderEdit->text(),
                                                          QFileDialog::ShowDirsOnly);
    if (!dir.isEmpty())
        ui->pcFolderEdit->setText(dir);
}

void MorvexWindow::on_pcFolderUpTool_clicked()
{
    QDir dir = pcModel.rootDirectory();
    if (dir.cdUp())
        ui->pcFolderEdit->setText(dir.absolutePath());
}

void MorvexWindow::pcFileListMenu(const QPoint &p)
{
    const QModelIndex index = ui->pcFileList->indexAt(p);
    if (!index.isValid() || pcModel.isDir(index))
        return;
    const QAction *chosen = pcMenu->exec(ui->pcFileList->mapToGlobal(p));
    if (!chosen)
        return;
    const QFileInfo file = pcModel.fileInfo(index);
    switch (chosen->data().toInt()) {
    case 0:
        runScript(file.absoluteFilePath());
        break;
    case 1: {
        // A file of a larger selection brings the whole selection along.
        const QList<QFileInfo> selected = selectedPcFiles();
        if (selected.size() > 1 && selected.contains(file))
            uploadSelection(selected);
        else
            uploadWithPolicy(file);
        break;
    }
    case 2:
        // One file, uploaded unless the board holds the same content.
        syncFiles(pcModel.rootPath(), {pcModel.rootDirectory().relativeFilePath(file.absoluteFilePath())}, true);
        break;
    }
}

void MorvexWindow::mcFileListMenu(const QPoint &p)
{
    const QModelIndex index = ui->mcFileList->indexAt(p);
    if (!index.isValid() || index.column() != 0 || mcModel.isDir(index))
        return;
    const QAction *chosen = mcMenu->exec(ui->mcFileList->mapToGlobal(p));
    if (!chosen)
        return;
    switch (chosen->data().toInt()) {
    case 0:
        editBoardFile(index);
        break;
    case 1:
        downloadEntry(index);
        break;
    case 2:
        removeEntry(index);
        break;
    }
}

void MorvexWindow::on_mcFileList_doubleClicked(const QModelIndex &index)
{
    QString path;
    if (!mcModel.isDir(index)) {
        if (settings.value(QStringLiteral("MC/ClickAction")).toString() == QLatin1String("download"))
            on_actionDownload_triggered();
        else
            on_actionEdit_triggered();
        return;
    }
    if (mcModel.fileName(index) == QLatin1String("..")) {
        path = mcModel.rootPath;
        if (path.isEmpty() || path == QLatin1String("/"))
            return;
        path.chop(1);
        path = path.left(path.lastIndexOf(QLatin1Char('/')));
    } else {
        path = mcModel.filePath(index);
    }
    mcModel.setRootPath(path);
    changeBoardDir(mcModel.rootPath);
}
