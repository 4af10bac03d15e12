// The tar module over archives that GNU tar and Python's tarfile make at test time.
#include "tarreader.h"
#include "testsupport.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

namespace {
const QString prefixed = QStringLiteral("pkg/") + QString(60, QLatin1Char('p')) + QStringLiteral("/")
                         + QString(50, QLatin1Char('n'));
const QString longName = QStringLiteral("long/") + QString(115, QLatin1Char('l'));

QByteArray pattern(int size)
{
    QByteArray data(size, '\0');
    for (int i = 0; i < size; ++i)
        data[i] = char((i * 7 + 3) & 0xff);
    return data;
}

// "position name type size ustar" of a header, for row comparisons.
QString describe(quint32 position, const TarHeader &header)
{
    return QStringLiteral("%1 %2 %3 %4 %5")
        .arg(position)
        .arg(QString::fromLatin1(header.name), QString(QLatin1Char(char(header.type))))
        .arg(header.size)
        .arg(header.ustar);
}
} // namespace

class tst_Tar : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void walk_data();
    void walk();
    void find_data();
    void find();
    void readData_data();
    void readData();
    void writeRoundTrip();

private:
    QString archive(const QString &name) const { return work.filePath(name); }
    QString source(const QString &name) const { return work.filePath(QStringLiteral("src/") + name); }

    QTemporaryDir work;
};

void tst_Tar::initTestCase()
{
    QVERIFY(work.isValid());
    QVERIFY(writeLocalFile(source(QStringLiteral("small.txt")), "hello world"));
    QVERIFY(writeLocalFile(source(QStringLiteral("zero.bin")), QByteArray()));
    QVERIFY(writeLocalFile(source(QStringLiteral("five12.bin")), pattern(512)));
    QVERIFY(writeLocalFile(source(QStringLiteral("five13.bin")), pattern(513)));
    QVERIFY(writeLocalFile(source(prefixed), "prefixed"));
    QVERIFY(writeLocalFile(source(longName), "long"));

    const QString tar = QStringLiteral("tar");
    const QStringList common{QStringLiteral("--mtime=@1700000000"), QStringLiteral("--owner=0"),
                             QStringLiteral("--group=0"), QStringLiteral("--numeric-owner"),
                             QStringLiteral("--no-recursion"), QStringLiteral("-C"), work.filePath(QStringLiteral("src"))};
    const auto gnuTar = [&](const QString &format, const QString &name, const QStringList &members,
                            const QStringList &extra = QStringList()) {
        return runProgram(tar, QStringList{QStringLiteral("--format=") + format, QStringLiteral("-cf"), archive(name)}
                                   + extra + common + members);
    };
    const QStringList four{QStringLiteral("small.txt"), QStringLiteral("zero.bin"), QStringLiteral("five12.bin"),
                           QStringLiteral("five13.bin")};
    QVERIFY(gnuTar(QStringLiteral("ustar"), QStringLiteral("ustar.tar"), four));
    QVERIFY(gnuTar(QStringLiteral("pax"), QStringLiteral("pax.tar"), {QStringLiteral("small.txt"), QStringLiteral("zero.bin")},
                   {QStringLiteral("--pax-option=globexthdr.name=GlobalHead,board=PYBv1.1,mod=flash,comment=nightly,"
                                   "delete=atime,delete=ctime")}));
    QVERIFY(gnuTar(QStringLiteral("gnu"), QStringLiteral("gnulong.tar"), {longName}));
    QVERIFY(gnuTar(QStringLiteral("ustar"), QStringLiteral("prefix.tar"), {prefixed}));

    // tarfile with whole-second times, so that no per-member pax header is needed.
    QVERIFY(runPython(QStringLiteral(R"(
import io, sys, tarfile
with tarfile.open(sys.argv[1], 'w', format=tarfile.PAX_FORMAT,
                  pax_headers={'board': 'PYBv1.1', 'mod': 'flash', 'comment': 'nightly'}) as t:
    d = tarfile.TarInfo('lib/'); d.type = tarfile.DIRTYPE; d.mtime = 1700000000; t.addfile(d)
    data = b'print(1)\n'
    f = tarfile.TarInfo('lib/a.py'); f.size = len(data); f.mtime = 1700000000
    t.addfile(f, io.BytesIO(data))
)"),
                      {archive(QStringLiteral("python.tar"))}));

    const QByteArray ustar = readLocalFile(archive(QStringLiteral("ustar.tar")));
    QCOMPARE(ustar.size() % 512, 0);
    QVERIFY(writeLocalFile(archive(QStringLiteral("empty.tar")), QByteArray()));
    QVERIFY(writeLocalFile(archive(QStringLiteral("zero.tar")), QByteArray(1024, '\0')));
    QByteArray flipped = ustar;
    flipped[0] = 'S';
    QVERIFY(writeLocalFile(archive(QStringLiteral("flipped-first.tar")), flipped));
    flipped = ustar;
    flipped[1024 + 1] = char(flipped.at(1024 + 1) ^ 0x01);
    QVERIFY(writeLocalFile(archive(QStringLiteral("flipped-second.tar")), flipped));
    // 88 bytes of five13.bin's data are left.
    QVERIFY(writeLocalFile(archive(QStringLiteral("truncated.tar")), ustar.left(3072 + 88)));

    // A member whose end lies exactly 4 GiB on: the next position wraps round to 0.
    TarArchive huge;
    QCOMPARE(tar_open(&huge, qPrintable(archive(QStringLiteral("wrap.tar"))), "w"), int(TAR_ESUCCESS));
    QCOMPARE(tar_write_file_header(&huge, "huge.bin", 0xFFFFFE00u), int(TAR_ESUCCESS));
    QCOMPARE(tar_finalize(&huge), int(TAR_ESUCCESS));
    QCOMPARE(tar_close(&huge), int(TAR_ESUCCESS));
}

