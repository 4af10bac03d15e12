// Packages through the real window: zpack and zfw unpacked onto the virtual board.
#include "morvexwindowprobe.h"
#include "tarreader.h"
#include "testsupport.h"
#include "virtualboard.h"

#include <QAction>
#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeView>

#include <quazip.h>

#include <cstdlib>
#include <new>

// Every allocation of this test goes through here, so that a test can learn
// whether one particular object was given back.
namespace {
const void *watchedObject = nullptr;
bool watchedFreed = false;
} // namespace

void *operator new(std::size_t size)
{
    if (void *p = std::malloc(size ? size : 1))
        return p;
    throw std::bad_alloc();
}

void operator delete(void *p) noexcept
{
    if (p && p == watchedObject)
        watchedFreed = true;
    std::free(p);
}

void operator delete(void *p, std::size_t) noexcept
{
    ::operator delete(p);
}

namespace {
using Members = QList<QPair<QString, QByteArray>>;

QByteArray paxRecord(const QByteArray &key, const QByteArray &value)
{
    // The length counts the whole record, its own digits included.
    const QByteArray body = ' ' + key + '=' + value + '\n';
    int length = body.size() + 1;
    while (QByteArray::number(length).size() + body.size() != length)
        ++length;
    return QByteArray::number(length) + body;
}

// The tar header at offset with another size, its checksum made good again.
QByteArray withMemberSize(QByteArray tar, int header, quint32 size)
{
    tar.replace(header + 124, 12, QByteArray::number(size, 8).rightJustified(11, '0') + '\0');
    tar.replace(header + 148, 8, QByteArray(8, ' '));
    quint32 sum = 0;
    for (int i = 0; i < 512; ++i)
        sum += quint8(tar.at(header + i));
    tar.replace(header + 148, 8, QByteArray::number(sum, 8).rightJustified(6, '0') + '\0' + ' ');
    return tar;
}

// How many of this process's file descriptors are open on path.
int openHandlesOn(const QString &path)
{
    const QString target = QFileInfo(path).canonicalFilePath();
    const QDir fds(QStringLiteral("/proc/self/fd"));
    int count = 0;
    const QStringList entries = fds.entryList(QDir::Files | QDir::System | QDir::NoDotAndDotDot);
    for (const QString &fd : entries)
        count += QFileInfo(fds.filePath(fd)).symLinkTarget() == target;
    return count;
}

const QString question = QStringLiteral("This is an update package. Do you want to unpack it and upload its contents?");
} // namespace

class tst_Packages : public QObject
{
    Q_OBJECT

private slots:
    void init() { sandbox.clear(); }
    void parsePaxRecords_data();
    void parsePaxRecords();
    void unpack_data();
    void unpack();
    void faults_data();
    void faults();
    void secondPackageRefused();
    void windowReleasesArchive_data();
    void windowReleasesArchive();

private:
    SettingsSandbox sandbox;
};

void tst_Packages::parsePaxRecords_data()
{
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QStringList>("entries"); // key=value, sorted

    const QByteArray board = paxRecord("board", "PYBv1.1");
    const QByteArray mod = paxRecord("mod", "flash");
    QTest::newRow("records") << board + mod + paxRecord("comment", "nightly build")
                             << QStringList{"board=PYBv1.1", "comment=nightly build", "mod=flash"};
    QTest::newRow("a repeated key takes the later value") << board + paxRecord("board", "ESP32") << QStringList{"board=ESP32"};
    QTest::newRow("the value keeps its own =") << paxRecord("comment", "a=b") << QStringList{"comment=a=b"};
    QTest::newRow("UTF-8 value") << paxRecord("comment", "сборка") << QStringList{QStringLiteral("comment=сборка")};
    QTest::newRow("NUL padding after the records ends them") << board + QByteArray(20, '\0') << QStringList{"board=PYBv1.1"};
    QTest::newRow("a record without its newline is passed over")
        << QByteArray("9 mod=abc") + board << QStringList{"board=PYBv1.1"};
    QTest::newRow("a record without = is passed over") << QByteArray("8 nokey\n") + mod << QStringList{"mod=flash"};
    QTest::newRow("a length past the end ends") << board + QByteArray("99 mod=flash\n") << QStringList{"board=PYBv1.1"};
    QTest::newRow("a length that is no number ends") << board + QByteArray("x3 mod=flash\n") + mod
                                                     << QStringList{"board=PYBv1.1"};
    QTest::newRow("the largest length after a record ends") << board + QByteArray("2147483647 mod=flash\n")
                                                           << QStringList{"board=PYBv1.1"};
    QTest::newRow("a negative length ends") << board + QByteArray("-5 mod=flash\n") << QStringList{"board=PYBv1.1"};
    QTest::newRow("a zero length ends rather than stands still") << QByteArray("0 x\n") + mod << QStringList();
    QTest::newRow("a blank first ends") << ' ' + mod << QStringList();
    QTest::newRow("empty") << QByteArray() << QStringList();
}

