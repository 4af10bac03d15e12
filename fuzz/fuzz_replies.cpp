// Reply assembly: bytes in arbitrary pieces, each under a board state of its
// own, go through the window's splitting. Whatever arrives, apart from the
// terminators the state's rule consumes, must stand in the queue or the
// buffer in order of arrival, and eod fires as the state's rule says.
//
// Input: a sequence of steps. A step is a control byte c: the state is c & 3;
// n = c >> 2 bytes follow and arrive as one piece, or, when n is 0, a consumer
// takes the front piece of the queue.
#include "fuzzsupport.h"
#include "morvexwindowprobe.h"

namespace {

MorvexWindow &window()
{
    static MorvexWindow *instance = [] {
        fuzzApplication();
        // Lives until the process ends, as the program's window does.
        return new MorvexWindow;
    }();
    return *instance;
}

bool startsAt(const QByteArray &bytes, int at, const QByteArray &part)
{
    return at + part.size() <= bytes.size() && bytes.mid(at, part.size()) == part;
}

// The pieces queued by one split, and what is left in the buffer, must be the
// bytes it split in order, with whole terminators between and around them.
void checkSplit(const QByteArray &split, const QList<QByteArray> &queued, const QByteArray &left,
                const QByteArray &terminator)
{
    int at = 0;
    const auto skipTerminators = [&] {
        while (startsAt(split, at, terminator))
            at += terminator.size();
    };
    for (const QByteArray &piece : queued) {
        skipTerminators();
        FUZZ_CHECK(!piece.isEmpty());
        FUZZ_CHECK(!piece.contains(terminator));
        FUZZ_CHECK(startsAt(split, at, piece));
        at += piece.size();
    }
    skipTerminators();
    FUZZ_CHECK(split.mid(at) == left);
    FUZZ_CHECK(!left.contains(terminator));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    MorvexWindow &w = window();
    QByteArray &buffer = MorvexWindowProbe::rxBuffer(w);
    QList<QByteArray> &queue = MorvexWindowProbe::rxQueue(w);
    MorvexWindow::MC_STATE &state = MorvexWindowProbe::mcState(w);
    buffer.clear();
    queue.clear();

    int eods = 0;
    const QMetaObject::Connection counting = QObject::connect(&w, &MorvexWindow::eod, [&eods] { ++eods; });

    size_t at = 0;
    while (at < size) {
        const uint8_t control = data[at++];
        state = MorvexWindow::MC_STATE(control & 3);
        const size_t length = qMin<size_t>(control >> 2, size - at);
        if (length == 0) {
            if (!queue.isEmpty())
                queue.removeFirst();
            continue;
        }
        const QByteArray piece(reinterpret_cast<const char *>(data + at), int(length));
        at += length;

        const QByteArray &terminator = MorvexWindow::pieceTerminator(state);
        const QByteArray split = buffer + piece;
        const int before = queue.size();
        eods = 0;
        buffer.append(piece);
        w.splitReplies(terminator);

        const QList<QByteArray> queued = queue.mid(before);
        checkSplit(split, queued, buffer, terminator);
        int expected = 0;
        if (state == MorvexWindow::MC_RAW)
            expected = queued.size();
        else if (state == MorvexWindow::MC_REPL)
            expected = int(queued.count(MorvexWindow::PROMPT));
        FUZZ_CHECK(eods == expected);
        // A prompt standing alone after the last line end ends a friendly reply.
        if (state == MorvexWindow::MC_REPL)
            FUZZ_CHECK(buffer != MorvexWindow::PROMPT);
    }
    QObject::disconnect(counting);
    return 0;
}
