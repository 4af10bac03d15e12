// The package index's descriptions, the names a user gives a package, and
// the board's info lines. Whatever is read must be safe to hand on: board
// paths the scripts can quote, http(s) URLs only, hashes that are hex.
//
// The input is a description; its first line also stands for a package name
// and version (split at the first blank), and its lines for the board's reply.
#include "fuzzsupport.h"

#include "packageindex.h"

#include <QRegularExpression>

namespace {
bool isHttp(const QUrl &url)
{
    return url.isValid() && !url.host().isEmpty()
           && (url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https"));
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray input = fuzzBytes(data, size);
    const QString index = QStringLiteral("https://micropython.org/pi/v2");
    static const QRegularExpression shortHash(QRegularExpression::anchoredPattern(QStringLiteral("[0-9a-f]{8,64}")));

    PackageIndex::Description description;
    QString error;
    if (PackageIndex::parseDescription(input, QUrl(QStringLiteral("https://host/dir/package.json")), index, description,
                                       error)) {
        FUZZ_CHECK(error.isEmpty());
        for (const PackageIndex::File &file : qAsConst(description.files)) {
            FUZZ_CHECK(PackageIndex::safeBoardPath(file.dest, false));
            FUZZ_CHECK(isHttp(file.url));
            if (!file.shortHash.isEmpty()) {
                FUZZ_CHECK(shortHash.match(file.shortHash).hasMatch());
                FUZZ_CHECK(file.url == PackageIndex::fileUrl(index, file.shortHash));
            }
        }
        for (const PackageIndex::Dependency &dep : qAsConst(description.deps))
            FUZZ_CHECK(!dep.name.isEmpty());
    } else {
        FUZZ_CHECK(!error.isEmpty());
    }

    const QList<QByteArray> lines = input.split('\n');
    const QString first = QString::fromUtf8(lines.first());
    const int blank = first.indexOf(QLatin1Char(' '));
    PackageIndex::Source source;
    for (const QString &mpy : {QStringLiteral("6"), QStringLiteral("py")}) {
        if (PackageIndex::locate(first.left(blank), blank < 0 ? QString() : first.mid(blank + 1), index, mpy, source,
                                 error)) {
            FUZZ_CHECK(source.description.isEmpty() != source.single.url.isEmpty());
            FUZZ_CHECK(isHttp(source.description) || isHttp(source.single.url));
            if (source.description.isEmpty())
                FUZZ_CHECK(PackageIndex::safeBoardPath(source.single.dest, false));
        }
    }

    const PackageIndex::BoardInfo info = PackageIndex::parseBoardInfo(lines);
    FUZZ_CHECK(info.mpy >= -1 && info.mpy <= 255);
    FUZZ_CHECK(info.valid || info.mpy == -1);
    return 0;
}
