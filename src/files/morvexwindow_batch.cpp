// Batched uploads: file after file through one run of the board's _batch function.
#include "morvexwindow.h"

#include "batchitem.h"
#include "boardtext.h"
#include "ui_morvexwindow.h"
#include "uploadpackets.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>
#include <QSet>

#include <climits>

struct MorvexWindow::BatchRun
{
    int chunk = 512;
    int files = 0;
    int file = 0;     // the one on its way, counted from 1
    qint64 total = 0; // base64 bytes of the whole batch, as far as they are known
    qint64 done = 0;  // of them acknowledged
    bool aborted = false;
    // The board's batch awaits a header: it answered the last packet in step.
    bool waiting = false;
};

bool MorvexWindow::uploadBatch(const QList<BatchItem> &items)
{
    if (items.isEmpty())
        return true;
    // A script of the user's own is honoured: then every file goes alone, through it.
    if (!settings.value(QStringLiteral("Scripts/Upload")).toString().isEmpty()) {
        for (const BatchItem &item : items) {
            QByteArray data;
            if (!item.read(data))
                return false;
            QBuffer source(&data);
            source.open(QIODevice::ReadOnly);
            if (!uploadData(source, item.target))
                return false;
        }
        return true;
    }

    BatchRun run;
    run.files = items.size();
    for (const BatchItem &item : items)
        run.total += UploadPackets::encodedSize(item.size);
    // The abort has put the board back at its prompt by the time a wait of the batch returns.
    QObject watch;
    connect(ui->actionAbort, &QAction::triggered, &watch, [&run] { run.aborted = true; });

    setBoardActions(false);
    if (!loadScript(mcType == MC_ESP32 ? QStringLiteral(":/data/batch_e.py") : QStringLiteral(":/data/batch.py")))
        return false;
    run.chunk = transferChunkSize();
    // The batch says when it reads, so no packet reaches a board that is not reading.
    if (!batchPacket(run, QStringLiteral("_batch(%1)").arg(run.chunk).toLatin1() + CTRL_D, 5000,
                     tr("Error while starting the transmission. Aborted"),
                     tr("No reply for the transmitted data. Aborted")))
        return false;

    const QString format = ui->progressBar->format();
    bool sent = true;
    for (const BatchItem &item : items) {
        ++run.file;
        sent = sendBatchItem(run, item);
        if (!sent)
            break;
    }
    ui->progressBar->hide();
    ui->progressBar->setFormat(format);
    if (!sent) {
        endBatch(run);
        return false;
    }
    if (!endBatch(run)) {
        if (!run.aborted)
            logLine(tr("Finalization error (during transmission phase). Aborted"));
        return false;
    }
    setBoardActions(true);
    return true;
}

bool MorvexWindow::sendBatchItem(BatchRun &run, const BatchItem &item)
{
    QByteArray data;
    if (!item.read(data))
        return false;
    const QByteArray encoded = data.toBase64();
    run.total += encoded.size() - UploadPackets::encodedSize(item.size);
    showBatchProgress(run);
    // The board acknowledges the header once the file is open.
    if (!batchPacket(run, UploadPackets::batchHeader(encoded.size(), item.target), 5000,
                     tr("Error while starting the transmission. Aborted"),
                     tr("No reply for the transmitted data. Aborted")))
        return false;
    for (int offset = 0; offset < encoded.size(); offset += run.chunk) {
        // ... and the last data packet once the file is written and closed.
        if (!batchPacket(run, encoded.mid(offset, run.chunk), 6000, tr("Transmission error. Aborted"),
                         tr("No reply. Aborted")))
            return false;
        run.done += qMin(run.chunk, encoded.size() - offset);
        showBatchProgress(run);
    }
    if (!batchPacket(run, UploadPackets::numbered('@', UploadPackets::sum(encoded)), 5000,
                     tr("Finalization error (during transmission phase). Aborted"),
                     tr("Finalization error (during reception phase). Aborted"), true))
        return false;
    logLine(tr("Finished uploading to %1").arg(item.target));
    return true;
}

bool MorvexWindow::batchPacket(BatchRun &run, const QByteArray &packet, int limitMs, const QString &unanswered,
                               const QString &noReply, bool result)
{
    run.waiting = false;
    if (run.aborted)
        return false;
    const bool answered = exchange(packet, limitMs, UploadPackets::answersBatchPacket);
    if (run.aborted)
        return false;
    if (!answered) {
        logLine(unanswered);
        return false;
    }
    QByteArray reply;
    while (!rxQueue.isEmpty() && !UploadPackets::answersBatchPacket(reply = rxQueue.takeFirst()))
        logLine(boardUtf8(reply));
    if (!UploadPackets::answersBatchPacket(reply)) {
        logLine(noReply);
        return false;
    }
    // A batch that stopped on the board answers with the raw REPL's end, and reads no more.
    run.waiting = !endsRawCommand(reply);
    if (result ? reply.startsWith("#0") : reply.endsWith("#9"))
        return true;
    logLine(tr("Invalid reply %1. Aborted").arg(QString::fromLatin1(reply.toHex().toUpper())));
    return false;
}

bool MorvexWindow::endBatch(BatchRun &run)
{
    if (!run.waiting)
        return false;
    run.waiting = false;
    if (!exchange(UploadPackets::batchEnd(), 5000, endsRawCommand) || run.aborted)
        return false;
    // The raw REPL's end of the run is no news for the log.
    while (!rxQueue.isEmpty()) {
        if (endsRawCommand(rxQueue.takeFirst()))
            break;
    }
    return true;
}

void MorvexWindow::showBatchProgress(const BatchRun &run)
{
    ui->progressBar->setFormat(tr("%p% (file %1 of %2, %v of %m bytes)").arg(run.file).arg(run.files));
    ui->progressBar->setRange(0, int(qBound<qint64>(1, run.total, INT_MAX)));
    ui->progressBar->setValue(int(qBound<qint64>(0, run.done, INT_MAX)));
    ui->progressBar->show();
}

BatchItem MorvexWindow::batchFile(const QString &localPath, const QString &target)
{
    BatchItem item;
    item.target = target;
    item.size = QFileInfo(localPath).size();
    item.read = [this, localPath, target](QByteArray &data) {
        QFile file(localPath);
        if (!openUploadSource(file, target))
            return false;
        data = file.readAll();
        return true;
    };
    return item;
}

bool MorvexWindow::makeTargetDirs(const QList<BatchItem> &items)
{
    QSet<QString> made;
    for (const BatchItem &item : items) {
        const int slash = item.target.lastIndexOf(QLatin1Char('/'));
        if (slash < 0 || made.contains(item.target.left(slash)))
            continue;
        made.insert(item.target.left(slash));
        if (!makeBoardDirs(item.target.left(slash)))
            return false;
    }
    return true;
}
