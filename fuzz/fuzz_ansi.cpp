// The ANSI colour filter of the two views, over board text as processQueue
// decodes it. Besides memory faults and hangs: the filter only replaces
// colour sequences by font tags, so every character that can belong to
// neither stands in the result as often and in the same order as before.
#include "fuzzsupport.h"

#include "boardtext.h"
#include "morvexwindow.h"

namespace {

// Drops what a colour sequence or a font tag may be made of.
QString otherText(const QString &text)
{
    static const QString made = QStringLiteral("\x1b[;m0123456789</>= fontclredgywbuahik");
    QString rest;
    for (const QChar c : text) {
        if (!made.contains(c))
            rest += c;
    }
    return rest;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString text = boardUtf8(fuzzBytes(data, size));
    QString html = text;
    const QString &result = MorvexWindow::ansiToHtml(html);
    FUZZ_CHECK(&result == &html);
    FUZZ_CHECK(html.count(QLatin1Char('\x1b')) <= text.count(QLatin1Char('\x1b')));
    FUZZ_CHECK(otherText(html) == otherText(text));
    return 0;
}
