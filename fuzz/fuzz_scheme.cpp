// A style scheme document, read as the shared schemes read their resource:
// the bytes up to the first NUL, from UTF-8. A second load merges into the
// table of the first.
#include "fuzzsupport.h"

#include "boardtext.h"
#include "qsyntaxstyle.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString text = boardUtf8(fuzzBytes(data, size));
    QSyntaxStyle scheme;
    const bool loaded = scheme.load(text);
    FUZZ_CHECK(loaded == scheme.isLoaded());
    for (const char *name : {"Text", "Keyword", "CurrentLine", ""})
        scheme.formatFor(QString::fromLatin1(name));
    FUZZ_CHECK(scheme.load(text) == loaded);
    return 0;
}
