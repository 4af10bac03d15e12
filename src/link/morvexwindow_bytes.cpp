// The serial byte layer: reply assembly, the reply queue, writing and waiting.
#include "morvexwindow.h"

#include "boardtext.h"
#include "ui_morvexwindow.h"

#include <QEventLoop>

void MorvexWindow::io_ready()
{
    if (!port.isOpen())
        return;
    rxBuffer.append(port.readAll());
    switch (mcState) {
    case MC_UNKNOWN:
    case MC_RUNNING:
        splitReplies(EOL);
        processQueue();
        break;
    case MC_REPL:
        splitReplies(EOL);
        break;
    case MC_RAW:
        splitReplies(RAW_PROMPT);
        break;
    }
}

void MorvexWindow::splitReplies(const QByteArray &terminator)
{
    int pos = 0;
    for (;;) {
        const int found = rxBuffer.indexOf(terminator, pos);
        if (found < 0)
            break;
        if (found > pos) {
            const QByteArray piece = rxBuffer.mid(pos, found - pos);
            rxQueue.append(piece);
            if (mcState == MC_RAW || (mcState == MC_REPL && piece == PROMPT))
                emit eod();
        }
        pos = found + terminator.size();
    }
    if (pos != 0) {
        if (pos >= rxBuffer.size())
            rxBuffer.clear();
        else
            rxBuffer.remove(0, pos);
    }
    // A friendly reply ends with the prompt standing alone after the last line end.
    if (mcState == MC_REPL && rxBuffer == PROMPT) {
        rxQueue.append(PROMPT);
        rxBuffer.clear();
        emit eod();
    }
}

void MorvexWindow::processQueue()
{
    while (!rxQueue.isEmpty()) {
        const QByteArray piece = rxQueue.takeFirst();
        if (mcState == MC_UNKNOWN || mcState == MC_RUNNING) {
            termLine(boardUtf8(piece));
        } else if (piece != PROMPT) {
            logLine(boardUtf8(piece));
        }
    }
}

QByteArray MorvexWindow::takeReplyStartingWith(char lead)
{
    while (!rxQueue.isEmpty()) {
        const QByteArray piece = rxQueue.takeFirst();
        if (piece.startsWith(lead))
            return piece;
    }
    return QByteArray();
}

int MorvexWindow::transferChunkSize() const
{
    // Below 32 means the built-in size; uploads use the same chunks so a packet leaves in one write.
    const int setting = settings.value(QStringLiteral("MC/TransferSize"), 0).toInt();
    return setting >= 32 ? setting : 512;
}

bool MorvexWindow::transmit(const QByteArray &data)
{
    const int chunk = transferChunkSize();
    int sent = 0;
    while (port.isOpen() && sent < data.size()) {
        // The whole flow control: pause until the board says something, or 100 ms.
        if (sent != 0)
            waitInput(100);
        const int n = qMin(chunk, data.size() - sent);
        if (port.write(data.constData() + sent, n) != n || !port.flush())
            return false;
        sent += n;
    }
    return port.isOpen();
}

bool MorvexWindow::exchange(const QByteArray &data, int timeoutMs)
{
    QTimer timer;
    timer.setSingleShot(true);
    timer.setInterval(timeoutMs);
    QEventLoop loop;
    connect(&timer, &QTimer::timeout, &loop, [&loop] { loop.exit(1); });
    connect(this, &MorvexWindow::eod, &loop, [&loop] { loop.exit(0); });

    processQueue();
    if (!transmit(data))
        return false;
    timer.start();
    const int result = loop.exec();
    timer.stop();
    return result == 0;
}

void MorvexWindow::waitInput(int ms)
{
    QTimer timer;
    timer.setSingleShot(true);
    QEventLoop loop;
    connect(&timer, &QTimer::timeout, &loop, &QEventLoop::quit);
    // Connected after io_ready, so the new bytes are split when the loop ends.
    connect(&port, &QSerialPort::readyRead, &loop, &QEventLoop::quit);
    timer.start(ms);
    loop.exec();
}

void MorvexWindow::delayMs(int ms)
{
    QTimer timer;
    timer.setSingleShot(true);
    QEventLoop loop;
    connect(&timer, &QTimer::timeout, &loop, &QEventLoop::quit);
    timer.start(ms);
    loop.exec();
}

void MorvexWindow::io_error(QSerialPort::SerialPortError error)
{
    constexpr unsigned fatalMask = 0x3380; // Write, Read, Resource, Timeout, NotOpen
    if (error >= 14 || !(fatalMask & (1u << unsigned(error))))
        return;
    if (!reconnectOnLoss)
        logLine(tr("Fatal communication error"));
    io_disconnected();
}

void MorvexWindow::io_disconnected()
{
    logLine(tr("Connection closed"));
    closeLink();
    if (!reconnectOnLoss)
        return;
    logLine(tr("Reconnecting.... Please wait."));
    reconnectOnLoss = ui->actionAutomatic_Reconnect->isChecked();
    reconnectTimer.start();
}