void tst_Tar::walk_data()
{
    QTest::addColumn<QString>("archive");
    QTest::addColumn<int>("openCode");
    QTest::addColumn<QStringList>("entries");
    QTest::addColumn<int>("endCode");

    const QStringList four{QStringLiteral("0 small.txt 0 11 1"), QStringLiteral("1024 zero.bin 0 0 1"),
                           QStringLiteral("1536 five12.bin 0 512 1"), QStringLiteral("2560 five13.bin 0 513 1")};
    QTest::newRow("ustar, sizes 0, 512 and 513") << "ustar.tar" << 0 << four << int(TAR_ENULLRECORD);
    QTest::newRow("GNU pax, global header first")
        << "pax.tar" << 0
        << QStringList{QStringLiteral("0 GlobalHead g 49 1"), QStringLiteral("1024 small.txt 0 11 1"),
                       QStringLiteral("2048 zero.bin 0 0 1")}
        << int(TAR_ENULLRECORD);
    QTest::newRow("tarfile pax, global header and a directory")
        << "python.tar" << 0
        << QStringList{QStringLiteral("0 ././@PaxHeader g 49 1"), QStringLiteral("1024 lib/ 5 0 1"),
                       QStringLiteral("1536 lib/a.py 0 9 1")}
        << int(TAR_ENULLRECORD);
    // The old GNU magic "ustar " with its blank makes plain headers; the long name is a member of its own.
    QTest::newRow("GNU long name")
        << "gnulong.tar" << 0
        << QStringList{QStringLiteral("0 ././@LongLink L %1 0").arg(longName.size() + 1),
                       QStringLiteral("1024 %1 0 4 0").arg(longName.left(100))}
        << int(TAR_ENULLRECORD);
    // Prefix and name run together, without the "/" that stood between them.
    QString joined = prefixed;
    joined.remove(64, 1);
    QTest::newRow("prefix") << "prefix.tar" << 0 << QStringList{QStringLiteral("0 %1 0 8 1").arg(joined)}
                            << int(TAR_ENULLRECORD);
    QTest::newRow("truncated in the last member") << "truncated.tar" << 0 << four << int(TAR_EREADFAIL);
    QTest::newRow("a member that reaches past 4 GiB ends the walk")
        << "wrap.tar" << 0 << QStringList{QStringLiteral("0 huge.bin 0 4294966784 0")} << int(TAR_ESEEKFAIL);
    QTest::newRow("flipped byte in the second header")
        << "flipped-second.tar" << 0 << QStringList(four.mid(0, 1)) << int(TAR_EBADCHKSUM);
    QTest::newRow("flipped byte in the first header") << "flipped-first.tar" << int(TAR_EBADCHKSUM) << QStringList() << 0;
    QTest::newRow("empty file") << "empty.tar" << int(TAR_EREADFAIL) << QStringList() << 0;
    QTest::newRow("zero record first") << "zero.tar" << int(TAR_ENULLRECORD) << QStringList() << 0;
    QTest::newRow("missing file") << "absent.tar" << int(TAR_EOPENFAIL) << QStringList() << 0;
}

