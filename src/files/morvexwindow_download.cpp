// Download: the board's _download function sends blocks, the desktop acknowledges each.
#include "morvexwindow.h"

#include "boardtext.h"
#include "ui_morvexwindow.h"

#include <QFile>
#include <QFileInfo>
#include <QMessageBox>

#include <algorithm>

bool MorvexWindow::downloadData(const QString &source, QIODevice &sink)
{
    setBoardActions(false);
    QString script = settings.value(QStringLiteral("Scripts/Download")).toString();
    if (script.isEmpty())
        script = QStringLiteral(":/data/download.py");
    if (!loadScript(script))
        return false;
    quint64 mark = replyMark();
    if (!transmit(QStringLiteral("_download('%1')").arg(source).toLatin1() + CTRL_D))
        return false;
    logLine(tr("Downloading %1").arg(source));

    // The next block, the end, or a failure answers an acknowledge.
    const auto answersBlock = [](const QByteArray &item) {
        return item.endsWith("#8") || item.endsWith("#7") || item.endsWith("#6") || endsRawCommand(item);
    };
    quint64 sum = 0;
    bool running = true;
    bool returned = false; // _download has ended, and the raw REPL's end follows
    // Handles one queued item; false ends the transfer.
    auto handle = [&](const QByteArray &item) {
        if (item == "OK" || item.isEmpty())
            return true;
        if (item.endsWith("#8")) {
            const QByteArray block = QByteArray::fromBase64(item.left(item.size() - 2));
            sink.write(block);
            for (const char byte : block)
                sum += quint8(byte);
            if (!exchange(QByteArrayLiteral("^^"), 1000, answersBlock)) {
                logLine(tr("Communication timed out"));
                return false;
            }
            return true;
        }
        returned = item.endsWith("#7") || item.endsWith("#6");
        if (item.endsWith("#7")) {
            const quint64 boardSum = item.left(item.size() - 2).toULongLong();
            const quint32 localSum = quint32(sum);
            if ((boardSum >> 32) == 0 && quint32(boardSum) == localSum)
                logLine(tr("Download from %1 completed").arg(source));
            else
                logLine(tr("File downloaded with errors!! (checksum mismatch %1 vs %2")
                            .arg(QString::number(boardSum), QString::number(localSum)));
            return false;
        }
        if (item.endsWith("#6")) {
            logLine(tr("Transmission error: %1").arg(boardUtf8(item.left(item.size() - 2))));
            return false;
        }
        logLine(tr("Communication error - unexpected data"));
        return false;
    };

    // Blocks after the first arrive inside the exchange of "^^"; the first one and the
    // end are awaited here, until about two seconds of silence.
    while (running) {
        if (rxQueue.isEmpty()
            && !awaitReply(mark, [](const QByteArray &) { return true; }, 2000, Deadline::FromLastByte))
            break;
        while (running && !rxQueue.isEmpty())
            running = handle(rxQueue.takeFirst());
        mark = replyMark();
    }

    // Its end is part of this command's reply, not a leftover for the next one.
    if (returned && std::none_of(rxQueue.cbegin(), rxQueue.cend(), endsRawCommand))
        awaitReply(replyMark(), endsRawCommand, 1000);
    setBoardActions(true);
    rxQueue.clear();
    return transmit(QByteArrayLiteral("\x01"));
}

bool MorvexWindow::downloadToFile(const QString &source, const QString &localPath)
{
    QFile file(localPath);
    if (!file.open(QIODevice::WriteOnly)) {
        logLine(tr("Cannot write to %1: %2").arg(file.fileName(), file.errorString()));
        return false;
    }
    return downloadData(source, file);
}

void MorvexWindow::downloadEntry(const QModelIndex &index)
{
    const QString localPath = pcModel.rootPath() + QLatin1Char('/') + mcModel.fileName(index);
    if (QFileInfo::exists(localPath)) {
        const auto answer = QMessageBox::question(this, tr("Download file"),
                                                  tr("File %1 exists. Overwrite?").arg(localPath),
                                                  QMessageBox::Yes | QMessageBox::No);
        if (answer != QMessageBox::Yes)
            return;
    }
    downloadToFile(mcModel.rootPath + mcModel.fileName(index), localPath);
}

void MorvexWindow::on_actionDownload_triggered()
{
    const QModelIndex index = ui->mcFileList->currentIndex();
    if (index.isValid() && !mcModel.isDir(index))
        downloadEntry(index);
}
