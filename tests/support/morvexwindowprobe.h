#pragma once

#include "morvexwindow.h"

// Test access to the link fields of MorvexWindow (it is the class's friend).
struct MorvexWindowProbe
{
    static QList<QByteArray> &rxQueue(MorvexWindow &w) { return w.rxQueue; }
    static QByteArray &rxBuffer(MorvexWindow &w) { return w.rxBuffer; }
    static QSerialPort &port(MorvexWindow &w) { return w.port; }
    static QString &portName(MorvexWindow &w) { return w.portName; }
    static MorvexWindow::MC_STATE &mcState(MorvexWindow &w) { return w.mcState; }
    static QTimer &reconnectTimer(MorvexWindow &w) { return w.reconnectTimer; }
    static QTimer &queryTimer(MorvexWindow &w) { return w.queryTimer; }
    static MCDirModel &mcModel(MorvexWindow &w) { return w.mcModel; }
    static QFileSystemModel &pcModel(MorvexWindow &w) { return w.pcModel; }
    static QuaZip *&zpackArchive(MorvexWindow &w) { return w.zpackArchive; }
    static TarArchive *&zfwArchive(MorvexWindow &w) { return w.zfwArchive; }
};
