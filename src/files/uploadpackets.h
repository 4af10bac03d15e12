#pragma once

#include <QByteArray>
#include <QString>

// The packets of the board's upload functions: the lone file of _upload and
// the files of a _batch run carry their content in base64 and are checked by
// the same sums.
namespace UploadPackets {

// lead and ten zero-filled decimal digits: the size and checksum packets.
QByteArray numbered(char lead, quint32 value);
// The 32-bit sum of all bytes of the base64 text, wrapping as the board's does.
quint32 sum(const QByteArray &encoded);
// The length of the base64 text of size bytes.
qint64 encodedSize(qint64 size);

// A file of a batch: "!", the text's length in ten digits, the name field's
// length in four, then the target as base64 of its UTF-8, so that no byte of
// a name can be taken for a control key.
QByteArray batchHeader(int encodedLength, const QString &target);
// Any packet that is not a header ends the board's batch.
QByteArray batchEnd();
// What the batch answers a packet with: "#9" when it reads on, a result that
// starts with "#", or the raw REPL's end of a batch that stopped.
bool answersBatchPacket(const QByteArray &item);

} // namespace UploadPackets
