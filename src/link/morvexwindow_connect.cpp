// The link's state machine: connecting, settling, and moving between REPL modes.
#include "morvexwindow.h"

#include "connectionpopup.h"
#include "qmaterialicon.h"
#include "replconsole.h"
#include "ui_morvexwindow.h"

#include <QEventLoop>
#include <QTemporaryFile>
#include <QToolBar>

void MorvexWindow::setState(MorvexWindow::MC_STATE to)
{
    if (to == mcState)
        return;
    if (mcState == MC_RUNNING)
        termLine(QStringLiteral("<font color=red>") + tr("Execution aborted") + QStringLiteral("</font>"));
    mcState = to;
    if (to == MC_REPL || to == MC_RAW) {
        ui->fileSystemGroup->setEnabled(true);
        ui->logTabWidget->setCurrentIndex(1);
    } else {
        ui->logTabWidget->setCurrentIndex(0);
        ui->fileSystemGroup->setEnabled(false);
    }
    emit stateChanged(to);
}

void MorvexWindow::settleBoard(bool afterReset)
{
    if (afterReset) {
        logLine(tr("MC initialization..."));
        delayMs(mcType == MC_ESP32 ? 1500 : 500);
    } else {
        waitInput(100);
    }
    // A turn ends at the next whole piece, or when the board has been quiet for 200 ms:
    // bytes trickling in through a slow line are not silence. Where io_ready shows
    // every line at once, one turn is the whole settle.
    const bool replies = mcState == MC_REPL || mcState == MC_RAW;
    for (;;) {
        processQueue();
        awaitReply(replyMark(), [](const QByteArray &) { return true; }, 200,
                   replies ? Deadline::FromLastByte : Deadline::FromStart);
        io_ready();
        if (rxQueue.isEmpty() || !port.isOpen())
            break;
    }
}

bool MorvexWindow::enterRepl()
{
    if (replConsole)
        replConsole->yieldLink();
    const MC_STATE old = mcState;
    if (old == MC_REPL)
        return true;
    if (old != MC_UNKNOWN && old != MC_RUNNING && old != MC_RAW) {
        logLine(tr("REPL init failed"));
        return false;
    }
    setState(MC_REPL);
    // Ctrl-B leaves a raw REPL if there is one; Ctrl-C interrupts a running program.
    const QByteArray bytes = old == MC_RAW ? QByteArrayLiteral("\x02") : QByteArrayLiteral("\x02\x03");
    if (exchange(bytes, 5000)) {
        if (old != MC_RAW)
            settleBoard(false);
        logLine(tr("REPL initialized"));
        return true;
    }
    settleBoard(false);
    setState(old);
    return false;
}

bool MorvexWindow::enterRawRepl()
{
    if (replConsole)
        replConsole->yieldLink();
    MC_STATE old = mcState;
    if (old == MC_UNKNOWN || old == MC_RUNNING) {
        if (!enterRepl())
            return false;
        old = mcState;
    }
    if (old == MC_RAW)
        return true;
    setState(MC_RAW);
    // The banner answers; a record left over from before does not.
    const auto banner = [](const QByteArray &item) { return item.contains("raw REPL; CTRL-B to exit"); };
    if (!exchange(QByteArrayLiteral("\x01"), 5000, banner)) {
        settleBoard(false);
        setState(old);
        return false;
    }
    logLine(QStringLiteral("RAW REPL initialized"));
    return true;
}

MorvexWindow::MC_RES MorvexWindow::stopBoard(bool noReset)
{
    if (mcState == MC_RUNNING && !enterRepl())
        return MC_FAILED;
    if (mcState == MC_UNKNOWN && !enterRepl()) {
        // Perhaps it sits in its raw REPL: then Ctrl-B alone brings the prompt.
        setState(MC_RAW);
        if (!enterRepl()) {
            setState(MC_UNKNOWN);
            return MC_FAILED;
        }
    }
    if (!noReset && ui->actionReset_MC->isChecked()) {
        ui->actionReset_MC->setChecked(false);
        // A port that vanishes with the reset is brought back and taken over again.
        reconnectOnLoss = true;
        stopOnConnect = true;
        const quint64 mark = replyMark();
        if (!transmit(RESET_LINE))
            return MC_FAILED;
        answerResetRefusal(mark);
        delayMs(100);
        if (!port.isOpen())
            return MC_DEFERRED;
        settleBoard(true);
        return MC_STOPPED;
    }
    settleBoard(false);
    return MC_STOPPED;
}

void MorvexWindow::on_actionConnect_triggered()
{
    if (port.isOpen()) {
        closeLink();
        return;
    }
    QEventLoop loop;
    ConnectionPopup popup;
    connect(&popup, &ConnectionPopup::done, &loop, [&loop] { loop.exit(0); });
    popup.load();
    popup.move(ui->a_connectionToolBar->mapToGlobal(QPoint(0, ui->a_connectionToolBar->height())));
    popup.setWindowModality(Qt::ApplicationModal);
    popup.show();
    loop.exec();

    if (!popup.accepted())
        return;
    popup.save();
    if (popup.portName().isEmpty())
        return;
    popup.configure(port, portSerial);
    mcType = popup.boardType() == MC_ESP32 ? MC_ESP32 : MC_STM32;
    reconnectAttempts = 0;
    reconnectTimer.setInterval(400);
    reconnectOnLoss = ui->actionAutomatic_Reconnect->isChecked();
    stopOnConnect = !ui->actionMonitor_Only->isChecked();
    openPort();
}

bool MorvexWindow::openPort()
{
    // Nothing of this attempt may reach io_error or io_disconnected.
    port.blockSignals(true);
    port.clearError();
    const bool opened = port.open(QIODevice::ReadWrite);
    if (opened) {
        port.clearError();
        port.blockSignals(false);
        setState(MC_UNKNOWN);
        ui->b_actionsToolBar->setEnabled(true);
        portName = port.portName();
        setConnectIcon(true);
        logLine(tr("Connected to %1").arg(portName));
        QMetaObject::invokeMethod(this, &MorvexWindow::postConnect, Qt::QueuedConnection);
        return true;
    }
    port.blockSignals(false);
    const QString message = tr("Cannot connect to %1: %2").arg(port.portName(), port.errorString());
    termLine(message);
    logLine(message);
    hintPortAccess();
    return false;
}

void MorvexWindow::closeLink()
{
    queryTimer.stop();
    port.blockSignals(true);
    port.clearError();
    port.close();
    port.blockSignals(false);
    if (editTemp) {
        editTemp->close();
        editTemp->deleteLater();
        editTemp = nullptr;
    }
    ui->b_actionsToolBar->setEnabled(false);
    setConnectIcon(false);
    mcModel.clear();
    setState(MC_UNKNOWN);
}

void MorvexWindow::postConnect()
{
    if (!stopOnConnect) {
        setState(MC_UNKNOWN);
        termLine(tr("Opened connection to %1").arg(portName));
        return;
    }
    switch (stopBoard(false)) {
    case MC_STOPPED:
        queryTimer.stop();
        queryTimer.start();
        break;
    case MC_DEFERRED:
        logLine(tr("Connection deferred..."));
        break;
    case MC_FAILED:
        logLine(tr("Connection failed - MC is not responding"));
        break;
    }
}
