#pragma once

#include <QString>
#include <QVector>

// What the discovery knows of a port's hardware.
enum class PortKind {
    Usb,     // the port carries USB ids
    Serial,  // a system port without USB ids, with hardware as far as the kernel tells
    NoUart,  // a legacy port the kernel found no UART behind
    Extra,   // a path of MORVEX_EXTRA_PORTS without USB ids
};

struct SerialPortEntry
{
    QString name; // what the port is opened by: the system's port name, or the extra path
    QString path;
    QString description;
    QString manufacturer;
    quint16 vendorId = 0;
    quint16 productId = 0;
    bool hasIds = false;
    QString serialNumber;
    PortKind kind = PortKind::Serial;

    bool operator==(const SerialPortEntry &other) const;
    bool operator!=(const SerialPortEntry &other) const { return !(*this == other); }
};

// The one listing of serial ports: the system's ports, then every entry of
// MORVEX_EXTRA_PORTS whose path exists now, all in that order and unfiltered.
QVector<SerialPortEntry> listSerialPorts();

// The entries of a MORVEX_EXTRA_PORTS value, whether their paths exist or not.
// Entries are colon-separated: "path", "path=SERIAL" (the serial number is what
// follows the last '='), each optionally followed by "[VVVV:PPPP]" or
// "[VVVV:PPPP DESCRIPTION]" with hexadecimal USB ids. The colon inside that
// bracket does not separate entries, and since a serial number can't hold the
// separator, the bracket is never read as part of one.
QVector<SerialPortEntry> parseExtraPorts(const QString &value);

// The kind of a system port. Linux tells a legacy port's UART type under
// <classDir>/<name>/type, "0" where it found no UART behind the port.
PortKind systemPortKind(const QString &name, bool hasIds, const QString &classDir = QStringLiteral("/sys/class/tty"));
