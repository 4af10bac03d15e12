#pragma once

#include <QAbstractTableModel>
#include <QJsonArray>
#include <QString>
#include <QStringList>
#include <QVector>

struct MCDirEntry
{
    QString name;
    bool isDir = false;
    qint32 size = -1;
};

// The board pane's table: one board folder, ".." first, then directories and
// files in the order the board reported them. Items are deliberately not
// selectable: the view works from its current index.
class MCDirModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    explicit MCDirModel(QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;

    bool isDir(const QModelIndex &index) const;
    QString fileName(const QModelIndex &index) const;
    QString filePath(const QModelIndex &index) const;
    // The size the board listed for the row; -1 when it is unknown.
    qint32 fileSize(const QModelIndex &index) const;
    bool hasDir(const QString &name) const;
    bool hasFile(const QString &name) const;

    QString rootPath;

public slots:
    void clear();
    void append(const QStringList &items, bool dirs);
    void appendExt(const QJsonArray &items, bool dirs, const QString &nkey = QStringLiteral("n"),
                   const QString &skey = QStringLiteral("s"));
    void setRootPath(const QString &str);

private:
    const MCDirEntry *entryAt(const QModelIndex &index) const;
    bool hasEntry(const QString &name, bool dir) const;

    QVector<MCDirEntry> entries;
};