void tst_Tar::walk()
{
    QFETCH(QString, archive);
    QFETCH(int, openCode);
    QFETCH(QStringList, entries);
    QFETCH(int, endCode);

    TarArchive tar;
    QCOMPARE(tar_open(&tar, qPrintable(this->archive(archive)), "r"), openCode);
    if (openCode != TAR_ESUCCESS)
        return;
    QCOMPARE(tar_tell(&tar), 0u);
    QStringList seen;
    int code;
    for (;;) {
        const quint32 at = tar_tell(&tar);
        TarHeader header;
        code = tar_read_header(&tar, &header);
        if (code != TAR_ESUCCESS)
            break;
        QCOMPARE(tar_tell(&tar), at); // a header read leaves the position at the header
        seen << describe(at, header);
        code = tar_next(&tar);
        if (code != TAR_ESUCCESS)
            break;
    }
    QCOMPARE(tar_close(&tar), int(TAR_ESUCCESS));
    QCOMPARE(seen, entries);
    QCOMPARE(code, endCode);
}

void tst_Tar::find_data()
{
    QTest::addColumn<QString>("archive");
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("wantHeader");
    QTest::addColumn<int>("code");
    QTest::addColumn<int>("size");

    QTest::newRow("present") << "ustar.tar" << "five13.bin" << true << 0 << 513;
    QTest::newRow("present, no header wanted") << "ustar.tar" << "zero.bin" << false << 0 << -1;
    QTest::newRow("absent") << "ustar.tar" << "five14.bin" << true << int(TAR_ENOTFOUND) << -1;
    QTest::newRow("name is matched whole") << "ustar.tar" << "five1" << true << int(TAR_ENOTFOUND) << -1;
    QTest::newRow("present in a truncated archive") << "truncated.tar" << "five12.bin" << true << 0 << 512;
    QTest::newRow("absent from a truncated archive") << "truncated.tar" << "five14.bin" << true << int(TAR_EREADFAIL) << -1;
}

void tst_Tar::find()
{
    QFETCH(QString, archive);
    QFETCH(QString, name);
    QFETCH(bool, wantHeader);
    QFETCH(int, code);
    QFETCH(int, size);

    TarArchive tar;
    QCOMPARE(tar_open(&tar, qPrintable(this->archive(archive)), "r"), int(TAR_ESUCCESS));
    // A walk first: find starts from the beginning whatever came before.
    QVERIFY(tar_next(&tar) == TAR_ESUCCESS && tar_next(&tar) == TAR_ESUCCESS);
    TarHeader header = {};
    QCOMPARE(tar_find(&tar, qPrintable(name), wantHeader ? &header : nullptr), code);
    if (wantHeader && code == TAR_ESUCCESS) {
        QCOMPARE(QString::fromLatin1(header.name), name);
        QCOMPARE(int(header.size), size);
        // The position stands at the header found, ready for its data.
        TarHeader again;
        QCOMPARE(tar_read_header(&tar, &again), int(TAR_ESUCCESS));
        QCOMPARE(QString::fromLatin1(again.name), name);
    }
    tar_close(&tar);
}

void tst_Tar::readData_data()
{
    QTest::addColumn<QString>("archive");
    QTest::addColumn<QString>("member");
    QTest::addColumn<QList<int>>("pieces");
    QTest::addColumn<QByteArray>("expected");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("following"); // the member tar_next reaches afterwards

    QTest::newRow("513 bytes in one read") << "ustar.tar" << "five13.bin" << QList<int>{513} << pattern(513) << 0
                                           << QString();
    QTest::newRow("512 bytes in two reads") << "ustar.tar" << "five12.bin" << QList<int>{500, 12} << pattern(512)
                                            << 0 << "five13.bin";
    QTest::newRow("empty member") << "ustar.tar" << "zero.bin" << QList<int>{0} << QByteArray() << 0
                                  << "five12.bin";
    QTest::newRow("pax global header records")
        << "python.tar" << "././@PaxHeader" << QList<int>{49}
        << QByteArray("17 board=PYBv1.1\n13 mod=flash\n19 comment=nightly\n") << 0 << "lib/";
    QTest::newRow("truncated member: what is there, the rest stays")
        << "truncated.tar" << "five13.bin" << QList<int>{513} << pattern(88) + QByteArray(425, '\0')
        << int(TAR_EREADFAIL) << QString();
}

void tst_Tar::readData()
{
    QFETCH(QString, archive);
    QFETCH(QString, member);
    QFETCH(QList<int>, pieces);
    QFETCH(QByteArray, expected);
    QFETCH(int, code);
    QFETCH(QString, following);

    TarArchive tar;
    QCOMPARE(tar_open(&tar, qPrintable(this->archive(archive)), "r"), int(TAR_ESUCCESS));
    QCOMPARE(tar_find(&tar, qPrintable(member), nullptr), int(TAR_ESUCCESS));
    const quint32 header = tar_tell(&tar);
    QByteArray data(expected.size(), '\0');
    int offset = 0;
    int result = TAR_ESUCCESS;
    for (int piece : pieces) {
        result = tar_read_data(&tar, data.data() + offset, quint32(piece));
        offset += piece;
    }
    QCOMPARE(result, code);
    QCOMPARE(data, expected);
    if (code == TAR_ESUCCESS) {
        // A member read whole leaves the position at its header, as a header read does.
        QCOMPARE(tar_tell(&tar), header);
        if (!following.isEmpty()) {
            TarHeader next;
            QCOMPARE(tar_next(&tar), int(TAR_ESUCCESS));
            QCOMPARE(tar_read_header(&tar, &next), int(TAR_ESUCCESS));
            QCOMPARE(QString::fromLatin1(next.name), following);
        }
    }
    tar_close(&tar);
}

