// The packets of the board's upload functions.
#include "uploadpackets.h"

#include "morvexwindow.h"

namespace UploadPackets {

QByteArray numbered(char lead, quint32 value)
{
    return lead + QByteArray::number(value).rightJustified(10, '0');
}

quint32 sum(const QByteArray &encoded)
{
    quint32 total = 0;
    for (const char byte : encoded)
        total += quint8(byte);
    return total;
}

qint64 encodedSize(qint64 size)
{
    return (size + 2) / 3 * 4;
}

QByteArray batchHeader(int encodedLength, const QString &target)
{
    QByteArray name = target.toUtf8().toBase64();
    // No file system of a board has such a name: sent empty, it is refused there.
    if (name.size() > 9999)
        name.clear();
    return numbered('!', quint32(encodedLength)) + QByteArray::number(name.size()).rightJustified(4, '0') + name;
}

QByteArray batchEnd()
{
    return QByteArrayLiteral(".00000000000000");
}

bool answersBatchPacket(const QByteArray &item)
{
    return item.endsWith("#9") || item.startsWith('#') || MorvexWindow::endsRawCommand(item);
}

} // namespace UploadPackets
