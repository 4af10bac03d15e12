#pragma once

// Shared by the libFuzzer targets: the application object they need, and a
// check that stops the run with a message when an invariant breaks.

#include <QByteArray>

#include <cstddef>
#include <cstdint>

// A QApplication on the offscreen platform, with settings kept in a private
// temporary folder; made once per process.
void fuzzApplication();

// The input as a byte array without a copy; valid while the input is.
QByteArray fuzzBytes(const uint8_t *data, size_t size);

// Pieces of a friendly REPL reply as the link queues them: cut at each
// "\r\n", empty pieces dropped, the unended rest kept last.
QList<QByteArray> fuzzReplyPieces(const QByteArray &bytes);

[[noreturn]] void fuzzFailed(const char *check, const char *file, int line);

#define FUZZ_CHECK(condition)                                                                                  \
    do {                                                                                                         \
        if (!(condition))                                                                                        \
            fuzzFailed(#condition, __FILE__, __LINE__);                                                          \
    } while (false)
