// Editing board files in place: the download, the editor dialog, and the upload of its text.
#include "morvexwindow.h"

#include "codeeditor.h"
#include "ui_morvexwindow.h"

#include <QBuffer>
#include <QInputDialog>
#include <QMessageBox>
#include <QTemporaryFile>

void MorvexWindow::on_actionEdit_triggered()
{
    const QModelIndex index = ui->mcFileList->currentIndex();
    if (index.isValid() && !mcModel.isDir(index))
        editBoardFile(index);
    else
        QMessageBox::warning(this, tr("Edit"), tr("Select a MC file to edit"), QMessageBox::Ok);
}

void MorvexWindow::editBoardFile(const QModelIndex &index)
{
    if (editTemp) {
        QMessageBox::warning(this, tr("Edit"), tr("A file is already being edited"), QMessageBox::Ok);
        return;
    }
    // Taken now: the pane may be listed again while the download waits.
    const QString name = mcModel.fileName(index);
    const qint32 listedSize = mcModel.fileSize(index);
    editPath = mcModel.rootPath + name;
    if (!openEditTemp())
        return;
    // A failed download keeps editTemp: the file counts as being edited until the link closes.
    if (!downloadData(editPath, *editTemp))
        return;
    if (!editTemp)
        return; // the link closed during the download, and that ended the edit
    editTemp->seek(0);
    const QByteArray data = editTemp->readAll();
    // Uploading an empty copy back would wipe the board's file.
    if (data.isEmpty() && listedSize > 0) {
        logLine(tr("Nothing of %1 was downloaded although the file is not empty; it is not opened for editing")
                    .arg(editPath));
        return;
    }
    CodeEditor *editor = createEditor(false);
    editor->setContent(name, data);
    // Not modal: the board link and the window go on working behind it.
    editor->show();
}

void MorvexWindow::on_actionNew_File_triggered()
{
    if (editTemp) {
        QMessageBox::warning(this, tr("New File"), tr("A file is already being edited"), QMessageBox::Ok);
        return;
    }
    bool ok = false;
    QString name = QInputDialog::getText(this, tr("New File"), tr("File name:"), QLineEdit::Normal, QString(), &ok);
    if (!ok || name.isEmpty())
        return;
    // A new file is always made in the board folder shown.
    name.replace(QLatin1Char('\\'), QLatin1Char('/'));
    if (name.contains(QLatin1Char('/'))) {
        QMessageBox::warning(this, tr("New File"), tr("The file name is invalid"), QMessageBox::Ok);
        return;
    }
    if (mcModel.hasFile(name)) {
        QMessageBox::warning(this, tr("New File"), tr("A file with the same name already exists"), QMessageBox::Ok);
        return;
    }
    if (!openEditTemp())
        return;
    editPath = mcModel.rootPath + name;
    CodeEditor *editor = createEditor(true);
    editor->setContent(name, QByteArray());
    editor->show();
}

void MorvexWindow::codeeditor_accepted()
{
    auto *editor = qobject_cast<CodeEditor *>(sender());
    if (!editor)
        return;
    const bool ownEdit = editTemp && editor == editDialog;
    if (ownEdit && port.isOpen()) {
        releaseEditTemp();
        QByteArray data = editor->editedData();
        QBuffer buffer(&data);
        buffer.open(QIODevice::ReadOnly);
        // A copy: a new edit may begin while the upload waits, and it sets editPath.
        const QString target = editPath;
        if (!uploadData(buffer, target))
            offerLocalSave(editor);
        changeBoardDir(mcModel.rootPath);
        // Last: a nested wait outside any event loop would delete it inside its own accept().
        editor->deleteLater();
        return;
    }
    // The link went away while the dialog was open: nothing is sent, nothing listed.
    offerLocalSave(editor);
    if (ownEdit)
        releaseEditTemp();
    editor->deleteLater();
}

void MorvexWindow::codeeditor_rejected()
{
    auto *editor = qobject_cast<CodeEditor *>(sender());
    if (!editor)
        return;
    editor->deleteLater();
    if (editTemp && editor == editDialog)
        releaseEditTemp();
}

bool MorvexWindow::openEditTemp()
{
    editTemp = new QTemporaryFile(this);
    if (editTemp->open())
        return true;
    logLine(tr("Cannot create temporary file at %1").arg(editTemp->fileName()));
    editTemp->deleteLater();
    editTemp = nullptr;
    return false;
}

void MorvexWindow::releaseEditTemp()
{
    editTemp->close();
    editTemp->deleteLater();
    editTemp = nullptr;
}

CodeEditor *MorvexWindow::createEditor(bool modal)
{
    auto *editor = new CodeEditor(this, Qt::Dialog);
    if (modal)
        editor->setWindowModality(Qt::ApplicationModal);
    connect(editor, &QDialog::accepted, this, &MorvexWindow::codeeditor_accepted);
    connect(editor, &QDialog::rejected, this, &MorvexWindow::codeeditor_rejected);
    editor->applySettings(QStringLiteral("Code"));
    editor->rootPath = pcModel.rootPath();
    editDialog = editor;
    return editor;
}

void MorvexWindow::offerLocalSave(CodeEditor *editor)
{
    const auto answer = QMessageBox::question(this, tr("Edit"), tr("The file cannot be uploaded. Save it?"),
                                              QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes);
    if (answer == QMessageBox::Yes)
        editor->on_saveButton_clicked();
}
