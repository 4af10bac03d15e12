// Sending device-side scripts to the raw REPL and running local scripts there.
#include "morvexwindow.h"

#include "boardtext.h"

#include <QFile>

QString MorvexWindow::scriptPath(const QString &key, const QString &stmDefault, const QString &espDefault) const
{
    const QString path = settings.value(key).toString();
    if (!path.isEmpty())
        return path;
    return mcType == MC_ESP32 ? espDefault : stmDefault;
}

bool MorvexWindow::readScriptForRawRepl(const QString &path, QByteArray &text)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        logLine(tr("Cannot open %1: %2").arg(path, file.errorString()));
        return false;
    }
    text = file.readAll();
    return enterRawRepl();
}

bool MorvexWindow::loadScript(const QString &path)
{
    QByteArray text;
    if (!readScriptForRawRepl(path, text))
        return false;
    // The end of this command answers: its acceptance, then its 0x04. The end of an
    // earlier command, or a re-prompt, that comes in late does not.
    const auto accepted = [ok = false](const QByteArray &item) mutable {
        ok = ok || item.contains("OK");
        return ok && endsRawCommand(item);
    };
    if (!exchange(text + CTRL_D, 5000, accepted)) {
        logLine(tr("Cannot upload script %1").arg(path));
        return false;
    }
    while (!rxQueue.isEmpty()) {
        const QByteArray piece = rxQueue.takeFirst();
        // Acceptance only: a script that raises while running still gives "OK".
        if (piece.contains("OK")) {
            settleBoard(false);
            return true;
        }
        logLine(QStringLiteral("&gt;&gt;") + boardUtf8(piece));
    }
    return false;
}

bool MorvexWindow::runScript(const QString &path)
{
    QByteArray text;
    if (!readScriptForRawRepl(path, text))
        return false;
    processQueue();
    // Still the raw REPL on the board; only the cutting changes, to whole lines.
    setState(MC_REPL);
    if (!transmit(text + CTRL_D)) {
        setState(MC_RAW);
        logLine(tr("Cannot upload script %1").arg(path));
        return false;
    }
    QByteArray last;
    while (port.isOpen()) {
        waitInput(50);
        while (!rxQueue.isEmpty()) {
            last = rxQueue.takeFirst();
            QByteArray shown = last;
            if (shown.startsWith("OK"))
                shown.remove(0, 2);
            logLine(QStringLiteral("&gt;&gt;") + boardLatin1(shown));
        }
        // The raw REPL's own end is 0x04 and '>', or its banner and '>' after the soft
        // reboot of an empty script; a '>' of the output that happens to end a read
        // is not, however the line cut the bytes.
        const bool ended = rxBuffer.endsWith("\x04>")
                           || (rxBuffer == RAW_PROMPT && last.endsWith("raw REPL; CTRL-B to exit"));
        if (last.endsWith('>') || ended) {
            rxBuffer.clear();
            break;
        }
    }
    logLine(tr("Script %1 executed").arg(path));
    setState(MC_RAW);
    return true;
}

bool MorvexWindow::debugEcho()
{
    if (!loadScript(QStringLiteral(":/data/debug.py")))
        return false;
    if (!transmit(QByteArrayLiteral("_debug()") + CTRL_D))
        return false;
    QByteArray pattern(32, '\0');
    for (int i = 1; i < 32; ++i)
        pattern[i] = char('0' + i);
    pattern[14] = '$'; // '0' + 14 would be the record terminator
    for (int step = 0; step < 90; ++step) {
        pattern[0] = step == 29 ? ' ' : char('!' + step);
        const auto echo = [](const QByteArray &item) { return item.contains("RX: ") || endsRawCommand(item); };
        if (!exchange(pattern, 1000, echo))
            return false;
        if (rxQueue.isEmpty()) {
            logLine(tr("No reply at %1 step").arg(step + 1));
            return false;
        }
        QByteArray piece = rxQueue.takeFirst();
        if (piece.startsWith("OK"))
            piece.remove(0, 2);
        if (!piece.startsWith("RX: ") || piece.mid(4) != pattern)
            return false;
    }
    return true;
}
