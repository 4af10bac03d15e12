// The board description: a friendly REPL reply as the queue holds it after
// the uname command. What is read must be well formed, and only the pieces
// up to the uname line are taken.
#include "fuzzsupport.h"

#include "morvexwindow.h"

#include <QRegularExpression>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QList<QByteArray> reply = fuzzReplyPieces(fuzzBytes(data, size));
    QList<QByteArray> queue = reply;
    const QHash<QString, QString> info = MorvexWindow::takeUname(queue);

    FUZZ_CHECK(reply.mid(reply.size() - queue.size()) == queue);
    static const QRegularExpression key(QRegularExpression::anchoredPattern(QStringLiteral("\\w+")));
    for (auto it = info.cbegin(); it != info.cend(); ++it) {
        FUZZ_CHECK(key.match(it.key()).hasMatch());
        FUZZ_CHECK(!it.value().isEmpty() && !it.value().contains(QLatin1Char('\'')));
    }
    return 0;
}
