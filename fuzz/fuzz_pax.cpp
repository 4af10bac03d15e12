// The records of a zfw package's pax global header, as uploadZfw hands them
// over: the member's bytes, whatever their length says.
#include "fuzzsupport.h"

#include "morvexwindow.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QHash<QString, QString> records = MorvexWindow::parsePaxRecords(fuzzBytes(data, size));
    for (auto it = records.cbegin(); it != records.cend(); ++it)
        FUZZ_CHECK(!it.key().isEmpty() && !it.key().contains(QLatin1Char('=')));
    return 0;
}
