// Package upload: zpack (zip) and zfw (tar) archives unpacked onto the board.
#include "morvexwindow.h"

#include "batchitem.h"
#include "tarreader.h"

#include <QFileDialog>
#include <QMessageBox>
#include <QRegularExpression>
#include <QSet>

#include <quazip.h>
#include <quazipfile.h>
#include <quazipfileinfo.h>

bool MorvexWindow::packageInProgress()
{
    // The transfers wait in nested loops, where the user can start another package.
    if (!zpackArchive && !zfwArchive)
        return false;
    QMessageBox::warning(this, tr("Package Upload"), tr("A package is being uploaded. Please wait"));
    return true;
}

void MorvexWindow::endZPack()
{
    zpackArchive->close();
    delete zpackArchive;
    zpackArchive = nullptr;
}

void MorvexWindow::endZfw()
{
    tar_close(zfwArchive);
    delete zfwArchive;
    zfwArchive = nullptr;
}

void MorvexWindow::uploadZPack(const QString &path)
{
    if (packageInProgress())
        return;
    zpackArchive = new QuaZip(path);
    if (!zpackArchive->open(QuaZip::mdUnzip)) {
        logLine(tr("Invalid package %1 - maybe not an zpack?").arg(path));
        delete zpackArchive;
        zpackArchive = nullptr;
        return;
    }
    logLine(tr("Loading zpack for %1").arg(zpackArchive->getComment()));

    const QStringList names = zpackArchive->getFileNameList();
    QSet<QString> dirs;
    for (const QString &name : names) {
        const int slash = name.lastIndexOf(QLatin1Char('/'));
        if (slash >= 0)
            dirs.insert(name.left(slash));
    }
    for (const QString &dir : qAsConst(dirs)) {
        if (!makeBoardDirs(dir)) {
            endZPack();
            return;
        }
    }

    // Each member is read at its turn in the batch; the files before a broken one stay on the board.
    const QList<QuaZipFileInfo64> infos = zpackArchive->getFileInfoList64();
    QList<BatchItem> members;
    for (int i = 0; i < names.size(); ++i) {
        const QString name = names.at(i);
        BatchItem item;
        item.target = name.startsWith(QLatin1Char('/')) ? name : QLatin1Char('/') + name;
        item.size = i < infos.size() ? qint64(infos.at(i).uncompressedSize) : 0;
        item.read = [this, name](QByteArray &data) {
            if (!zpackArchive->setCurrentFile(name)) {
                logLine(tr("ZPack is broken (cannot get %1). Abort").arg(name));
                return false;
            }
            QuaZipFile member(zpackArchive);
            if (!member.open(QIODevice::ReadOnly)) {
                logLine(tr("ZPack is broken (cannot read %1). Abort").arg(name));
                return false;
            }
            logLine(tr("Uploading %1 from zpack").arg(name));
            data = member.readAll();
            return true;
        };
        members << item;
    }
    if (!uploadBatch(members)) {
        endZPack();
        return;
    }
    logLine(tr("ZPack uploaded!"));
    endZPack();
    changeBoardDir(mcModel.rootPath);
}

