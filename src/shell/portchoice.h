#pragma once

#include "serialports.h"

// Ordering, filtering and preselection of the ports the connection popup
// offers; pure functions over the records of listSerialPorts.

// The board family a port's USB ids point to; its value is the index of the
// family combo (and the board type).
enum class BoardFamily { None = -1, Stm32 = 0, Esp32 = 1 };

BoardFamily boardFamilyOf(const SerialPortEntry &port);

// Known boards and bridges first, then other USB ports, then the rest, each
// group in the order given; legacy ports without a UART are left out.
QVector<SerialPortEntry> offeredPorts(const QVector<SerialPortEntry> &ports);

struct PortPreselection
{
    int index = -1;                         // into the offered ports; -1 with none
    BoardFamily family = BoardFamily::None; // None: keep the remembered family
};

// The remembered port when offered, with the remembered family; otherwise the
// first known board with the family of its ids; otherwise the first port.
PortPreselection preselectPort(const QVector<SerialPortEntry> &offered, const QString &rememberedPort);

// The choice after the list changed under an open popup: a board that has
// just appeared is taken unless a port was chosen by hand; otherwise the
// current port stays while it is offered; otherwise as preselectPort.
PortPreselection reselectPort(const QVector<SerialPortEntry> &before, const QVector<SerialPortEntry> &after,
                              const QString &currentPort, bool chosenByHand, const QString &rememberedPort);
