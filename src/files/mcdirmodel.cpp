#include "mcdirmodel.h"

#include "morvexwindow.h"
#include "qmaterialicon.h"

#include <QJsonObject>

MCDirModel::MCDirModel(QObject *parent)
    : QAbstractTableModel(parent)
    , rootPath(QStringLiteral("/"))
{
}

int MCDirModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : entries.size();
}

int MCDirModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : 2;
}

QVariant MCDirModel::data(const QModelIndex &index, int role) const
{
    const MCDirEntry *entry = entryAt(index);
    if (!entry)
        return QVariant();
    if (role == Qt::DisplayRole) {
        if (index.column() == 0)
            return entry->name;
        if (index.column() == 1)
            return entry->size > 0 ? MorvexWindow::formatSize(entry->size) : QString();
    } else if (role == Qt::DecorationRole && index.column() == 0) {
        return QMaterialIcon::instance()->icon(entry->isDir ? QStringLiteral("folder")
                                                            : QStringLiteral("insert_drive_file"),
                                               QColor(), QString());
    }
    return QVariant();
}

QVariant MCDirModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return QVariant();
    if (section == 0)
        return tr("Name");
    if (section == 1)
        return tr("Size");
    return QVariant();
}

Qt::ItemFlags MCDirModel::flags(const QModelIndex &index) const
{
    return index.isValid() ? Qt::ItemIsEnabled : Qt::NoItemFlags;
}

bool MCDirModel::isDir(const QModelIndex &index) const
{
    const MCDirEntry *entry = entryAt(index);
    return entry && entry->isDir;
}

QString MCDirModel::fileName(const QModelIndex &index) const
{
    const MCDirEntry *entry = entryAt(index);
    return entry ? entry->name : QString();
}

QString MCDirModel::filePath(const QModelIndex &index) const
{
    const QString name = fileName(index);
    return name.isEmpty() ? QString() : rootPath + name;
}

qint32 MCDirModel::fileSize(const QModelIndex &index) const
{
    const MCDirEntry *entry = entryAt(index);
    return entry ? entry->size : -1;
}

bool MCDirModel::hasDir(const QString &name) const
{
    return hasEntry(name, true);
}

bool MCDirModel::hasFile(const QString &name) const
{
    return hasEntry(name, false);
}

void MCDirModel::clear()
{
    if (entries.isEmpty())
        return;
    beginRemoveRows(QModelIndex(), 0, entries.size() - 1);
    entries.clear();
    endRemoveRows();
}

void MCDirModel::append(const QStringList &items, bool dirs)
{
    if (items.isEmpty())
        return;
    beginInsertRows(QModelIndex(), entries.size(), entries.size() + items.size() - 1);
    for (const QString &name : items)
        entries.append({name, dirs, -1});
    endInsertRows();
}

void MCDirModel::appendExt(const QJsonArray &items, bool dirs, const QString &nkey, const QString &skey)
{
    if (items.isEmpty())
        return;
    beginInsertRows(QModelIndex(), entries.size(), entries.size() + items.size() - 1);
    for (const QJsonValue &item : items) {
        const QJsonObject object = item.toObject();
        entries.append({object.value(nkey).toString(), dirs, object.value(skey).toInt(-1)});
    }
    endInsertRows();
}

void MCDirModel::setRootPath(const QString &str)
{
    rootPath = str;
    if (!rootPath.endsWith(QLatin1Char('/')))
        rootPath += QLatin1Char('/');
}

const MCDirEntry *MCDirModel::entryAt(const QModelIndex &index) const
{
    if (!index.isValid() || index.row() < 0 || index.row() >= entries.size())
        return nullptr;
    return &entries.at(index.row());
}

bool MCDirModel::hasEntry(const QString &name, bool dir) const
{
    for (const MCDirEntry &entry : entries) {
        if (entry.name == name && entry.isDir == dir)
            return true;
    }
    return false;
}
