// What the package index and the user say to an install, and the board's hashes, read without network or board.
#include "packageindex.h"

#include <QCryptographicHash>
#include <QTest>

namespace {
const QString testIndex = QStringLiteral("http://127.0.0.1:8000/pi/");
const QString raw = QStringLiteral("https://raw.githubusercontent.com/");

QString hex(const QByteArray &data, QCryptographicHash::Algorithm algorithm)
{
    return QString::fromLatin1(QCryptographicHash::hash(data, algorithm).toHex());
}
} // namespace

class tst_PackageIndex : public QObject
{
    Q_OBJECT

private slots:
    void locate_data()
    {
        QTest::addColumn<QString>("package");
        QTest::addColumn<QString>("version");
        QTest::addColumn<QString>("mpy");
        QTest::addColumn<QString>("description"); // empty: a single file, or nothing
        QTest::addColumn<QString>("single");      // "dest url", or empty
        QTest::addColumn<bool>("fromIndex");
        const QString pkg = QStringLiteral("http://127.0.0.1:8000/pi/package/");
        QTest::newRow("index name, latest") << "aioble" << "" << "6" << pkg + "6/aioble/latest.json" << "" << true;
        QTest::newRow("index name, version, source") << "logging" << "0.6.1" << "py" << pkg + "py/logging/0.6.1.json" << "" << true;
        QTest::newRow("github repository") << "github:org/repo" << "" << "6" << raw + "org/repo/HEAD/package.json" << ""
                                          << false;
        QTest::newRow("github path and branch") << "github:org/repo/pkg/sub@dev" << "9.9" << "6"
                                               << raw + "org/repo/dev/pkg/sub/package.json" << "" << false;
        QTest::newRow("github branch from the version") << "github:org/repo" << "v1.2" << "6"
                                                       << raw + "org/repo/v1.2/package.json" << "" << false;
        QTest::newRow("github single file") << "github:org/repo/drivers/bme.py" << "" << "6" << ""
                                           << "bme.py " + raw + "org/repo/HEAD/drivers/bme.py" << false;
        QTest::newRow("URL of a .mpy") << "http://host/a/b/single.mpy" << "2" << "6" << ""
                                      << "single.mpy http://host/a/b/single.mpy" << false;
        QTest::newRow("URL of a description") << "https://host/p/package.json" << "" << "py"
                                             << "https://host/p/package.json" << "" << false;
        for (const char *bad : {"github:org", "github:org/repo/../x", "github:org/repo@..", "ftp://host/x.py",
                                "http://host/x.txt", "http://host/x'y.py", "na me", ""})
            QTest::newRow(qPrintable(QStringLiteral("refused: ") + QLatin1String(bad))) << bad << "" << "6" << "" << ""
                                                                                     << false;
    }

    void locate()
    {
        QFETCH(QString, package);
        QFETCH(QString, version);
        QFETCH(QString, mpy);
        QFETCH(QString, description);
        QFETCH(QString, single);
        QFETCH(bool, fromIndex);
        PackageIndex::Source source;
        QString error;
        const bool located = PackageIndex::locate(package, version, testIndex, mpy, source, error);
        QCOMPARE(located, !description.isEmpty() || !single.isEmpty());
        QCOMPARE(error.isEmpty(), located);
        QCOMPARE(source.description.toString(), description);
        QCOMPARE(source.single.url.isEmpty() ? QString() : source.single.dest + ' ' + source.single.url.toString(), single);
        QCOMPARE(source.fromIndex, fromIndex);
    }