void tst_Tar::writeRoundTrip()
{
    const QString path = archive(QStringLiteral("written.tar"));
    const QByteArray script = "print('round trip')\n";
    const QByteArray block = pattern(513);
    TarArchive tar;
    QCOMPARE(tar_open(&tar, qPrintable(path), "w"), int(TAR_ESUCCESS));
    QCOMPARE(tar_write_dir_header(&tar, "lib/"), int(TAR_ESUCCESS));
    QCOMPARE(tar_write_file_header(&tar, "lib/main.py", quint32(script.size())), int(TAR_ESUCCESS));
    QCOMPARE(tar_write_data(&tar, script.constData(), 6), int(TAR_ESUCCESS));
    QCOMPARE(tar_write_data(&tar, script.constData() + 6, quint32(script.size() - 6)), int(TAR_ESUCCESS));
    QCOMPARE(tar_tell(&tar), 1536u); // padded to the record once the member is complete
    QCOMPARE(tar_write_file_header(&tar, "empty.txt", 0), int(TAR_ESUCCESS));
    QCOMPARE(tar_write_file_header(&tar, "block.bin", quint32(block.size())), int(TAR_ESUCCESS));
    QCOMPARE(tar_write_data(&tar, block.constData(), quint32(block.size())), int(TAR_ESUCCESS));
    QCOMPARE(tar_finalize(&tar), int(TAR_ESUCCESS));
    QCOMPARE(tar_close(&tar), int(TAR_ESUCCESS));
    QCOMPARE(QFileInfo(path).size(), qint64(512 * 3 + 512 + 512 + 1024 + 1024));

    QByteArray listing;
    QVERIFY(runProgram(QStringLiteral("tar"), {QStringLiteral("-tvf"), path}, QString(), &listing));
    const QList<QByteArray> lines = listing.trimmed().split('\n');
    QCOMPARE(lines.size(), 4);
    const QList<QPair<QByteArray, QByteArray>> expected{{"drwxrwxr-x", "lib/"},
                                                        {"-rw-rw-r--", "lib/main.py"},
                                                        {"-rw-rw-r--", "empty.txt"},
                                                        {"-rw-rw-r--", "block.bin"}};
    for (int i = 0; i < lines.size(); ++i) {
        QVERIFY2(lines.at(i).startsWith(expected.at(i).first), lines.at(i).constData());
        QVERIFY2(lines.at(i).endsWith(" " + expected.at(i).second), lines.at(i).constData());
    }

    const QString out = work.filePath(QStringLiteral("extracted"));
    QVERIFY(QDir().mkpath(out));
    QByteArray said;
    QVERIFY(runProgram(QStringLiteral("tar"), {QStringLiteral("-xf"), path, QStringLiteral("-C"), out}, QString(),
                       &said));
    QCOMPARE(said, QByteArray()); // not even a warning
    QVERIFY(QFileInfo(out + QStringLiteral("/lib")).isDir());
    QCOMPARE(readLocalFile(out + QStringLiteral("/lib/main.py")), script);
    QCOMPARE(readLocalFile(out + QStringLiteral("/block.bin")), block);
    QVERIFY(QFileInfo::exists(out + QStringLiteral("/empty.txt")));
    QCOMPARE(QFileInfo(out + QStringLiteral("/empty.txt")).size(), 0);

    // And read back by the module itself.
    QCOMPARE(tar_open(&tar, qPrintable(path), "r"), int(TAR_ESUCCESS));
    TarHeader header;
    QCOMPARE(tar_find(&tar, "lib/main.py", &header), int(TAR_ESUCCESS));
    QCOMPARE(header.mode, 0664u);
    QCOMPARE(header.ustar, 0);
    QCOMPARE(header.type, int('0'));
    QCOMPARE(tar_find(&tar, "lib/", &header), int(TAR_ESUCCESS));
    QCOMPARE(header.mode, 0775u);
    QCOMPARE(header.type, int('5'));
    tar_close(&tar);
}

QTEST_GUILESS_MAIN(tst_Tar)
#include "tst_tar.moc"
