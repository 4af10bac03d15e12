#include "packageindex.h"

#include <QCryptographicHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSet>
#include <QVector>

namespace {
const QString githubPrefix = QStringLiteral("github:");

bool isWhole(const QString &pattern, const QString &text)
{
    return QRegularExpression(QRegularExpression::anchoredPattern(pattern)).match(text).hasMatch();
}

bool isHex(const QByteArray &text)
{
    return !text.isEmpty() && isWhole(QStringLiteral("[0-9a-fA-F]+"), QString::fromLatin1(text));
}

bool isSingleFile(const QString &path)
{
    return path.endsWith(QLatin1String(".py")) || path.endsWith(QLatin1String(".mpy"));
}

bool isHttp(const QUrl &url)
{
    return url.isValid() && !url.host().isEmpty()
           && (url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https"));
}

QString withoutTrailingSlashes(QString index)
{
    index = index.trimmed();
    while (index.endsWith(QLatin1Char('/')))
        index.chop(1);
    return index;
}

QString lastPart(const QString &path)
{
    return path.mid(path.lastIndexOf(QLatin1Char('/')) + 1);
}

// github:ORG/REPO[/PATH][@BRANCH] as a file of the raw content host; path is PATH.
bool githubUrl(const QString &name, const QString &defaultBranch, QUrl &url, QString &path)
{
    QString rest = name.mid(githubPrefix.size());
    QString branch = defaultBranch;
    const int at = rest.indexOf(QLatin1Char('@'));
    if (at >= 0) {
        branch = rest.mid(at + 1);
        rest.truncate(at);
    }
    const QString part = QStringLiteral("[A-Za-z0-9_.-]+");
    const QStringList parts = rest.split(QLatin1Char('/'));
    if (parts.size() < 2 || !isWhole(part, parts.at(0)) || !isWhole(part, parts.at(1))
        || !isWhole(QStringLiteral("[A-Za-z0-9_.-]+(/[A-Za-z0-9_.-]+)*"), branch)
        || branch.split(QLatin1Char('/')).contains(QStringLiteral("..")))
        return false;
    const QString repo = parts.at(0) + QLatin1Char('/') + parts.at(1);
    path = parts.mid(2).join(QLatin1Char('/'));
    if (!path.isEmpty() && !PackageIndex::safeBoardPath(path, false))
        return false;
    url = QUrl(QStringLiteral("https://raw.githubusercontent.com/%1/%2/%3").arg(repo, branch, path),
               QUrl::StrictMode);
    return url.isValid();
}

// Qt 5's JSON reader never frees the first value of a key that an object
// repeats, when that value is an array or object: such a text is refused
// before it gets there. Keys compare as the reader decodes them.
bool repeatsKeys(const QByteArray &json)
{
    QVector<QSet<QString>> objects; // the keys of each open object; an array holds an empty set
    QVector<bool> isObject;
    for (int i = 0; i < json.size(); ++i) {
        const char c = json.at(i);
        if (c == '{' || c == '[') {
            objects.append(QSet<QString>());
            isObject.append(c == '{');
        } else if ((c == '}' || c == ']') && !objects.isEmpty()) {
            objects.removeLast();
            isObject.removeLast();
        } else if (c == '"') {
            int end = i + 1;
            while (end < json.size() && json.at(end) != '"')
                end += json.at(end) == '\\' ? 2 : 1;
            int next = end + 1;
            while (next < json.size() && QByteArrayLiteral(" \t\r\n").contains(json.at(next)))
                ++next;
            if (!isObject.isEmpty() && isObject.last() && next < json.size() && json.at(next) == ':') {
                const QString key =
                    QJsonDocument::fromJson('[' + json.mid(i, end + 1 - i) + ']').array().at(0).toString();
                if (objects.last().contains(key))
                    return true;
                objects.last().insert(key);
            }
            i = end;
        }
    }
    return false;
}

// Entries of the form [string, string, ...], at least count strings.
bool stringPairs(const QJsonValue &value, int count, QList<QStringList> &out)
{
    if (value.isUndefined())
        return true;
    if (!value.isArray())
        return false;
    for (const QJsonValue &entry : value.toArray()) {
        const QJsonArray fields = entry.toArray();
        if (!entry.isArray() || fields.size() < count)
            return false;
        QStringList strings;
        for (const QJsonValue &field : fields) {
            if (!field.isString())
                return false;
            strings << field.toString();
        }
        out << strings;
    }
    return true;
}
} // namespace

bool PackageIndex::locate(const QString &package, const QString &version, const QString &index, const QString &mpy,
                          Source &source, QString &error)
{
    source = Source();
    const QString name = package.trimmed();
    QString wanted = version.trimmed();
    if (wanted == QLatin1String("latest"))
        wanted.clear();
    const QString unknown = tr("Cannot install from %1: not a package name, github: place or URL of a .py, .mpy or .json");

    if (name.startsWith(githubPrefix)) {
        QUrl url;
        QString path;
        if (!githubUrl(name, wanted.isEmpty() ? QStringLiteral("HEAD") : wanted, url, path)) {
            error = unknown.arg(name);
            return false;
        }
        if (isSingleFile(path))
            source.single = File{lastPart(path), QString(), url};
        else if (path.endsWith(QLatin1String(".json")))
            source.description = url;
        else
            source.description = QUrl(url.toString() + (path.isEmpty() ? QString() : QStringLiteral("/"))
                                      + QStringLiteral("package.json"));
        return true;
    }

    if (name.contains(QLatin1String("://"))) {
        const QUrl url(name, QUrl::StrictMode);
        const QString path = url.path();
        if (isHttp(url) && isSingleFile(path) && safeBoardPath(lastPart(path), false)) {
            source.single = File{lastPart(path), QString(), url};
            return true;
        }
        if (isHttp(url) && path.endsWith(QLatin1String(".json"))) {
            source.description = url;
            return true;
        }
        error = unknown.arg(name);
        return false;
    }

    const QString plain = QStringLiteral("[A-Za-z0-9_][A-Za-z0-9_.+-]*");
    if (!isWhole(plain, name) || (!wanted.isEmpty() && !isWhole(plain, wanted)) || !isWhole(plain, mpy)) {
        error = unknown.arg(name);
        return false;
    }
    const QUrl url(QStringLiteral("%1/package/%2/%3/%4.json")
                       .arg(withoutTrailingSlashes(index), mpy, name, wanted.isEmpty() ? QStringLiteral("latest") : wanted),
                   QUrl::StrictMode);
    if (!isHttp(url)) {
        error = tr("Invalid package index %1").arg(index);
        return false;
    }
    source.description = url;
    source.fromIndex = true;
    return true;
}

QUrl PackageIndex::fileUrl(const QString &index, const QString &shortHash)
{
    return QUrl(QStringLiteral("%1/file/%2/%3").arg(withoutTrailingSlashes(index), shortHash.left(2), shortHash),
                QUrl::StrictMode);
}

bool PackageIndex::parseDescription(const QByteArray &json, const QUrl &base, const QString &index, Description &out,
                                    QString &error)
{
    out = Description();
    error = tr("Invalid package description %1").arg(base.toDisplayString());
    if (repeatsKeys(json))
        return false;
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(json, &parseError);
    if (parseError.error != QJsonParseError::NoError || !document.isObject())
        return false;
    const QJsonObject object = document.object();
    const QJsonValue version = object.value(QStringLiteral("version"));
    if (!version.isUndefined() && !version.isString())
        return false;
    out.version = version.toString();

    QList<QStringList> hashes;
    QList<QStringList> urls;
    QList<QStringList> deps;
    if (!stringPairs(object.value(QStringLiteral("hashes")), 2, hashes)
        || !stringPairs(object.value(QStringLiteral("urls")), 2, urls)
        || !stringPairs(object.value(QStringLiteral("deps")), 1, deps))
        return false;

    for (const QStringList &entry : qAsConst(hashes)) {
        const QString hash = entry.at(1).toLower();
        // The hash names a file of the index: it becomes part of the URL.
        if (!isWhole(QStringLiteral("[0-9a-f]{8,64}"), hash))
            return false;
        out.files << File{entry.at(0), hash, fileUrl(index, hash)};
    }
    for (const QStringList &entry : qAsConst(urls)) {
        QUrl url;
        QString path;
        if (entry.at(1).startsWith(githubPrefix)) {
            if (!githubUrl(entry.at(1), QStringLiteral("HEAD"), url, path))
                return false;
        } else {
            url = base.resolved(QUrl(entry.at(1), QUrl::StrictMode));
        }
        if (!isHttp(url))
            return false;
        out.files << File{entry.at(0), QString(), url};
    }
    for (const File &file : qAsConst(out.files)) {
        if (!safeBoardPath(file.dest, false)) {
            error = tr("Unsafe destination %1 in %2").arg(file.dest, base.toDisplayString());
            return false;
        }
    }
    for (const QStringList &entry : qAsConst(deps)) {
        if (entry.at(0).trimmed().isEmpty())
            return false;
        out.deps << Dependency{entry.at(0).trimmed(), entry.value(1).trimmed()};
    }
    error.clear();
    return true;
}

bool PackageIndex::safeBoardPath(const QString &path, bool absoluteAllowed)
{
    if (path.isEmpty())
        return false;
    const bool absolute = path.startsWith(QLatin1Char('/'));
    if (absolute && !absoluteAllowed)
        return false;
    if (path == QLatin1String("/"))
        return true;
    // The board's scripts get paths between single quotes, unescaped.
    static const QString forbidden = QStringLiteral("\\?%*:|\"<>'");
    for (const QChar c : path) {
        if (c.unicode() < 0x20 || c.unicode() > 0x7E || forbidden.contains(c))
            return false;
    }
    const QStringList parts = path.mid(absolute ? 1 : 0).split(QLatin1Char('/'));
    for (const QString &part : parts) {
        if (part.isEmpty() || part == QLatin1String(".") || part == QLatin1String(".."))
            return false;
    }
    return true;
}

bool PackageIndex::matchesShortHash(const QByteArray &content, const QString &shortHash)
{
    return !shortHash.isEmpty()
           && QCryptographicHash::hash(content, QCryptographicHash::Sha256).toHex().startsWith(shortHash.toLatin1());
}

bool PackageIndex::boardHolds(const QByteArray &boardHex, const QByteArray &content)
{
    QCryptographicHash::Algorithm algorithm;
    switch (boardHex.size()) {
    case 64:
        algorithm = QCryptographicHash::Sha256;
        break;
    case 40:
        algorithm = QCryptographicHash::Sha1;
        break;
    case 32:
        algorithm = QCryptographicHash::Md5;
        break;
    default:
        return false;
    }
    return isHex(boardHex) && QCryptographicHash::hash(content, algorithm).toHex() == boardHex.toLower();
}

bool PackageIndex::boardHoldsShortHash(const QByteArray &boardHex, const QString &shortHash)
{
    return boardHex.size() == 64 && isHex(boardHex) && !shortHash.isEmpty()
           && boardHex.toLower().startsWith(shortHash.toLatin1());
}

PackageIndex::BoardInfo PackageIndex::parseBoardInfo(const QList<QByteArray> &lines)
{
    BoardInfo info;
    for (const QByteArray &raw : lines) {
        const QByteArray line = raw.trimmed();
        if (line.startsWith("mpy=") && !info.valid) {
            info.valid = true;
            bool ok = false;
            const qlonglong value = line.mid(4).toLongLong(&ok);
            if (ok && value >= 0)
                info.mpy = int(value & 0xff);
        } else if (line.startsWith("lib=") && info.libFolder.isEmpty()) {
            info.libFolder = QString::fromLatin1(line.mid(4));
        }
    }
    return info;
}
