// The extra-ports list as a user writes it in the environment. Every entry
// read must be one the syntax can give: a path, a serial number without '=',
// USB ids only with a bracket, and nothing read from beyond the input.
#include "fuzzsupport.h"

#include "serialports.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString value = QString::fromUtf8(fuzzBytes(data, size));
    const QVector<SerialPortEntry> ports = parseExtraPorts(value);

    FUZZ_CHECK(ports.size() <= value.count(QLatin1Char(':')) + 1);
    for (const SerialPortEntry &port : ports) {
        FUZZ_CHECK(!port.path.isEmpty() && port.name == port.path && value.contains(port.path));
        FUZZ_CHECK(!port.serialNumber.contains(QLatin1Char('=')) && value.contains(port.serialNumber));
        FUZZ_CHECK((port.kind == PortKind::Usb) == port.hasIds && (port.hasIds || port.kind == PortKind::Extra));
        FUZZ_CHECK(port.hasIds || port.description.isEmpty());
        FUZZ_CHECK(!port.description.contains(QLatin1Char(']')));
        // A colon is kept only inside the bracket of ids, which never reaches the path or serial.
        FUZZ_CHECK(!port.path.contains(QLatin1Char(':')) && !port.serialNumber.contains(QLatin1Char(':')));
    }
    return 0;
}
