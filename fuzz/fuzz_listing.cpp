// A board listing: the friendly REPL reply of the two listing commands goes
// into the board pane's model as changeBoardDir puts it there, and every row
// is shown. The plain list reader takes the same pieces.
#include "fuzzsupport.h"

#include "mcdirmodel.h"
#include "morvexwindow.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    QList<QByteArray> queue = fuzzReplyPieces(fuzzBytes(data, size));
    for (const QByteArray &piece : qAsConst(queue))
        MorvexWindow::parseListReply(QString::fromLatin1(piece));

    MCDirModel model;
    model.setRootPath(QStringLiteral("/flash"));
    model.append({QStringLiteral("..")}, true);
    const QJsonArray dirs = MorvexWindow::listingRows(MorvexWindow::takeReplyStartingWith(queue, '['));
    const QJsonArray files = MorvexWindow::listingRows(MorvexWindow::takeReplyStartingWith(queue, '['));
    model.appendExt(dirs, true, QStringLiteral("n"), QStringLiteral("s"));
    model.appendExt(files, false, QStringLiteral("n"), QStringLiteral("s"));

    FUZZ_CHECK(model.rowCount() == 1 + dirs.size() + files.size());
    for (int row = 0; row < model.rowCount(); ++row) {
        const QModelIndex name = model.index(row, 0);
        const QModelIndex size = model.index(row, 1);
        FUZZ_CHECK(model.data(name, Qt::DisplayRole).toString() == model.fileName(name));
        model.data(size, Qt::DisplayRole);
        FUZZ_CHECK(model.isDir(name) == (row <= dirs.size()));
        if (!model.fileName(name).isEmpty()) {
            FUZZ_CHECK(model.filePath(name) == QStringLiteral("/flash/") + model.fileName(name));
            FUZZ_CHECK(model.isDir(name) ? model.hasDir(model.fileName(name)) : model.hasFile(model.fileName(name)));
        }
    }
    return 0;
}
