#pragma once

#include <QByteArray>
#include <QString>

// Board text is shown up to its first zero byte: from UTF-8 in general, from
// Latin-1 where the link reads it so.
inline QByteArray upToZero(const QByteArray &piece)
{
    const int zero = piece.indexOf('\0');
    return zero < 0 ? piece : piece.left(zero);
}

inline QString boardUtf8(const QByteArray &piece)
{
    return QString::fromUtf8(upToZero(piece));
}

inline QString boardLatin1(const QByteArray &piece)
{
    return QString::fromLatin1(upToZero(piece));
}