void tst_Packages::parsePaxRecords()
{
    QFETCH(QByteArray, data);
    QFETCH(QStringList, entries);
    const QHash<QString, QString> records = MorvexWindow::parsePaxRecords(data);
    QStringList got;
    for (auto it = records.cbegin(); it != records.cend(); ++it)
        got << it.key() + QLatin1Char('=') + it.value();
    got.sort();
    QCOMPARE(got, entries);
}

void tst_Packages::unpack_data()
{
    QTest::addColumn<int>("family");
    QTest::addColumn<QString>("delivery");
    for (const QString &delivery : {QStringLiteral("usb"), QStringLiteral("uart")}) {
        QTest::addRow("stm32 %s", qPrintable(delivery)) << 0 << delivery;
        QTest::addRow("esp32 %s", qPrintable(delivery)) << 1 << delivery;
    }
}

void tst_Packages::unpack()
{
    QFETCH(int, family);
    QFETCH(QString, delivery);
    VirtualBoard board;
    QVERIFY(board.start({QStringLiteral("--family"), family ? QStringLiteral("esp32") : QStringLiteral("stm32"),
                         QStringLiteral("--delivery"), delivery}));
    MorvexWindow w;
    QVERIFY(connectBoard(w, board, family));
    QTemporaryDir local;
    w.setPcFolder(local.path());
    // The board folder is the root of the host side of the board's file system.
    const QString root = family ? QStringLiteral("/") : QStringLiteral("/flash/");

    // A zpack, by a double click in the PC pane. On ESP32 its names are
    // relative (a "/" is put in front); on STM32 they must name /flash.
    const QString prefix = family ? QString() : root;
    const Members zipped{{prefix + QStringLiteral("main.py"), "print('main')\n"},
                         {prefix + QStringLiteral("lib/util.py"), "def util():\n    return 1\n"},
                         {prefix + QStringLiteral("lib/sub/deep.bin"), randomBytes(1500, 1)}};
    const QString zpack = local.filePath(QStringLiteral("fw.zpack"));
    QVERIFY(writeZip(zpack, zipped, QStringLiteral("Test pack 1.0")));
    {
        QScopedPointer<DialogAnswerer> answer(DialogAnswerer::messageBox(QMessageBox::Yes));
        const QModelIndex index = MorvexWindowProbe::pcModel(w).index(zpack);
        QVERIFY(index.isValid());
        QMetaObject::invokeMethod(w.findChild<QTreeView *>(QStringLiteral("pcFileList")), "doubleClicked",
                                  Q_ARG(QModelIndex, index));
        QCOMPARE(answer->texts(), QStringList{question});
    }
    QStringList log = syslogMessages(w);
    QStringList expected{QStringLiteral("Loading zpack for Test pack 1.0"),
                         QStringLiteral("Creating dir %1lib/sub").arg(family ? QString() : QStringLiteral("/flash/"))};
    for (const auto &member : zipped)
        expected << QStringLiteral("Uploading %1 from zpack").arg(member.first);
    expected << QStringLiteral("ZPack uploaded!");
    QVERIFY2(inOrder(log, expected), qPrintable(log.join('\n')));
    for (const auto &member : zipped)
        QCOMPARE(board.readFile(member.first.mid(prefix.size())), member.second);
    QVERIFY(!MorvexWindowProbe::zpackArchive(w));

    // A zfw, through Upload Package and its file dialog. Its names stand as
    // they are: relative to the board folder, or absolute.
    const Members tarred{{QStringLiteral("lib/"), QByteArray()},
                         {QStringLiteral("lib/util.py"), "def util():\n    return 2\n"},
                         {QStringLiteral("lib/sub/deep.bin"), randomBytes(2100, 2)},
                         {root + QStringLiteral("top.py"), "print('top')\n"}};
    const QString zfw = local.filePath(QStringLiteral("fw.zfw"));
    QVERIFY(writeZfw(zfw, {{QStringLiteral("board"), QStringLiteral("PYBv1.1")},
                           {QStringLiteral("mod"), QStringLiteral("flash")},
                           {QStringLiteral("comment"), QStringLiteral("nightly")}},
                     tarred));
    const int before = syslogMessages(w).size();
    {
        QScopedPointer<DialogAnswerer> answer(DialogAnswerer::fileName(zfw));
        QAction *action = windowAction(w, "actionUpload_Package");
        QVERIFY(action->isEnabled());
        action->trigger();
    }
    log = syslogMessages(w).mid(before);
    expected = QStringList{QStringLiteral("Loading zfw from %1").arg(zfw),
                           QStringLiteral("ZFW firmware package is for PYBv1.1/flash (nightly)"),
                           QStringLiteral("Creating dir lib"),
                           QStringLiteral("Uploading lib/util.py"),
                           QStringLiteral("Creating dir lib/sub"),
                           QStringLiteral("Uploading lib/sub/deep.bin"),
                           QStringLiteral("Uploading %1top.py").arg(root),
                           QStringLiteral("ZFW firmware pack uploaded!")};
    QVERIFY2(inOrder(log, expected), qPrintable(log.join('\n')));
    for (const auto &member : tarred.mid(1))
        QCOMPARE(board.readFile(member.first.mid(member.first.startsWith(root) ? root.size() : 0)), member.second);
    QVERIFY(QFileInfo(board.fsPath() + QStringLiteral("/lib/sub")).isDir());
    QVERIFY(!MorvexWindowProbe::zfwArchive(w));

    // The pane is listed again and the actions are back.
    QVERIFY(boardRow(w, QStringLiteral("lib")).isValid());
    QVERIFY(boardRow(w, QStringLiteral("top.py")).isValid());
    QVERIFY(windowAction(w, "actionUpload_Package")->isEnabled());
}

