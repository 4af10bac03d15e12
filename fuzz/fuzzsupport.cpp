#include "fuzzsupport.h"

#include "testsupport.h"

#include <QApplication>
#include <QList>

#include <cstdio>
#include <cstdlib>

void fuzzApplication()
{
    if (QCoreApplication::instance())
        return;
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_LOGGING_RULES", "qt.qpa.*=false");
    // libFuzzer's own arguments are not for Qt.
    static int argc = 1;
    static char name[] = "morvex-fuzz";
    static char *argv[] = {name, nullptr};
    // Never torn down: the fuzzers end by exit() inside a run.
    new QApplication(argc, argv);
    static SettingsSandbox sandbox;
}

QByteArray fuzzBytes(const uint8_t *data, size_t size)
{
    return QByteArray::fromRawData(reinterpret_cast<const char *>(data), int(size));
}

QList<QByteArray> fuzzReplyPieces(const QByteArray &bytes)
{
    QList<QByteArray> pieces;
    int from = 0;
    while (from < bytes.size()) {
        int end = bytes.indexOf("\r\n", from);
        if (end < 0)
            end = bytes.size();
        if (end > from)
            pieces.append(bytes.mid(from, end - from));
        from = end + 2;
    }
    return pieces;
}

void fuzzFailed(const char *check, const char *file, int line)
{
    std::fprintf(stderr, "FUZZ_CHECK failed: %s at %s:%d\n", check, file, line);
    std::abort();
}
