// The serial byte layer: reply assembly, the reply queue, writing and waiting.
#include "morvexwindow.h"

#include "boardtext.h"
#include "plotview.h"
#include "replconsole.h"
#include "ui_morvexwindow.h"

#include <QEventLoop>

namespace {
// Counts a wait on the board for as long as it runs.
class LinkWait
{
public:
    explicit LinkWait(int &waits)
        : m_waits(waits)
    {
        ++m_waits;
    }
    ~LinkWait() { --m_waits; }

private:
    int &m_waits;
};
} // namespace

void MorvexWindow::io_ready()
{
    if (!port.isOpen())
        return;
    const QByteArray data = port.readAll();
    if (replConsole && replConsole->boardOutput(data))
        return;
    rxBuffer.append(data);
    splitReplies(pieceTerminator(mcState));
    // What the board prints by itself is shown at once; replies wait for their taker.
    if (mcState == MC_UNKNOWN || mcState == MC_RUNNING)
        processQueue();
}

const QByteArray &MorvexWindow::pieceTerminator(MC_STATE state)
{
    return state == MC_RAW ? RAW_PROMPT : EOL;
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
            ++m_itemsQueued;
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
        ++m_itemsQueued;
        rxBuffer.clear();
        emit eod();
    }
}

void MorvexWindow::processQueue()
{
    while (!rxQueue.isEmpty()) {
        const QByteArray piece = rxQueue.takeFirst();
        if (mcState == MC_UNKNOWN || mcState == MC_RUNNING) {
            const QString text = boardUtf8(piece);
            termLine(text);
            plotView->addLine(text);
        } else if (piece != PROMPT) {
            logLine(boardUtf8(piece));
        }
    }
}

QByteArray MorvexWindow::takeReplyStartingWith(QList<QByteArray> &queue, char lead)
{
    while (!queue.isEmpty()) {
        const QByteArray piece = queue.takeFirst();
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
    return exchange(data, timeoutMs, defaultAnswer(data));
}

bool MorvexWindow::exchange(const QByteArray &data, int timeoutMs, const ReplyTest &answers)
{
    processQueue();
    // Replies may begin while a long text is still going out.
    const quint64 mark = replyMark();
    if (!transmit(data))
        return false;
    return awaitReply(mark, answers, timeoutMs);
}

bool MorvexWindow::awaitReply(quint64 mark, const ReplyTest &answers, int limitMs, Deadline deadline)
{
    quint64 seen = mark;
    // Items taken from the queue by a nested operation are gone unseen; the rest
    // stand at its end, in the order of arrival.
    auto answered = [&] {
        const quint64 fresh = m_itemsQueued - seen;
        seen = m_itemsQueued;
        const int count = int(qMin<quint64>(fresh, quint64(rxQueue.size())));
        bool found = false;
        for (int i = rxQueue.size() - count; i < rxQueue.size() && !found; ++i)
            found = answers(rxQueue.at(i));
        return found;
    };
    if (answered())
        return true;

    const LinkWait counted(m_linkWaits);
    QTimer timer;
    timer.setSingleShot(true);
    timer.setInterval(limitMs);
    QEventLoop loop;
    connect(&timer, &QTimer::timeout, &loop, [&loop] { loop.exit(1); });
    bool done = false;
    auto look = [&] {
        // An answered wait stays answered: a slot running in a nested loop (an
        // abort, say) may take longer than the limit before this loop returns.
        if (!done && answered()) {
            done = true;
            timer.stop();
            loop.exit(0);
        }
    };
    // Both come after io_ready has split what arrived.
    connect(this, &MorvexWindow::eod, &loop, look);
    connect(&port, &QSerialPort::readyRead, &loop, [&] {
        if (deadline == Deadline::FromLastByte && !done)
            timer.start();
        look();
    });
    timer.start();
    const int result = loop.exec();
    timer.stop();
    return result == 0;
}

MorvexWindow::ReplyTest MorvexWindow::defaultAnswer(const QByteArray &data) const
{
    if (mcState == MC_RAW)
        return [](const QByteArray &) { return true; };
    if (mcState != MC_REPL)
        return [](const QByteArray &) { return false; };

    // The friendly REPL prompts after each Enter, each pasted block and each control key.
    int prompts = 0;
    bool typed = false;
    bool pasting = false;
    for (int i = 0; i < data.size(); ++i) {
        const char c = data.at(i);
        if (pasting) {
            if (c == '\x04') {
                pasting = false;
                ++prompts;
            }
            continue;
        }
        if (c == '\r' || (c == '\n' && (i == 0 || data.at(i - 1) != '\r')))
            ++prompts;
        else if (c == '\x05')
            pasting = typed = true;
        else if (c != '\n' && c != '\x02' && c != '\x03')
            typed = true;
    }
    // Control keys alone: how many prompts follow depends on what the board was
    // doing, so the first ends the wait and a settle takes the rest.
    if (!typed)
        return [](const QByteArray &item) { return item == PROMPT; };
    // A typed command is echoed before anything it causes: prompts ahead of the
    // echo are left over from the command before.
    return [prompts, echoed = false, counted = 0](const QByteArray &item) mutable {
        if (item != PROMPT) {
            echoed = true;
            return false;
        }
        return echoed && ++counted >= prompts;
    };
}

bool MorvexWindow::endsRawCommand(const QByteArray &item)
{
    return item.endsWith('\x04') || item.contains("MPY: soft reboot");
}

void MorvexWindow::waitInput(int ms)
{
    const LinkWait counted(m_linkWaits);
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
    const LinkWait counted(m_linkWaits);
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
