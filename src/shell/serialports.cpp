#include "serialports.h"

#include <QFileInfo>
#include <QSerialPortInfo>

QVector<SerialPortEntry> listSerialPorts()
{
    QVector<SerialPortEntry> ports;
    const auto infos = QSerialPortInfo::availablePorts();
    for (const QSerialPortInfo &info : infos)
        ports.append({info.portName(), info.serialNumber()});

    const QString extra = qEnvironmentVariable("MORVEX_EXTRA_PORTS");
    const QStringList entries = extra.split(QLatin1Char(':'), Qt::SkipEmptyParts);
    for (const QString &entry : entries) {
        // "path=SERIAL" gives the port a USB serial number, so reconnect can follow it.
        const int equals = entry.lastIndexOf(QLatin1Char('='));
        const QString path = equals < 0 ? entry : entry.left(equals);
        const QString serial = equals < 0 ? QString() : entry.mid(equals + 1);
        if (!path.isEmpty() && QFileInfo::exists(path))
            ports.append({path, serial});
    }
    return ports;
}
