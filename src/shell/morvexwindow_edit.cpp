// Editing board files in place; the editor dialog comes later.
#include "morvexwindow.h"

void MorvexWindow::editBoardFile(const QModelIndex &index)
{
    Q_UNUSED(index)
    logLine(tr("Editing board files is not available yet"));
}

void MorvexWindow::on_actionEdit_triggered()
{
    logLine(tr("Editing board files is not available yet"));
}

void MorvexWindow::on_actionNew_File_triggered()
{
    logLine(tr("Editing board files is not available yet"));
}
