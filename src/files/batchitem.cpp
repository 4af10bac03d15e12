// One file of a batched upload.
#include "batchitem.h"

BatchItem BatchItem::fromData(const QByteArray &data, const QString &target)
{
    BatchItem item;
    item.target = target;
    item.size = data.size();
    item.read = [data](QByteArray &out) {
        out = data;
        return true;
    };
    return item;
}
