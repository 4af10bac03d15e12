// Packages through the real window: zpack and zfw unpacked onto the virtual board.
#include "morvexwindowprobe.h"
#include "tarreader.h"
#include "testsupport.h"
#include "virtualboard.h"

#include <QAction>
#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeView>

#include <quazip.h>

namespace {
using Members = QList<QPair<QString, QByteArray>>;

// How many of this process's file descriptors are open on path.
int openHandlesOn(const QString &path)
{
    const QDir fds(QStringLiteral("/proc/self/fd"));
    int count = 0;
    for (const QString &fd : fds.entryList(QDir::Files | QDir::System | QDir::NoDotAndDotDot))
        count += QFileInfo(fds.filePath(fd)).symLinkTarget() == QFileInfo(path).canonicalFilePath();
    return count;
}

const QString question = QStringLiteral("This is an update package. Do you want to unpack it and upload its contents?");
} // namespace

class tst_Packages : public QObject
{
    Q_OBJECT

private slots:
    void init() { sandbox.clear(); }
    // On STM32 a zpack names board paths and a zfw's names stand relative to the board folder, or absolute;
    // the ESP32's relative names run in the delivery-mode suite.
    void unpack()
    {
        VirtualBoard board;
        QVERIFY(board.start({"--delivery", "uart"}));
        MorvexWindow w;
        QVERIFY(connectBoard(w, board, 0));
        QTemporaryDir local;
        w.setPcFolder(local.path());
        const Members zipped{{"/flash/main.py", "print('main')\n"},
                             {"/flash/lib/util.py", "def util():\n    return 1\n"},
                             {"/flash/lib/sub/deep.bin", randomBytes(20000, 1)}}; // two seconds at the line rate
        const QString zpack = local.filePath(QStringLiteral("fw.zpack"));
        QVERIFY(writeZip(zpack, zipped, QStringLiteral("Test pack 1.0")));
        const Members tarred{{"lib/", QByteArray()}, {"lib/util.py", "def util():\n    return 2\n"},
                             {"lib/sub/deep.bin", randomBytes(2100, 2)}, {"/flash/top.py", "print('top')\n"}, {"empty/", ""}};
        const QString zfw = local.filePath(QStringLiteral("fw.zfw"));
        QVERIFY(writeZfw(zfw, {{"board", "PYBv1.1"}, {"mod", "flash"}, {"comment", QStringLiteral("a=сборка")}}, tarred));
        const auto clickPackage = [&](const QString &path) {
            doubleClick(w.findChild<QTreeView *>(QStringLiteral("pcFileList")), MorvexWindowProbe::pcModel(w).index(path));
        };
        {
            // The zfw asked for while the zpack goes up is refused; the warning has no Yes and is closed.
            QScopedPointer<DialogAnswerer> answer(DialogAnswerer::messageBox(QMessageBox::Yes));
            ActWhen second([&] { return !syslogMessages(w).filter(QStringLiteral(" from zpack")).isEmpty(); },
                           [&] { clickPackage(zfw); });
            clickPackage(zpack);
            QVERIFY(second.done());
            QCOMPARE(answer->texts(), (QStringList{question, question, "A package is being uploaded. Please wait"}));
        }
        QStringList expected{"Loading zpack for Test pack 1.0", "Creating dir /flash/lib/sub"};
        for (const auto &member : zipped)
            expected << QStringLiteral("Uploading %1 from zpack").arg(member.first);
        QVERIFY2(inOrder(syslogMessages(w), expected << "ZPack uploaded!"), qPrintable(syslogText(w)));
        for (const auto &member : zipped)
            QCOMPARE(board.readFile(member.first.mid(7)), member.second);
        QVERIFY(!MorvexWindowProbe::zpackArchive(w));

        // The zfw again, through Upload Package.
        const int before = syslogMessages(w).size();
        {
            QScopedPointer<DialogAnswerer> answer(DialogAnswerer::fileName(zfw));
            windowAction(w, "actionUpload_Package")->trigger();
        }
        // The pax comment keeps its own "=" and comes as UTF-8. The folders are made while the archive
        // is read, and its files then go up in one batch.
        expected = QStringList{"Loading zfw from " + zfw, "ZFW firmware package is for PYBv1.1/flash (a=сборка)",
                               "Creating dir lib", "Creating dir lib/sub", "Creating dir empty", "Uploading lib/util.py",
                               "Uploading lib/sub/deep.bin", "Uploading /flash/top.py", "ZFW firmware pack uploaded!"};
        QVERIFY2(inOrder(syslogMessages(w).mid(before), expected), qPrintable(syslogText(w)));
        for (const auto &member : tarred.mid(1))
            QCOMPARE(board.readFile(member.first.mid(member.first.startsWith('/') ? 7 : 0)), member.second);
        QVERIFY(QFileInfo(board.fsPath() + QStringLiteral("/empty")).isDir());
        // The pane is listed again and the actions are back.
        QVERIFY(boardRow(w, QStringLiteral("top.py")).isValid());
        QVERIFY(windowAction(w, "actionUpload_Package")->isEnabled());

        // A relative zpack name: its folder is made in the board folder, its file goes to the root, where a pyboard has none.
        QVERIFY(writeZip(zpack, {{"pk/rel.py", "x = 1\n"}}));
        const int uploaded = syslogMessages(w).count(QStringLiteral("ZPack uploaded!"));
        w.uploadZPack(zpack);
        QCOMPARE(syslogMessages(w).count(QStringLiteral("ZPack uploaded!")), uploaded);
        QVERIFY(QFileInfo(board.fsPath() + QStringLiteral("/pk")).isDir() && !board.exists(QStringLiteral("pk/rel.py")));
    }

