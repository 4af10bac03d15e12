// What the REPL console types and reads: the source rules over the typed text,
// the reading of the board's answer and the terminal text of what it shows.
// The input is a kind byte (statement, paste, completion, reboot; its high
// bits the read size), the typed text up to the first line end, then the
// board's bytes. Besides memory faults and hangs: what is shown is a part of
// what the board sent, and what is typed at the prompt is printable ASCII.
#include "fuzzsupport.h"

#include "ansitext.h"
#include "replexchange.h"
#include "replsource.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray input = fuzzBytes(data, size);
    if (input.isEmpty())
        return 0;
    const int kind = quint8(input.at(0)) & 3;
    const int step = 1 + (quint8(input.at(0)) >> 2);
    const int end = input.indexOf('\n', 1);
    const QString typed = QString::fromUtf8(input.mid(1, end < 0 ? -1 : end - 1));
    const QByteArray stream = end < 0 ? QByteArray() : input.mid(end + 1);

    ReplSource::needsMoreInput(typed);
    const QByteArray line = ReplSource::friendlyLine(typed);
    for (const char c : line)
        FUZZ_CHECK(c >= 0x20 && c <= 0x7e);
    const QByteArray paste = ReplSource::pasteBlock(typed);
    FUZZ_CHECK(paste.startsWith('\x05') && paste.endsWith('\x04'));
    const QByteArray stem = ReplSource::completionStem(typed);
    for (const char c : stem)
        FUZZ_CHECK(c >= 0x20 && c <= 0x7e);

    ReplExchange exchange = kind == 0   ? ReplExchange::statement(line + "\r\n")
                            : kind == 1 ? ReplExchange::statement(ReplSource::pasteEcho(typed))
                            : kind == 2 ? ReplExchange::completion(stem)
                                        : ReplExchange::reboot();
    QByteArray shown;
    for (int i = 0; i < stream.size(); i += step)
        shown += exchange.feed(stream.mid(i, step));
    FUZZ_CHECK(stream.contains(shown));
    if (kind == 2)
        FUZZ_CHECK(shown.isEmpty());

    AnsiText text;
    for (const AnsiText::Run &run : text.feed(stream)) {
        for (const QChar c : run.text)
            FUZZ_CHECK(c == QLatin1Char('\t') || (c.unicode() >= 0x20 && c.unicode() != 0x7f && c.unicode() != 0x1b));
    }
    return 0;
}
