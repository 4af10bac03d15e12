// Upload: the lock-step base64 protocol with the board's _upload function.
#include "morvexwindow.h"

#include "ui_morvexwindow.h"
#include "uploadpackets.h"

#include <QFile>

using UploadPackets::numbered;

namespace {
// _upload answers a packet with "#9", or ends with its result.
bool answersPacket(const QByteArray &item)
{
    return item.endsWith("#9") || MorvexWindow::endsRawCommand(item);
}
} // namespace

bool MorvexWindow::uploadData(QIODevice &source, const QString &target)
{
    const QByteArray encoded = source.readAll().toBase64();
    const int total = encoded.size();
    setBoardActions(false);
    const QString script = scriptPath(QStringLiteral("Scripts/Upload"), QStringLiteral(":/data/upload.py"),
                                      QStringLiteral(":/data/upload_e.py"));
    if (!loadScript(script))
        return false;
    const int chunk = transferChunkSize();
    // No reply is awaited: the board stays silent until the size packet, its "OK" waits in the buffer.
    if (!transmit(QStringLiteral("_upload('%1', %2)").arg(target, QString::number(chunk)).toLatin1() + CTRL_D))
        return false;
    if (!exchange(numbered('!', quint32(total)), 5000, answersPacket)) {
        logLine(tr("Error while starting the transmission. Aborted"));
        return false;
    }
    if (rxQueue.isEmpty()) {
        logLine(tr("No reply for the transmitted data. Aborted"));
        return false;
    }
    QByteArray reply = rxQueue.takeFirst();
    if (!reply.endsWith("#9")) {
        logLine(tr("Invalid reply %1. Aborted").arg(QString::fromLatin1(reply.toHex().toUpper())));
        return false;
    }
    delayMs(300);

    ui->progressBar->setRange(0, total);
    ui->progressBar->show();
    for (int offset = 0; offset < total; offset += chunk) {
        if (!exchange(encoded.mid(offset, chunk), 6000, answersPacket)) {
            logLine(tr("Transmission error. Aborted"));
            ui->progressBar->hide();
            return false;
        }
        if (rxQueue.isEmpty()) {
            logLine(tr("No reply. Aborted"));
            ui->progressBar->hide();
            return false;
        }
        reply = rxQueue.takeFirst();
        if (!reply.endsWith("#9")) {
            logLine(tr("Invalid reply %1. Aborted").arg(QString::fromLatin1(reply.toHex().toUpper())));
            ui->progressBar->hide();
            return false;
        }
        // Unclamped: past the range the bar keeps its previous value.
        ui->progressBar->setValue(offset + chunk);
    }
    ui->progressBar->hide();

    delayMs(400);
    if (!exchange(numbered('@', UploadPackets::sum(encoded)), 5000, answersPacket)) {
        logLine(tr("Finalization error (during transmission phase). Aborted"));
        return false;
    }
    if (rxQueue.isEmpty()) {
        logLine(tr("Finalization error (during reception phase). Aborted"));
        return false;
    }
    reply = rxQueue.takeFirst();
    if (reply.startsWith("#0")) {
        logLine(tr("Finished uploading to %1").arg(target));
        setBoardActions(true);
        return transmit(QByteArrayLiteral("\x01"));
    }
    logLine(tr("Invalid reply %1. Aborted").arg(QString::fromLatin1(reply.toHex().toUpper())));
    return false;
}

bool MorvexWindow::uploadFile(const QString &localPath, const QString &target)
{
    QFile file(localPath);
    return openUploadSource(file, target) && uploadData(file, target);
}

bool MorvexWindow::openUploadSource(QFile &file, const QString &target)
{
    static const QString forbidden = QStringLiteral("\\?%*:|\"<>");
    for (const QChar c : target) {
        if (c.unicode() < 0x20 || c.unicode() > 0x7E || forbidden.contains(c)) {
            logLine(tr("Cannot upload - forbidden character %1 in %2").arg(QString(c), target));
            return false;
        }
    }
    logLine(tr("Start uploading \"%1\" -> \"%2\"").arg(file.fileName(), target));
    if (!file.open(QIODevice::ReadOnly)) {
        logLine(tr("Cannot read from %1: %2").arg(file.fileName(), file.errorString()));
        return false;
    }
    return true;
}
