#pragma once

#include <QString>
#include <QVector>

struct SerialPortEntry
{
    QString name;
    QString serialNumber;
};

// The one listing of serial ports: the system's ports, then every path named
// in MORVEX_EXTRA_PORTS (colon-separated) that exists now. An entry
// "path=SERIAL" carries a serial number; a plain path has none.
QVector<SerialPortEntry> listSerialPorts();
