#include "portchoice.h"

#include <algorithm>

namespace {
struct KnownId
{
    quint16 vendorId;
    int productId; // -1: any product of the vendor
    BoardFamily family;
};

const KnownId knownIds[] = {
    {0x0483, 0x5740, BoardFamily::Stm32}, // STM32 virtual COM port
    {0xf055, 0x9800, BoardFamily::Stm32}, // pyboard
    {0x303a, -1, BoardFamily::Esp32},     // Espressif native USB
    {0x10c4, 0xea60, BoardFamily::Esp32}, // CP210x
    {0x1a86, 0x7523, BoardFamily::Esp32}, // CH340
    {0x1a86, 0x55d4, BoardFamily::Esp32}, // CH9102
    {0x0403, 0x6001, BoardFamily::Esp32}, // FTDI FT232R
    {0x0403, 0x6010, BoardFamily::Esp32}, // FTDI FT2232
    {0x0403, 0x6014, BoardFamily::Esp32}, // FTDI FT232H
    {0x0403, 0x6015, BoardFamily::Esp32}, // FTDI FT-X
};

int group(const SerialPortEntry &port)
{
    if (boardFamilyOf(port) != BoardFamily::None)
        return 0;
    return port.hasIds ? 1 : 2;
}
} // namespace

BoardFamily boardFamilyOf(const SerialPortEntry &port)
{
    if (!port.hasIds)
        return BoardFamily::None;
    for (const KnownId &known : knownIds) {
        if (known.vendorId == port.vendorId && (known.productId < 0 || known.productId == port.productId))
            return known.family;
    }
    return BoardFamily::None;
}

QVector<SerialPortEntry> offeredPorts(const QVector<SerialPortEntry> &ports)
{
    QVector<SerialPortEntry> offered;
    std::copy_if(ports.cbegin(), ports.cend(), std::back_inserter(offered),
                 [](const SerialPortEntry &port) { return port.kind != PortKind::NoUart; });
    std::stable_sort(offered.begin(), offered.end(),
                     [](const SerialPortEntry &a, const SerialPortEntry &b) { return group(a) < group(b); });
    return offered;
}

PortPreselection preselectPort(const QVector<SerialPortEntry> &offered, const QString &rememberedPort)
{
    PortPreselection choice;
    for (int i = 0; i < offered.size(); ++i) {
        if (offered.at(i).name == rememberedPort) {
            choice.index = i;
            return choice;
        }
    }
    for (int i = 0; i < offered.size(); ++i) {
        const BoardFamily family = boardFamilyOf(offered.at(i));
        if (family != BoardFamily::None) {
            choice.index = i;
            choice.family = family;
            return choice;
        }
    }
    if (!offered.isEmpty())
        choice.index = 0;
    return choice;
}

PortPreselection reselectPort(const QVector<SerialPortEntry> &before, const QVector<SerialPortEntry> &after,
                              const QString &currentPort, bool chosenByHand, const QString &rememberedPort)
{
    const auto wasThere = [&before](const SerialPortEntry &port) {
        return std::any_of(before.cbegin(), before.cend(), [&port](const SerialPortEntry &old) { return old.name == port.name; });
    };
    PortPreselection choice;
    for (int i = 0; i < after.size() && !chosenByHand; ++i) {
        const BoardFamily family = boardFamilyOf(after.at(i));
        if (family != BoardFamily::None && !wasThere(after.at(i))) {
            choice.index = i;
            choice.family = family;
            return choice;
        }
    }
    for (int i = 0; i < after.size(); ++i) {
        if (after.at(i).name == currentPort) {
            choice.index = i;
            return choice;
        }
    }
    return preselectPort(after, rememberedPort);
}
