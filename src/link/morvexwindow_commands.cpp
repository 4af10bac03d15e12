// Direct board commands: who the board is, launch, reset, DFU and abort.
#include "morvexwindow.h"

#include "boardtext.h"
#include "replconsole.h"
#include "ui_morvexwindow.h"

#include <QRegularExpression>

void MorvexWindow::queryInfo()
{
    if (!port.isOpen())
        return;
    settleBoard(false);
    reportBoard();
    setBoardActions(true);
    const bool esp = mcType == MC_ESP32;
    QString folder = settings.value(esp ? QStringLiteral("MC/ESPDir") : QStringLiteral("MC/STMDir")).toString();
    if (folder.isEmpty() || !boardDirExists(folder))
        folder = esp ? QStringLiteral("/") : QStringLiteral("/flash");
    changeBoardDir(folder);
}

QString MorvexWindow::boardCommand(const QString &key, const QString &builtIn) const
{
    // An empty value stands for the built-in command, as an absent one does.
    const QString command = settings.value(key).toString();
    return command.isEmpty() ? builtIn : command;
}

QHash<QString, QString> MorvexWindow::readUname()
{
    const QString command = boardCommand(QStringLiteral("PY/uname"), QStringLiteral("import os;print(os.uname())"));
    if (!exchange(command.toLatin1() + EOL, 5000))
        return {};
    return takeUname(rxQueue);
}

QHash<QString, QString> MorvexWindow::takeUname(QList<QByteArray> &queue)
{
    QHash<QString, QString> info;
    while (!queue.isEmpty()) {
        const QString text = boardLatin1(queue.takeFirst());
        if (!text.startsWith(QLatin1Char('(')))
            continue;
        static const QRegularExpression pair(QStringLiteral("(\\w+)\\=\\'([^\\']+)\\'"));
        int start = 0;
        for (;;) {
            const QRegularExpressionMatch match = pair.match(text, start);
            if (!match.hasMatch())
                break;
            info.insert(match.captured(1), match.captured(2));
            // Steps from the old start, not from behind the match; every match has a length.
            start += match.capturedLength();
        }
        return info;
    }
    return info;
}

void MorvexWindow::reportBoard()
{
    const QHash<QString, QString> info = readUname();
    if (info.isEmpty()) {
        logLine(tr("System information request failed"));
        return;
    }
    const QString na = QStringLiteral("na");
    logLine(tr("Connected to micropython board %1 (mod %2), release %3. Core %4 version %5")
                .arg(info.value(QStringLiteral("nodename"), QStringLiteral("invalid")),
                     info.value(QStringLiteral("mod"), QStringLiteral("unknown")),
                     info.value(QStringLiteral("release"), na),
                     info.value(QStringLiteral("machine"), na),
                     info.value(QStringLiteral("version"), na)));
}

QByteArray MorvexWindow::boardHash(const QString &path)
{
    if (!exchange(QStringLiteral("_hash('%1')").arg(path).toLatin1() + EOL, 10000))
        return QByteArray();
    while (!rxQueue.isEmpty()) {
        const QByteArray piece = rxQueue.takeFirst().trimmed();
        if (piece.startsWith("b'"))
            return piece.mid(2, piece.size() - 3);
    }
    return QByteArray();
}

void MorvexWindow::on_actionLaunch_triggered()
{
    if (!enterRepl())
        return;
    // A board whose USB port vanishes on reset is reconnected as a monitor.
    reconnectOnLoss = true;
    stopOnConnect = false;
    if (!transmit(LAUNCH_LINE))
        logLine(tr("Launch failed"));
    logLine(tr("Launching..."));
    processQueue();
    setState(MC_RUNNING);
}

bool MorvexWindow::refusesReset(const QByteArray &item)
{
    // Stock firmware's machine.reset takes no argument: it refuses at once and goes on running.
    return item.startsWith("TypeError: function takes 0 positional arguments but 1 were given");
}

void MorvexWindow::answerResetRefusal(quint64 mark)
{
    // Not a wait: the Reset action and the pause after the reset line run their own time,
    // and a board that resets never refuses. Looked at as each item comes, before any
    // settle can move it to the log; the first prompt behind the echo is the answer.
    auto *watch = new QObject(this);
    const auto end = [this, watch] {
        disconnect(&port, nullptr, watch, nullptr);
        disconnect(this, nullptr, watch, nullptr);
        watch->deleteLater();
    };
    connect(this, &MorvexWindow::stateChanged, watch, end);
    connect(&port, &QSerialPort::readyRead, watch, [this, end, seen = mark, echoed = false]() mutable {
        const int fresh = int(qMin<quint64>(m_itemsQueued - seen, quint64(rxQueue.size())));
        seen = m_itemsQueued;
        for (auto item = rxQueue.cend() - fresh; item != rxQueue.cend(); ++item) {
            if (refusesReset(*item)) {
                end();
                // From the event loop, not from inside readyRead, where a write that waits for input is not woken.
                QTimer::singleShot(0, this, [this] { transmit(LAUNCH_LINE); });
                return;
            }
            if (*item != PROMPT) {
                echoed = true;
            } else if (echoed) {
                end();
                return;
            }
        }
    });
}

void MorvexWindow::on_actionReset_triggered()
{
    if (!enterRepl())
        return;
    reconnectOnLoss = true;
    stopOnConnect = true;
    // A board whose port survives the reset is announced 200 ms later; a port that falls
    // stops the timer in closeLink, and the reconnect takes over.
    queryTimer.stop();
    queryTimer.start();
    const quint64 mark = replyMark();
    if (transmit(RESET_LINE)) {
        answerResetRefusal(mark);
    } else {
        queryTimer.stop();
        logLine(tr("Restart failed"));
    }
    setBoardActions(false);
    logLine(tr("Resetting..."));
    processQueue();
}

void MorvexWindow::on_actionDFU_triggered()
{
    if (!enterRepl())
        return;
    reconnectOnLoss = false;
    if (!transmit(QByteArrayLiteral("import machine; machine.dfu()\r\n")))
        logLine(tr("DFU failed or not supported"));
    // Signals stay connected: io_disconnected reports and takes the link down.
    port.close();
}

void MorvexWindow::on_actionAbort_triggered()
{
    if (replConsole && replConsole->interruptStatement())
        return;
    bool success = false;
    switch (mcState) {
    case MC_UNKNOWN:
    case MC_RUNNING:
        success = stopBoard(true) == MC_STOPPED;
        break;
    case MC_REPL:
    case MC_RAW:
        success = exchange(QByteArrayLiteral("\x03"), 1000);
        break;
    }
    if (success) {
        logLine(tr("Stopped"));
        queryInfo();
    } else {
        logLine(tr("Abort failed"));
    }
}