    void description_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<QStringList>("files"); // "dest|short hash|url"
        QTest::addColumn<QStringList>("deps");  // "name|version"
        QTest::addColumn<QString>("version");
        QTest::addColumn<QString>("error");     // empty: read
        const QString invalid = QStringLiteral("Invalid package description http://host/p/pkg.json");
        QTest::newRow("every kind of entry")
            << QByteArray("{'hashes': [['a/b.py', '0123ABCD']], 'version': '2.1',"
                          " 'urls': [['c.py', 'c.py'], ['d/e.py', '../d/e.py'], ['f.py', 'https://x/f.py'],"
                          "          ['g.py', 'github:o/r/g.py@main']],"
                          " 'deps': [['dep', '1.0'], ['other'], ['https://x/y.py', 'latest']]}")
            << QStringList{"a/b.py|0123abcd|http://127.0.0.1:8000/pi/file/01/0123abcd", "c.py||http://host/p/c.py",
                           "d/e.py||http://host/d/e.py", "f.py||https://x/f.py", "g.py||" + raw + "o/r/main/g.py"}
            << QStringList{"dep|1.0", "other|", "https://x/y.py|latest"} << "2.1" << "";
        QTest::newRow("a package of dependencies only") << QByteArray("{'deps': [['a', 'latest']]}") << QStringList()
                                                        << QStringList{"a|latest"} << "" << "";
        const struct {
            const char *name;
            const char *json;
        } broken[] = {
            {"not JSON", "{\"hashes\": ["},
            {"hashes not a list", "{'hashes': {'a.py': '01234567'}}"},
            {"short hash too short", "{'hashes': [['a.py', '0123456']]}"},
            {"short hash not hexadecimal", "{'hashes': [['a.py', '../../etc']]}"},
            {"number for a path", "{'urls': [[1, 'a.py']]}"},
            {"version a number", "{'version': 2}"},
            {"URL of another scheme", "{'urls': [['a.py', 'file:///etc/passwd']]}"},
            {"a key repeated, spelt otherwise", "{'deps': [['a']], 'd\\u0065ps': [['b']]}"},
        };
        for (const auto &row : broken)
            QTest::newRow(row.name) << QByteArray(row.json) << QStringList() << QStringList() << "" << invalid;
        for (const char *dest : {"/boot.py", "../x.py", "a//b.py", "it's.py", "c:d.py"})
            QTest::newRow(qPrintable(QStringLiteral("unsafe destination ") + QLatin1String(dest)))
                << QStringLiteral("{'hashes': [['%1', '01234567']]}")
                       .arg(QString::fromLatin1(dest).replace('\'', "\\u0027"))
                       .toUtf8()
                << QStringList() << QStringList() << ""
                << QStringLiteral("Unsafe destination %1 in http://host/p/pkg.json").arg(QLatin1String(dest));
    }

    void description()
    {
        QFETCH(QByteArray, json);
        QFETCH(QStringList, files);
        QFETCH(QStringList, deps);
        QFETCH(QString, version);
        QFETCH(QString, error);
        // Written with single quotes, which JSON does not take.
        json.replace('\'', '"');
        PackageIndex::Description out;
        QString message;
        QCOMPARE(PackageIndex::parseDescription(json, QUrl("http://host/p/pkg.json"), testIndex, out, message), error.isEmpty());
        QCOMPARE(message, error);
        if (!error.isEmpty())
            return;
        QStringList gotFiles;
        for (const PackageIndex::File &file : qAsConst(out.files))
            gotFiles << file.dest + '|' + file.shortHash + '|' + file.url.toString();
        QStringList gotDeps;
        for (const PackageIndex::Dependency &dep : qAsConst(out.deps))
            gotDeps << dep.name + '|' + dep.version;
        QCOMPARE(gotFiles, files);
        QCOMPARE(gotDeps, deps);
        QCOMPARE(out.version, version);
    }

    void sameContent_data()
    {
        QTest::addColumn<QByteArray>("boardHex");
        QTest::addColumn<QString>("shortHash");
        QTest::addColumn<bool>("holdsContent");
        QTest::addColumn<bool>("holdsShortHash");
        const QByteArray content = "print('hello')\n";
        const QString sha256 = hex(content, QCryptographicHash::Sha256);
        QTest::newRow("SHA-256") << sha256.toLatin1() << sha256.left(8) << true << true;
        QTest::newRow("SHA-256 of other bytes") << hex("x", QCryptographicHash::Sha256).toLatin1() << sha256.left(8) << false
                                               << false;
        QTest::newRow("MD5: only the content tells") << hex(content, QCryptographicHash::Md5).toLatin1() << sha256.left(8)
                                                    << true << false;
        QTest::newRow("SHA1") << hex(content, QCryptographicHash::Sha1).toLatin1() << sha256.left(8) << true << false;
        QTest::newRow("missing on the board") << QByteArray("err(2)") << sha256.left(8) << false << false;
        QTest::newRow("64 characters, not hexadecimal") << QByteArray(64, 'z') << QString() << false << false;
    }

    void sameContent()
    {
        QFETCH(QByteArray, boardHex);
        QFETCH(QString, shortHash);
        QFETCH(bool, holdsContent);
        QFETCH(bool, holdsShortHash);
        QCOMPARE(PackageIndex::boardHolds(boardHex, "print('hello')\n"), holdsContent);
        QCOMPARE(PackageIndex::boardHoldsShortHash(boardHex, shortHash), holdsShortHash);
        QCOMPARE(PackageIndex::matchesShortHash("print('hello')\n", shortHash), !shortHash.isEmpty());
        QVERIFY(!PackageIndex::matchesShortHash("print('hello')\r\n", shortHash));
    }
};

QTEST_GUILESS_MAIN(tst_PackageIndex)
#include "tst_packageindex.moc"
