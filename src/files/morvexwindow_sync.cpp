// One-way synchronisation of a local folder onto the board, by a hash the board computes itself.
#include "morvexwindow.h"

#include "batchitem.h"
#include "syncconfigurationdialog.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {
QByteArray fileHash(QFile &file, QCryptographicHash::Algorithm algorithm)
{
    QCryptographicHash hash(algorithm);
    file.seek(0);
    hash.addData(&file);
    return hash.result();
}

// True when base/rel is, through a link, one of the folders on its own way
// down from base: walking into it again would never end.
bool leadsBack(const QString &base, const QString &rel)
{
    const QString target = QFileInfo(base + QLatin1Char('/') + rel).canonicalFilePath();
    QString above = rel;
    while (!above.isEmpty()) {
        above.truncate(qMax(0, above.lastIndexOf(QLatin1Char('/'))));
        if (QFileInfo(base + QLatin1Char('/') + above).canonicalFilePath() == target)
            return true;
    }
    return false;
}
} // namespace

QStringList MorvexWindow::collectLocalFiles(const QString &base, const QString &rel, bool recursive)
{
    const QDir dir(base + QLatin1Char('/') + rel);
    const auto joined = [&rel](const QString &name) {
        return rel.isEmpty() ? name : rel + QLatin1Char('/') + name;
    };
    const QStringList filter{QStringLiteral("*")};
    QStringList files;
    if (recursive) {
        const QStringList dirs = dir.entryList(filter, QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
        for (const QString &name : dirs) {
            if (!leadsBack(base, joined(name)))
                files += collectLocalFiles(base, joined(name), true);
        }
    }
    const QStringList names = dir.entryList(filter, QDir::Files, QDir::Name);
    for (const QString &name : names)
        files << joined(name);
    return files;
}

void MorvexWindow::syncFiles(const QString &localRoot, const QStringList &names, bool uploadMissing)
{
    const QString script = scriptPath(QStringLiteral("Scripts/Hash"), QStringLiteral(":/data/hash.py"),
                                      QStringLiteral(":/data/hash.py"));
    if (!loadScript(script) || !enterRepl()) {
        logLine(tr("Synchronization failed"));
        return;
    }
    const QString boardFolder = mcModel.rootPath;
    // The board hashes with MD5 where its firmware has it, otherwise with SHA1;
    // which one is learned from the first file that matches under SHA1.
    QCryptographicHash::Algorithm algorithm = QCryptographicHash::Md5;
    bool switched = false;
    QStringList pending;

    for (const QString &name : names) {
        const QByteArray boardValue = boardHash(boardFolder + name);
        if (boardValue.isEmpty()) {
            logLine(tr("Syncronization aborted: hash computation failure"));
            return;
        }
        if (boardValue.startsWith("err")) {
            if (uploadMissing)
                pending << name;
            else
                logLine(tr("Skipping %1 - destination file is missing").arg(name));
            continue;
        }
        QFile file(localRoot + QLatin1Char('/') + name);
        if (!file.open(QIODevice::ReadOnly)) {
            logLine(tr("Skipping %1 - file is not readable").arg(name));
            continue;
        }
        const QByteArray expected = QByteArray::fromHex(boardValue);
        if (fileHash(file, algorithm) == expected) {
            logLine(tr("Skipping %1 - files are identical").arg(name));
            continue;
        }
        if (switched || fileHash(file, QCryptographicHash::Sha1) != expected) {
            pending << name;
            continue;
        }
        algorithm = QCryptographicHash::Sha1;
        switched = true;
        logLine(tr("MC does not support MD5 computation - switched to SHA1"));
        logLine(tr("Skipping %1 - files are identical").arg(name));
    }

    QList<BatchItem> uploads;
    for (const QString &name : qAsConst(pending))
        uploads << batchFile(localRoot + QLatin1Char('/') + name, boardFolder + name);
    if (!uploadBatch(uploads)) {
        logLine(tr("Synchronization aborted - file upload failure"));
        return;
    }
    logLine(tr("Synchronized files from folders %1/ and %2").arg(localRoot, boardFolder));
}

void MorvexWindow::on_actionSync_triggered()
{
    SyncConfigurationDialog dialog;
    dialog.load();
    dialog.setSource(pcModel.rootPath());
    dialog.setDestination(mcModel.rootPath);
    if (dialog.exec() != QDialog::Accepted)
        return;
    dialog.save();
    const QString localRoot = pcModel.rootPath();
    syncFiles(localRoot, collectLocalFiles(localRoot, QString(), dialog.recursive()), dialog.missing());
}