void tst_Packages::faults_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QByteArray>("package");
    QTest::addColumn<QStringList>("logged");   // in this order; %1 is the package's path
    QTest::addColumn<QStringList>("unlogged"); // texts no line may hold
    QTest::addColumn<QVariantMap>("onBoard");  // board path: content; an invalid value: absent
    QTest::addColumn<bool>("touchesBoard");

    QTemporaryDir scratch;
    const QString zip = scratch.filePath(QStringLiteral("p.zip"));
    const QString tar = scratch.filePath(QStringLiteral("p.tar"));
    const QByteArray a = "alpha\n";
    const QByteArray b = randomBytes(2000, 3);
    const QString done = QStringLiteral("ZPack uploaded!");
    const QString zfwDone = QStringLiteral("ZFW firmware pack uploaded!");

    QTest::newRow("not a zip") << "plain.zpack" << QByteArray("just text\n")
                               << QStringList{QStringLiteral("Invalid package %1 - maybe not an zpack?")}
                               << QStringList{QStringLiteral("Loading zpack for ")} << QVariantMap() << false;

    QVERIFY(writeZip(zip, {{QStringLiteral("a.txt"), a}, {QStringLiteral("b.bin"), b}}));
    QByteArray broken = readLocalFile(zip);
    // The local header of the second member loses its signature.
    broken[broken.indexOf("PK\x03\x04", 4) + 2] = 'X';
    QTest::newRow("broken member") << "broken.zpack" << broken
                                   << QStringList{QStringLiteral("Uploading a.txt from zpack"),
                                                  QStringLiteral("ZPack is broken (cannot read b.bin). Abort")}
                                   << QStringList{done}
                                   << QVariantMap{{QStringLiteral("a.txt"), a}, {QStringLiteral("b.bin"), QVariant()}}
                                   << true;

    QVERIFY(writeZip(zip, {{QStringLiteral("first.txt"), a}, {QStringLiteral("dir/"), QByteArray()},
                           {QStringLiteral("dir/late.txt"), a}}));
    QTest::newRow("zip with a directory member ends in its upload")
        << "withdir.zpack" << readLocalFile(zip)
        << QStringList{QStringLiteral("Uploading first.txt from zpack"), QStringLiteral("Uploading dir/ from zpack")}
        << QStringList{done, QStringLiteral("Uploading dir/late.txt from zpack")}
        << QVariantMap{{QStringLiteral("first.txt"), a}, {QStringLiteral("dir/late.txt"), QVariant()}} << true;

    QVERIFY(writeZfw(tar, {}, {{QStringLiteral("a.txt"), a}, {QStringLiteral("b.bin"), b}}));
    const QByteArray whole = readLocalFile(tar);
    // 700 bytes of b.bin's data are left; the rest goes up as zeros.
    QTest::newRow("truncated zfw") << "cut.zfw" << whole.left(1024 + 512 + 700)
                                   << QStringList{QStringLiteral("Uploading a.txt"), QStringLiteral("Uploading b.bin"), zfwDone}
                                   << QStringList()
                                   << QVariantMap{{QStringLiteral("a.txt"), a},
                                                  {QStringLiteral("b.bin"), b.left(700) + QByteArray(1300, '\0')}}
                                   << true;

    QByteArray flipped = whole;
    flipped[1024] = char(flipped.at(1024) ^ 0x20);
    QTest::newRow("a bad record after the first still reports success")
        << "flipped.zfw" << flipped << QStringList{QStringLiteral("Uploading a.txt"), zfwDone}
        << QStringList{QStringLiteral("Uploading b.bin")}
        << QVariantMap{{QStringLiteral("a.txt"), a}, {QStringLiteral("b.bin"), QVariant()}} << true;

    // No board holds such a file, and memory for it may not be had.
    QTest::newRow("a member larger than a board holds ends the package")
        << "huge.zfw" << withMemberSize(whole, 1024, 0x7fffffffu)
        << QStringList{QStringLiteral("Uploading a.txt"), zfwDone} << QStringList{QStringLiteral("Uploading b.bin")}
        << QVariantMap{{QStringLiteral("a.txt"), a}, {QStringLiteral("b.bin"), QVariant()}} << true;

    QVERIFY(writeZfw(tar, {}, {{QStringLiteral("lib/"), QByteArray()}, {QStringLiteral("a.txt"), a}}));
    // Its end lies 4 GiB on, where the position wraps round to the member itself.
    QTest::newRow("a member that reaches past 4 GiB ends the package")
        << "wrap.zfw" << withMemberSize(readLocalFile(tar), 0, 0xfffffe00u) << QStringList{zfwDone}
        << QStringList{QStringLiteral("Uploading a.txt")} << QVariantMap{{QStringLiteral("a.txt"), QVariant()}} << true;

    flipped = whole;
    flipped[0] = char(flipped.at(0) ^ 0x20);
    QTest::newRow("a bad first record") << "bad.zfw" << flipped
                                        << QStringList{QStringLiteral("Cannot read zfw package: -6")}
                                        << QStringList{QStringLiteral("Loading zfw from %1")} << QVariantMap() << false;

    QVERIFY(writeZfw(tar, {{QStringLiteral("board"), QStringLiteral("PYBv1.1")}, {QStringLiteral("comment"), QStringLiteral("no mod")}},
                     {{QStringLiteral("a.txt"), a}}));
    QTest::newRow("board without mod: no package line")
        << "nomod.zfw" << readLocalFile(tar)
        << QStringList{QStringLiteral("Loading zfw from %1"), QStringLiteral("Uploading a.txt"), zfwDone}
        << QStringList{QStringLiteral("ZFW firmware package is for")}
        << QVariantMap{{QStringLiteral("a.txt"), a}} << true;

    QTest::newRow("unsupported type") << "notes.txt" << QByteArray("text\n")
                                      << QStringList{QStringLiteral("Unsupported package type")} << QStringList()
                                      << QVariantMap() << false;
}

