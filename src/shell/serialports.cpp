#include "serialports.h"

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSerialPortInfo>

namespace {
// USB ids and an optional description closing an entry of the extra ports.
const QString usbBracket = QStringLiteral(R"(\[([0-9A-Fa-f]{4}):([0-9A-Fa-f]{4})(?: ([^\]]*))?\])");

SerialPortEntry systemEntry(const QSerialPortInfo &info)
{
    SerialPortEntry entry;
    entry.name = info.portName();
    entry.path = info.systemLocation();
    entry.description = info.description();
    entry.manufacturer = info.manufacturer();
    entry.hasIds = info.hasVendorIdentifier() && info.hasProductIdentifier();
    if (entry.hasIds) {
        entry.vendorId = info.vendorIdentifier();
        entry.productId = info.productIdentifier();
    }
    entry.serialNumber = info.serialNumber();
    entry.kind = systemPortKind(entry.name, entry.hasIds);
    return entry;
}

QStringList splitExtraPorts(const QString &value)
{
    static const QRegularExpression closingBracket(usbBracket + QStringLiteral("(?=:|$)"));
    QStringList entries;
    QString entry;
    for (int i = 0; i < value.size();) {
        const QRegularExpressionMatch bracket =
            value.at(i) == QLatin1Char('[')
                ? closingBracket.match(value, i, QRegularExpression::NormalMatch, QRegularExpression::AnchoredMatchOption)
                : QRegularExpressionMatch();
        if (bracket.hasMatch()) {
            entry += bracket.captured();
            i = bracket.capturedEnd();
        } else if (value.at(i) == QLatin1Char(':')) {
            entries << entry;
            entry.clear();
            ++i;
        } else {
            entry += value.at(i++);
        }
    }
    entries << entry;
    return entries;
}
} // namespace

bool SerialPortEntry::operator==(const SerialPortEntry &other) const
{
    return name == other.name && path == other.path && description == other.description
           && manufacturer == other.manufacturer && vendorId == other.vendorId && productId == other.productId
           && hasIds == other.hasIds && serialNumber == other.serialNumber && kind == other.kind;
}

QVector<SerialPortEntry> listSerialPorts()
{
    QVector<SerialPortEntry> ports;
    const auto infos = QSerialPortInfo::availablePorts();
    for (const QSerialPortInfo &info : infos)
        ports.append(systemEntry(info));
    const QVector<SerialPortEntry> extra = parseExtraPorts(qEnvironmentVariable("MORVEX_EXTRA_PORTS"));
    for (const SerialPortEntry &entry : extra) {
        if (QFileInfo::exists(entry.path))
            ports.append(entry);
    }
    return ports;
}

QVector<SerialPortEntry> parseExtraPorts(const QString &value)
{
    static const QRegularExpression trailingBracket(usbBracket + QLatin1Char('$'));
    QVector<SerialPortEntry> ports;
    const QStringList entries = splitExtraPorts(value);
    for (QString text : entries) {
        SerialPortEntry entry;
        entry.kind = PortKind::Extra;
        const QRegularExpressionMatch bracket = trailingBracket.match(text);
        if (bracket.hasMatch()) {
            entry.vendorId = bracket.captured(1).toUShort(nullptr, 16);
            entry.productId = bracket.captured(2).toUShort(nullptr, 16);
            entry.hasIds = true;
            entry.kind = PortKind::Usb;
            entry.description = bracket.captured(3).trimmed();
            text.truncate(bracket.capturedStart());
        }
        // "path=SERIAL" gives the port a USB serial number, so reconnect can follow it.
        const int equals = text.lastIndexOf(QLatin1Char('='));
        entry.path = equals < 0 ? text : text.left(equals);
        entry.serialNumber = equals < 0 ? QString() : text.mid(equals + 1);
        entry.name = entry.path;
        if (!entry.path.isEmpty())
            ports.append(entry);
    }
    return ports;
}

PortKind systemPortKind(const QString &name, bool hasIds, const QString &classDir)
{
    if (hasIds)
        return PortKind::Usb;
    QFile type(classDir + QLatin1Char('/') + name + QStringLiteral("/type"));
    if (type.open(QIODevice::ReadOnly) && type.readAll().trimmed() == "0")
        return PortKind::NoUart;
    return PortKind::Serial;
}