void MorvexWindow::uploadZfw(const QString &path)
{
    if (packageInProgress())
        return;
    zfwArchive = new TarArchive;
    const int opened = tar_open(zfwArchive, path.toLocal8Bit().constData(), "r");
    if (opened != TAR_ESUCCESS) {
        logLine(tr("Cannot read zfw package: %1").arg(opened));
        delete zfwArchive;
        zfwArchive = nullptr;
        return;
    }
    logLine(tr("Loading zfw from %1").arg(path));

    QSet<QString> dirs;
    const auto makeDirOnce = [&](const QString &dir) {
        if (dirs.contains(dir))
            return true;
        dirs.insert(dir);
        return makeBoardDirs(dir);
    };
    QByteArray data;
    // The walk makes the folders as they come and gathers the files, which then go in one batch.
    QList<BatchItem> files;

    TarHeader header;
    // Any reader error ends the walk, also in mid-archive, and counts as the end of the package.
    while (tar_read_header(zfwArchive, &header) == TAR_ESUCCESS) {
        const quint32 here = tar_tell(zfwArchive);
        const QString name = QString::fromLatin1(header.name);
        if (header.type == 0 || header.type == '0') {
            if (!readZfwMember(zfwArchive, header, data))
                break;
            const int slash = name.lastIndexOf(QLatin1Char('/'));
            // A lone leading "/" names no directory.
            if (slash > 0 && !makeDirOnce(name.left(slash))) {
                endZfw();
                return;
            }
            BatchItem item;
            item.target = name;
            item.size = data.size();
            item.read = [this, name, data](QByteArray &out) {
                logLine(tr("Uploading %1").arg(name));
                out = data;
                return true;
            };
            files << item;
        } else if (header.type == '5') {
            if (!makeDirOnce(name)) {
                endZfw();
                return;
            }
        } else if (header.type == 'g') {
            // What the package says about its board is told, not enforced.
            if (!readZfwMember(zfwArchive, header, data))
                break;
            const QHash<QString, QString> info = parsePaxRecords(data);
            if (info.contains(QStringLiteral("board")) && info.contains(QStringLiteral("mod")))
                logLine(tr("ZFW firmware package is for %1/%2 (%3)")
                            .arg(info.value(QStringLiteral("board")), info.value(QStringLiteral("mod")),
                                 info.value(QStringLiteral("comment"))));
        }
        // tar_next refuses a member that reaches past 4 GiB, which would wrap round.
        tar_seek(zfwArchive, here);
        if (tar_next(zfwArchive) != TAR_ESUCCESS)
            break;
    }
    if (!uploadBatch(files)) {
        endZfw();
        return;
    }
    logLine(tr("ZFW firmware pack uploaded!"));
    endZfw();
    changeBoardDir(mcModel.rootPath);
}

bool MorvexWindow::readZfwMember(TarArchive *archive, const TarHeader &header, QByteArray &data)
{
    // No board of these families holds a file this large. A header that claims
    // more is broken, and its zero-filled buffer could not even be had: a
    // byte array holds less than 2 GiB.
    constexpr quint32 largestMember = 64 * 1024 * 1024;
    if (header.size > largestMember)
        return false;
    data = QByteArray(int(header.size), '\0');
    // A truncated member is not noticed: what is missing stays zero.
    tar_read_data(archive, data.data(), quint32(data.size()));
    return true;
}

QHash<QString, QString> MorvexWindow::parsePaxRecords(const QByteArray &data)
{
    // Records read "<length> <key>=<value>\n", the length counting the whole record.
    static const QRegularExpression record(QRegularExpression::anchoredPattern(QStringLiteral("([^\\=]+)\\=(.*)\\n")));
    QHash<QString, QString> result;
    int p = 0;
    for (;;) {
        const int blank = data.indexOf(' ', p);
        if (blank <= 0)
            break;
        bool ok = false;
        const int length = data.mid(p, blank - p).toInt(&ok);
        // A length that does not reach past its own blank would never move on;
        // compared without adding to p, which a length near the maximum overflows.
        if (!ok || length <= blank - p || length > data.size() - p)
            break;
        const QString text = QString::fromUtf8(data.mid(blank + 1, p + length - blank - 1));
        p += length;
        const QRegularExpressionMatch match = record.match(text);
        if (match.hasMatch())
            result.insert(match.captured(1), match.captured(2));
    }
    return result;
}

void MorvexWindow::on_actionUpload_Package_triggered()
{
    const QString path = QFileDialog::getOpenFileName(
        this, tr("Select package"), pcModel.rootPath(),
        tr("Tarvo pack files (*.zpack);; ZFW firmware updates (*.zfw)"));
    if (path.isEmpty())
        return;
    if (path.endsWith(QLatin1String(".zpack"), Qt::CaseInsensitive))
        uploadZPack(path);
    else if (path.endsWith(QLatin1String(".zfw"), Qt::CaseInsensitive))
        uploadZfw(path);
    else
        logLine(tr("Unsupported package type"));
}
