#pragma once

#include <QByteArray>
#include <QCoreApplication>
#include <QList>
#include <QString>
#include <QUrl>

// What the package index, the user and the board say about an install: where
// a package's description lives, what the description lists, and whether a
// file on the board already holds what was fetched. All of it is outside
// input, read here by pure functions.
class PackageIndex
{
    Q_DECLARE_TR_FUNCTIONS(PackageIndex)

public:
    // A file of a package: its destination, relative to the target folder,
    // and where it is fetched. Files of the index carry their short hash.
    struct File
    {
        QString dest;
        QString shortHash; // lower-case hexadecimal; empty for a file named by URL
        QUrl url;
    };
    struct Dependency
    {
        QString name;
        QString version; // empty means the latest
    };
    struct Description
    {
        QString version;
        QList<File> files;
        QList<Dependency> deps;
    };
    // Where a package named by the user lives: a description to read, or one file.
    struct Source
    {
        QUrl description;
        File single; // when description is empty
        bool fromIndex = false;
    };
    // What the board said of itself; mpy is -1 when it has no .mpy version.
    struct BoardInfo
    {
        bool valid = false;
        int mpy = -1;
        QString libFolder;
    };

    // A name of the index, an http(s) URL of a .py, .mpy or .json, or
    // github:ORG/REPO[/PATH][@BRANCH]. mpy is the index's folder for the
    // board's files: the .mpy version, or "py" for source.
    static bool locate(const QString &package, const QString &version, const QString &index, const QString &mpy,
                       Source &source, QString &error);
    // A description fetched from base; relative URLs are read against base.
    static bool parseDescription(const QByteArray &json, const QUrl &base, const QString &index, Description &out,
                                 QString &error);
    static QUrl fileUrl(const QString &index, const QString &shortHash);

    // A path the board's scripts can take between single quotes, with no
    // empty, "." or ".." part; absolute only where allowed.
    static bool safeBoardPath(const QString &path, bool absoluteAllowed);

    static bool matchesShortHash(const QByteArray &content, const QString &shortHash);
    // boardHex is the board's digest of a file, SHA-256, MD5 or SHA1, told apart by length.
    static bool boardHolds(const QByteArray &boardHex, const QByteArray &content);
    // Without the content: only a SHA-256 can be held against a short hash.
    static bool boardHoldsShortHash(const QByteArray &boardHex, const QString &shortHash);

    // The lines the board printed for the installer's info call.
    static BoardInfo parseBoardInfo(const QList<QByteArray> &lines);
};
