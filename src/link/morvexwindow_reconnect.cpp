// Bringing a lost link back, and closing the window while work is under way.
#include "morvexwindow.h"

#include "serialports.h"
#include "ui_morvexwindow.h"

#include <QCloseEvent>
#include <QMessageBox>
#include <QTemporaryFile>

void MorvexWindow::on_actionAutomatic_Reconnect_toggled(bool on)
{
    if (port.isOpen())
        reconnectOnLoss = on;
}

void MorvexWindow::tryReconnect()
{
    const QVector<SerialPortEntry> ports = listSerialPorts();
    const SerialPortEntry *match = nullptr;
    for (const SerialPortEntry &entry : ports) {
        // A serial number lets the link follow a board to another port name.
        const bool same = portSerial.isEmpty() ? entry.name == portName : entry.serialNumber == portSerial;
        if (same) {
            match = &entry;
            break;
        }
    }
    logLine(tr("Reconnect attempt %1 of 10").arg(reconnectAttempts + 1));
    if (match) {
        logLine(tr("Reconnecting to %1").arg(match->name));
        port.setPortName(match->name);
        if (openPort()) {
            reconnectAttempts = 0;
            reconnectTimer.setInterval(400);
            return;
        }
        reconnectTimer.setInterval(reconnectTimer.interval() + reconnectAttempts * 100);
    }
    ++reconnectAttempts;
    if (reconnectAttempts <= 9)
        reconnectTimer.start();
    else
        logLine(tr("Reconnection attempts exhausted"));
}

void MorvexWindow::closeEvent(QCloseEvent *event)
{
    if (port.isOpen() && (zpackArchive || editTemp)) {
        const auto answer = QMessageBox::question(this, tr("Exit"),
                                                  tr("An MC operation is in progress. Abort and quit?"),
                                                  QMessageBox::Yes | QMessageBox::No);
        if (answer != QMessageBox::Yes) {
            event->ignore();
            return;
        }
    }
    settings.setValue(QStringLiteral("UI/Win"), saveState());
    settings.setValue(QStringLiteral("UI/Geometry"), saveGeometry());
    QMainWindow::closeEvent(event);
}