void tst_Packages::faults()
{
    QFETCH(QString, file);
    QFETCH(QByteArray, package);
    QFETCH(QStringList, logged);
    QFETCH(QStringList, unlogged);
    QFETCH(QVariantMap, onBoard);
    QFETCH(bool, touchesBoard);

    QTemporaryDir local;
    const QString path = local.filePath(file);
    QVERIFY(writeLocalFile(path, package));
    // The ESP32's board folder is "/", where the relative names of these packages land.
    VirtualBoard board;
    QVERIFY(board.start({QStringLiteral("--family"), QStringLiteral("esp32")}));
    MorvexWindow w;
    QVERIFY(connectBoard(w, board, 1));
    const int sent = board.received().size();
    const int before = syslogMessages(w).size();
    {
        QScopedPointer<DialogAnswerer> answer(DialogAnswerer::fileName(path));
        windowAction(w, "actionUpload_Package")->trigger();
        QCOMPARE(answer->answered(), 1);
    }
    const QStringList log = syslogMessages(w).mid(before);
    for (QString &line : logged)
        line.replace(QLatin1String("%1"), path);
    QVERIFY2(inOrder(log, logged), qPrintable(log.join('\n')));
    for (const QString &text : unlogged)
        QVERIFY2(log.filter(QString(text).replace(QLatin1String("%1"), path)).isEmpty(), qPrintable(text));
    for (auto it = onBoard.cbegin(); it != onBoard.cend(); ++it) {
        if (it.value().isValid())
            QCOMPARE(board.readFile(it.key()), it.value().toByteArray());
        else
            QVERIFY2(!board.exists(it.key()), qPrintable(it.key()));
    }
    if (!touchesBoard)
        QCOMPARE(board.received().size(), sent);
    QVERIFY(!MorvexWindowProbe::zpackArchive(w) && !MorvexWindowProbe::zfwArchive(w));
}

