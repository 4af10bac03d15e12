// The tar module over archives that GNU tar and Python's tarfile make at test time.
#include "tarreader.h"
#include "testsupport.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

namespace {
const QString prefixed = "pkg/" + QString(60, QLatin1Char('p')) + "/" + QString(50, QLatin1Char('n'));
const QString longName = "long/" + QString(115, QLatin1Char('l'));
const QString utf8Name = QStringLiteral("m\u00f6d\u00fcl.py"); // bytes above 0x7F in the header's sum
} // namespace

class tst_Tar : public QObject
{
    Q_OBJECT

    QTemporaryDir work;
    QString archive(const QString &name) const { return work.filePath(name); }

private slots:
    void initTestCase()
    {
        const QString src = work.filePath(QStringLiteral("src/"));
        const QMap<QString, QByteArray> files{{"small.txt", "hello world"}, {"zero.bin", ""}, {"five12.bin", randomBytes(512, 7)},
                                              {"five13.bin", randomBytes(513, 7)}, {prefixed, "prefixed"}, {longName, "long"},
                                              {utf8Name, "x"}};
        for (auto it = files.cbegin(); it != files.cend(); ++it)
            QVERIFY(writeLocalFile(src + it.key(), it.value()));
        const QStringList fixed{"--mtime=@1700000000", "--owner=0", "--group=0", "--numeric-owner", "--no-recursion", "-C", src};
        const auto gnuTar = [&](const char *format, const char *name, const QStringList &members, const QStringList &extra = {}) {
            const QStringList args{QStringLiteral("--format=") + QLatin1String(format), "-cf", archive(name)};
            return runProgram(QStringLiteral("tar"), args + extra + fixed + members);
        };
        QVERIFY(gnuTar("ustar", "ustar.tar", {"small.txt", "zero.bin", "five12.bin", "five13.bin"}));
        QVERIFY(gnuTar("pax", "pax.tar", {"small.txt", "zero.bin"},
                       {"--pax-option=globexthdr.name=GlobalHead,board=PYBv1.1,mod=flash,comment=nightly,"
                        "delete=atime,delete=ctime"}));
        QVERIFY(gnuTar("gnu", "gnulong.tar", {longName}));
        QVERIFY(gnuTar("ustar", "prefix.tar", {prefixed, utf8Name}));
        // Whole-second times, so that no per-member pax header is needed.
        QVERIFY(runPython(QStringLiteral(R"(
import io, sys, tarfile
with tarfile.open(sys.argv[1], 'w', format=tarfile.PAX_FORMAT,
                  pax_headers={'board': 'PYBv1.1', 'mod': 'flash', 'comment': 'nightly'}) as t:
    d = tarfile.TarInfo('lib/'); d.type = tarfile.DIRTYPE; d.mtime = 1700000000; t.addfile(d)
    f = tarfile.TarInfo('lib/a.py'); f.size = 9; f.mtime = 1700000000; t.addfile(f, io.BytesIO(b'print(1)\n'))
)"),
                          {archive(QStringLiteral("python.tar"))}));

        const QByteArray ustar = readLocalFile(archive(QStringLiteral("ustar.tar")));
        QByteArray second = ustar;
        second[1024 + 1] = char(second.at(1024 + 1) ^ 0x01);
        QVERIFY(writeLocalFile(archive(QStringLiteral("empty.tar")), QByteArray()));
        QVERIFY(writeLocalFile(archive(QStringLiteral("zero.tar")), QByteArray(1024, '\0')));
        QVERIFY(writeLocalFile(archive(QStringLiteral("flipped-second.tar")), second));
        QVERIFY(writeLocalFile(archive(QStringLiteral("truncated.tar")), ustar.left(3072 + 88))); // 88 bytes of five13.bin
    }

    void walk_data()
    {
        QTest::addColumn<QString>("archive");
        QTest::addColumn<int>("openCode");
        QTest::addColumn<QStringList>("entries"); // "position name type size ustar"
        QTest::addColumn<int>("endCode");
        const int end = TAR_ENULLRECORD;
        const QStringList four{"0 small.txt 0 11 1", "1024 zero.bin 0 0 1", "1536 five12.bin 0 512 1",
                               "2560 five13.bin 0 513 1"};
        QString joined = prefixed; // prefix and name run together, without the "/" between them
        joined.remove(64, 1);
        QTest::newRow("ustar, sizes 0, 512 and 513") << "ustar.tar" << 0 << four << end;
        QTest::newRow("GNU pax, global header first")
            << "pax.tar" << 0 << QStringList{"0 GlobalHead g 49 1", "1024 small.txt 0 11 1", "2048 zero.bin 0 0 1"} << end;
        QTest::newRow("tarfile pax, global header and a directory")
            << "python.tar" << 0 << QStringList{"0 ././@PaxHeader g 49 1", "1024 lib/ 5 0 1", "1536 lib/a.py 0 9 1"} << end;
        // The old GNU magic "ustar " makes plain headers; the long name is a member of its own.
        QTest::newRow("GNU long name") << "gnulong.tar" << 0
                                       << QStringList{QStringLiteral("0 ././@LongLink L %1 0").arg(longName.size() + 1),
                                                      QStringLiteral("1024 %1 0 4 0").arg(longName.left(100))}
                                       << end;
        QTest::newRow("prefix, UTF-8 name") << "prefix.tar" << 0 << QStringList{"0 " + joined + " 0 8 1", "1024 " + utf8Name + " 0 1 1"}
                                            << end;
        QTest::newRow("truncated in the last member") << "truncated.tar" << 0 << four << int(TAR_EREADFAIL);
        QTest::newRow("flipped byte in the second header")
            << "flipped-second.tar" << 0 << QStringList(four.mid(0, 1)) << int(TAR_EBADCHKSUM);
        QTest::newRow("empty file") << "empty.tar" << int(TAR_EREADFAIL) << QStringList() << 0;
        QTest::newRow("zero record first") << "zero.tar" << int(TAR_ENULLRECORD) << QStringList() << 0;
        QTest::newRow("missing file") << "absent.tar" << int(TAR_EOPENFAIL) << QStringList() << 0;
    }

