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
    const QStringList paths = extra.split(QLatin1Char(':'), Qt::SkipEmptyParts);
    for (const QString &path : paths) {
        if (QFileInfo::exists(path))
            ports.append({path, QString()});
    }
    return ports;
}