void tst_Packages::secondPackageRefused()
{
    QTemporaryDir local;
    const QString zpack = local.filePath(QStringLiteral("first.zpack"));
    const QString zfw = local.filePath(QStringLiteral("second.zfw"));
    const Members zipped{{QStringLiteral("one.bin"), randomBytes(3000, 4)}, {QStringLiteral("two.txt"), "two\n"}};
    QVERIFY(writeZip(zpack, zipped));
    QVERIFY(writeZfw(zfw, {}, {{QStringLiteral("second.txt"), "second\n"}}));
    VirtualBoard board;
    QVERIFY(board.start({QStringLiteral("--family"), QStringLiteral("esp32")}));
    MorvexWindow w;
    QVERIFY(connectBoard(w, board, 1));
    w.setPcFolder(local.path());
    auto *pane = w.findChild<QTreeView *>(QStringLiteral("pcFileList"));
    const auto doubleClick = [&](const QString &path) {
        QMetaObject::invokeMethod(pane, "doubleClicked",
                                  Q_ARG(QModelIndex, MorvexWindowProbe::pcModel(w).index(path)));
    };

    // Yes to both package questions; the warning has no Yes and is closed.
    QScopedPointer<DialogAnswerer> answer(DialogAnswerer::messageBox(QMessageBox::Yes));
    ActWhen second([&] { return syslogMessages(w).contains(QStringLiteral("Uploading one.bin from zpack")); },
                   [&] { doubleClick(zfw); });
    doubleClick(zpack);
    QVERIFY(second.done());
    QCOMPARE(answer->texts(), (QStringList{question, question, QStringLiteral("A package is being uploaded. Please wait")}));
    const QStringList log = syslogMessages(w);
    QVERIFY2(log.contains(QStringLiteral("ZPack uploaded!")), qPrintable(log.join('\n')));
    QVERIFY(log.filter(QStringLiteral("Loading zfw from")).isEmpty());
    for (const auto &member : zipped)
        QCOMPARE(board.readFile(member.first), member.second);
    QVERIFY(!board.exists(QStringLiteral("second.txt")));
}

void tst_Packages::windowReleasesArchive_data()
{
    QTest::addColumn<bool>("zfw");
    QTest::newRow("zfw") << true;
    QTest::newRow("zpack") << false;
}

void tst_Packages::windowReleasesArchive()
{
    QFETCH(bool, zfw);
    QTemporaryDir local;
    const QString path = local.filePath(QStringLiteral("held"));
    QVERIFY(zfw ? writeZfw(path, {}, {{QStringLiteral("a.txt"), "a"}}) : writeZip(path, {{QStringLiteral("a.txt"), "a"}}));

    // A window that goes while a package is held open, as it can when the
    // application quits from inside an upload's wait.
    auto *w = new MorvexWindow;
    if (zfw) {
        auto *archive = new TarArchive;
        QCOMPARE(tar_open(archive, qPrintable(path), "r"), int(TAR_ESUCCESS));
        MorvexWindowProbe::zfwArchive(*w) = archive;
        watchedObject = archive;
    } else {
        auto *archive = new QuaZip(path);
        QVERIFY(archive->open(QuaZip::mdUnzip));
        MorvexWindowProbe::zpackArchive(*w) = archive;
        watchedObject = archive;
    }
    QCOMPARE(openHandlesOn(path), 1);
    watchedFreed = false;
    delete w;
    watchedObject = nullptr;
    QVERIFY(watchedFreed);
    QCOMPARE(openHandlesOn(path), 0);
}

QTEST_MAIN(tst_Packages)
#include "tst_packages.moc"