    void faults_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QByteArray>("package");
        QTest::addColumn<QStringList>("logged");   // in this order; %1 is the package's path
        QTest::addColumn<QStringList>("unlogged"); // texts no line may hold
        QTest::addColumn<QVariantMap>("onBoard");  // board path: content; an invalid value: absent (none: nothing sent)

        QTemporaryDir scratch;
        const QString zip = scratch.filePath(QStringLiteral("p.zip"));
        const QString tar = scratch.filePath(QStringLiteral("p.tar"));
        const QByteArray a = "alpha\n";
        const QByteArray b = randomBytes(2000, 3);
        const QString done = QStringLiteral("ZPack uploaded!");
        const QString zfwDone = QStringLiteral("ZFW firmware pack uploaded!");
        const QVariant none;

        QTest::newRow("not a zip") << "plain.zpack" << QByteArray("just text\n")
            << QStringList{"Invalid package %1 - maybe not an zpack?"}
                                   << QStringList{"Loading zpack for "} << QVariantMap();
        QVERIFY(writeZip(zip, {{"a.txt", a}, {"b.bin", b}}));
        QByteArray broken = readLocalFile(zip);
        broken[broken.indexOf("PK\x03\x04", 4) + 2] = 'X'; // the second member's local header signature
        QTest::newRow("broken member") << "broken.zpack" << broken
                                       << QStringList{"Uploading a.txt from zpack", "ZPack is broken (cannot read b.bin). Abort"}
                                       << QStringList{done} << QVariantMap{{"a.txt", a}, {"b.bin", none}};
        QVERIFY(writeZip(zip, {{"first.txt", a}, {"dir/", QByteArray()}, {"dir/late.txt", a}}));
        QTest::newRow("zip with a directory member ends in its upload")
            << "withdir.zpack" << readLocalFile(zip) << QStringList{"Uploading first.txt from zpack", "Uploading dir/ from zpack"}
            << QStringList{done, "Uploading dir/late.txt from zpack"} << QVariantMap{{"first.txt", a}, {"dir/late.txt", none}};

