#pragma once

#include <QString>
#include <QVector>

struct SerialPortEntry
{
    QString name;
    QString serialNumber;
};

// The one listing of serial ports: the system's ports, then every path named
// in MORVEX_EXTRA_PORTS (colon-separated) that exists now, with no serial.
QVector<SerialPortEntry> listSerialPorts();
