// Uploads of several files selected in the PC pane, in one batch.
#include "morvexwindow.h"

#include "batchitem.h"
#include "ui_morvexwindow.h"

#include <QFileInfo>

#include <algorithm>

QList<QFileInfo> MorvexWindow::selectedPcFiles() const
{
    QList<QFileInfo> files;
    const QModelIndexList rows = ui->pcFileList->selectionModel()->selectedRows();
    for (const QModelIndex &row : rows) {
        if (!pcModel.isDir(row))
            files << pcModel.fileInfo(row);
    }
    // In the order of their paths, whatever order they were picked in.
    std::sort(files.begin(), files.end(), [](const QFileInfo &a, const QFileInfo &b) {
        return a.absoluteFilePath() < b.absoluteFilePath();
    });
    return files;
}

void MorvexWindow::uploadSelection(const QList<QFileInfo> &files)
{
    // Every question is asked before the first byte goes; a cancel sends nothing.
    QList<BatchItem> items;
    for (const QFileInfo &file : files) {
        const QString target = policyTarget(file);
        if (target.isEmpty())
            return;
        items << batchFile(file.absoluteFilePath(), target);
    }
    if (makeTargetDirs(items) && uploadBatch(items))
        changeBoardDir(mcModel.rootPath);
}
