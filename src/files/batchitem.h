#pragma once

#include <QByteArray>
#include <QString>

#include <functional>

// One file of a batched upload: where it goes on the board, and how its
// content is had when its turn comes.
struct BatchItem
{
    QString target;
    // Bytes expected, for the progress over the whole batch; the data read counts.
    qint64 size = 0;
    // Called at the item's turn; false stops the batch, the reader having said why.
    std::function<bool(QByteArray &data)> read;

    static BatchItem fromData(const QByteArray &data, const QString &target);
};
