// The desktop's settings database, read at every start for the colour scheme.
// Whatever the file holds, the value found is a run of its own bytes.
#include "fuzzsupport.h"

#include "theme_p.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray db = fuzzBytes(data, size);
    for (const QByteArray &key : {QByteArrayLiteral("/org/gnome/desktop/interface/color-scheme"),
                                  QByteArrayLiteral("/a")}) {
        const QByteArray value = dconfStringValue(db, key);
        FUZZ_CHECK(value.isEmpty() || (value.size() < db.size() && db.contains(value)));
    }
    return 0;
}
