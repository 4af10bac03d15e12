// A language word list document, read from a device as the highlighters and
// completers read their resources.
#include "fuzzsupport.h"

#include "qlanguage.h"

#include <QBuffer>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    QByteArray bytes = fuzzBytes(data, size);
    QBuffer device(&bytes);
    device.open(QIODevice::ReadOnly);
    QLanguage language(&device);
    const QStringList sections = language.sectionNames();
    for (const QString &section : sections)
        FUZZ_CHECK(!language.wordsOf(section).isEmpty());
    FUZZ_CHECK(language.sectionNames() == sections);
    return 0;
}