    void walk()
    {
        QFETCH(QString, archive);
        QFETCH(int, openCode);
        QFETCH(QStringList, entries);
        QFETCH(int, endCode);
        TarArchive tar;
        QCOMPARE(tar_open(&tar, qPrintable(this->archive(archive)), "r"), openCode);
        if (openCode != TAR_ESUCCESS)
            return;
        QStringList seen;
        int code;
        for (;;) {
            const quint32 at = tar_tell(&tar);
            TarHeader header;
            if ((code = tar_read_header(&tar, &header)) != TAR_ESUCCESS)
                break;
            QCOMPARE(tar_tell(&tar), at); // a header read leaves the position at the header
            seen << QStringLiteral("%1 %2 %3 %4 %5")
                        .arg(at)
                        .arg(QString::fromUtf8(header.name), QString(QLatin1Char(char(header.type))))
                        .arg(header.size)
                        .arg(header.ustar);
            if ((code = tar_next(&tar)) != TAR_ESUCCESS)
                break;
        }
        QCOMPARE(tar_close(&tar), int(TAR_ESUCCESS));
        QCOMPARE(seen, entries);
        QCOMPARE(code, endCode);
    }

    void readData_data()
    {
        QTest::addColumn<QString>("archive");
        QTest::addColumn<QString>("member");
        QTest::addColumn<int>("findCode");
        QTest::addColumn<QList<int>>("pieces");
        QTest::addColumn<QByteArray>("expected");
        QTest::addColumn<int>("code");
        using L = QList<int>;
        QTest::newRow("513 bytes in one read") << "ustar.tar" << "five13.bin" << 0 << L{513} << randomBytes(513, 7) << 0;
        QTest::newRow("512 bytes in two reads") << "ustar.tar" << "five12.bin" << 0 << L{500, 12} << randomBytes(512, 7) << 0;
        QTest::newRow("empty member") << "ustar.tar" << "zero.bin" << 0 << L{0} << QByteArray() << 0;
        QTest::newRow("truncated member: what is there, the rest stays") << "truncated.tar" << "five13.bin" << 0 << L{513}
            << randomBytes(88, 7) + QByteArray(425, '\0') << int(TAR_EREADFAIL);
        QTest::newRow("present in a truncated archive")
            << "truncated.tar" << "five12.bin" << 0 << L{512} << randomBytes(512, 7) << 0;
        QTest::newRow("name is matched whole") << "ustar.tar" << "five1" << int(TAR_ENOTFOUND) << L() << QByteArray() << 0;
        QTest::newRow("absent from a truncated archive")
            << "truncated.tar" << "five14.bin" << int(TAR_EREADFAIL) << L() << QByteArray() << 0;
    }

    void readData()
    {
        QFETCH(QString, archive);
        QFETCH(QString, member);
        QFETCH(int, findCode);
        QFETCH(QList<int>, pieces);
        QFETCH(QByteArray, expected);
        QFETCH(int, code);
        TarArchive tar;
        QCOMPARE(tar_open(&tar, qPrintable(this->archive(archive)), "r"), int(TAR_ESUCCESS));
        // Walked on first: find starts from the beginning whatever came before.
        QVERIFY(tar_next(&tar) == TAR_ESUCCESS && tar_next(&tar) == TAR_ESUCCESS);
        TarHeader header = {};
        QCOMPARE(tar_find(&tar, qPrintable(member), findCode ? &header : nullptr), findCode);
        const quint32 position = tar_tell(&tar);
        QByteArray data(expected.size(), '\0');
        int offset = 0;
        int result = TAR_ESUCCESS;
        for (int piece : pieces) {
            if (offset == 0) { // the position stands at the header found, ready for its data
                QCOMPARE(tar_read_header(&tar, &header), int(TAR_ESUCCESS));
                QCOMPARE(QString::fromLatin1(header.name), member);
                QCOMPARE(int(header.size), expected.size());
            }
            result = tar_read_data(&tar, data.data() + offset, quint32(piece));
            offset += piece;
        }
        QCOMPARE(result, code);
        QCOMPARE(data, expected);
        if (code == TAR_ESUCCESS && findCode == TAR_ESUCCESS)
            QCOMPARE(tar_tell(&tar), position); // a member read whole leaves the position at its header
        tar_close(&tar);
    }

    void writeRoundTrip()
    {
        const QString path = archive(QStringLiteral("written.tar"));
        const QByteArray script = "print('round trip')\n";
        const QByteArray block = randomBytes(513, 7);
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

        const QString out = work.filePath(QStringLiteral("extracted"));
        QByteArray said;
        QVERIFY(QDir().mkpath(out) && runProgram(QStringLiteral("tar"), {"-xf", path, "-C", out}, QString(), &said));
        QCOMPARE(said, QByteArray()); // not even a warning
        QVERIFY(QFileInfo(out + "/lib").isDir());
        QCOMPARE(readLocalFile(out + "/lib/main.py"), script);
        QCOMPARE(readLocalFile(out + "/block.bin"), block);
        QVERIFY(QFileInfo::exists(out + "/empty.txt") && QFileInfo(out + "/empty.txt").size() == 0);
    }
};

QTEST_GUILESS_MAIN(tst_Tar)
#include "tst_tar.moc"