        QVERIFY(writeZfw(tar, {}, {{"a.txt", a}, {"b.bin", b}}));
        const QByteArray whole = readLocalFile(tar);
        // 700 bytes of b.bin's data are left; the rest goes up as zeros.
        QTest::newRow("truncated zfw") << "cut.zfw" << whole.left(1024 + 512 + 700)
                                       << QStringList{"Uploading a.txt", "Uploading b.bin", zfwDone} << QStringList()
                                       << QVariantMap{{"a.txt", a}, {"b.bin", b.left(700) + QByteArray(1300, '\0')}};
        QByteArray flipped = whole;
        flipped[1024] = char(flipped.at(1024) ^ 0x20);
        QTest::newRow("a bad record after the first still reports success")
            << "flipped.zfw" << flipped << QStringList{"Uploading a.txt", zfwDone} << QStringList{"Uploading b.bin"}
            << QVariantMap{{"a.txt", a}, {"b.bin", none}};
        flipped = whole;
        flipped[0] = char(flipped.at(0) ^ 0x20);
        QTest::newRow("a bad first record") << "bad.zfw" << flipped << QStringList{"Cannot read zfw package: -6"}
                                            << QStringList{"Loading zfw from %1"} << QVariantMap();
        QVERIFY(writeZfw(tar, {{"board", "PYBv1.1"}, {"comment", "no mod"}}, {{"a.txt", a}}));
        QTest::newRow("board without mod: no package line")
            << "nomod.zfw" << readLocalFile(tar) << QStringList{"Loading zfw from %1", "Uploading a.txt", zfwDone}
            << QStringList{"ZFW firmware package is for"} << QVariantMap{{"a.txt", a}};
        QTest::newRow("unsupported type") << "notes.txt" << QByteArray("text\n") << QStringList{"Unsupported package type"}
                                          << QStringList() << QVariantMap();
    }

    void faults()
    {
        QFETCH(QString, file);
        QFETCH(QByteArray, package);
        QFETCH(QStringList, logged);
        QFETCH(QStringList, unlogged);
        QFETCH(QVariantMap, onBoard);
        QTemporaryDir local;
        const QString path = local.filePath(file);
        QVERIFY(writeLocalFile(path, package));
        // The ESP32's board folder is "/", where the relative names of these packages land.
        VirtualBoard board;
        QVERIFY(board.start({"--family", "esp32"}));
        MorvexWindow w;
        QVERIFY(connectBoard(w, board, 1));
        const int sent = board.received().size();
        const int before = syslogMessages(w).size();
        QScopedPointer<DialogAnswerer> answer(DialogAnswerer::fileName(path));
        windowAction(w, "actionUpload_Package")->trigger();
        QCOMPARE(answer->answered(), 1);
        const QStringList log = syslogMessages(w).mid(before);
        QVERIFY2(inOrder(log, logged.replaceInStrings(QStringLiteral("%1"), path)), qPrintable(log.join('\n')));
        for (const QString &text : unlogged.replaceInStrings(QStringLiteral("%1"), path))
            QVERIFY2(log.filter(text).isEmpty(), qPrintable(text));
        for (auto it = onBoard.cbegin(); it != onBoard.cend(); ++it) {
            QCOMPARE(board.exists(it.key()), it.value().isValid());
            QCOMPARE(board.readFile(it.key()), it.value().toByteArray());
        }
        if (onBoard.isEmpty())
            QCOMPARE(board.received().size(), sent);
        QVERIFY(!MorvexWindowProbe::zpackArchive(w) && !MorvexWindowProbe::zfwArchive(w));
    }

    // A window that goes while packages are held open, as when the application quits inside an upload's wait.
    void windowReleasesArchive()
    {
        QTemporaryDir local;
        const QString zfw = local.filePath(QStringLiteral("held.zfw"));
        const QString zpack = local.filePath(QStringLiteral("held.zpack"));
        QVERIFY(writeZfw(zfw, {}, {{"a.txt", "a"}}) && writeZip(zpack, {{"a.txt", "a"}}));
        auto *w = new MorvexWindow;
        MorvexWindowProbe::zfwArchive(*w) = new TarArchive;
        QCOMPARE(tar_open(MorvexWindowProbe::zfwArchive(*w), qPrintable(zfw), "r"), int(TAR_ESUCCESS));
        MorvexWindowProbe::zpackArchive(*w) = new QuaZip(zpack);
        QVERIFY(MorvexWindowProbe::zpackArchive(*w)->open(QuaZip::mdUnzip));
        QCOMPARE(openHandlesOn(zfw) + openHandlesOn(zpack), 2);
        delete w;
        QCOMPARE(openHandlesOn(zfw), 0);
        QCOMPARE(openHandlesOn(zpack), 0);
    }

private:
    SettingsSandbox sandbox;
};

QTEST_MAIN(tst_Packages)
#include "tst_packages.moc"
