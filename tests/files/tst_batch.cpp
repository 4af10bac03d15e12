// Batched uploads through the real window: every size at every chunk in every delivery mode, a file
// that cannot be opened, Abort, a user's own upload script, a board that drops what it does not read,
// and the operations that send their files in a batch.
#include "batchitem.h"
#include "morvexwindowprobe.h"
#include "testsupport.h"
#include "virtualboard.h"

#include <QAction>
#include <QFile>
#include <QItemSelectionModel>
#include <QProgressBar>
#include <QRegularExpression>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeView>

#include <memory>

namespace {
using Files = QList<QPair<QString, QByteArray>>; // board paths relative to the board folder, and contents

QList<BatchItem> batch(const QString &root, const Files &files)
{
    QList<BatchItem> items;
    for (const auto &file : files)
        items << BatchItem::fromData(file.second, root + file.first);
    return items;
}

QStringList targets(const QString &root, const Files &files)
{
    QStringList paths;
    for (const auto &file : files)
        paths << root + file.first;
    return paths;
}

// The first file on the board that differs from what was sent, or empty.
QString firstDifference(const VirtualBoard &board, const Files &files)
{
    for (const auto &file : files) {
        if (board.readFile(file.first) != file.second)
            return file.first;
    }
    return QString();
}

QString logSince(MorvexWindow &w, int from)
{
    return syslogMessages(w).mid(from).join('\n');
}
} // namespace

class tst_Batch : public QObject
{
    Q_OBJECT

private slots:
    void init() { sandbox.clear(); }
    void cleanupTestCase() { shared.reset(); }
    void modes_data();
    void modes();
    void smallBuffer_data();
    void smallBuffer();
    void users_data();
    void users();

private:
    SettingsSandbox sandbox;
    QTemporaryDir local;
    struct Session {
        VirtualBoard board;
        MorvexWindow window;
    };
    std::unique_ptr<Session> shared; // of users
};

void tst_Batch::modes_data()
{
    QTest::addColumn<QString>("mode");
    QTest::addColumn<int>("family");
    QTest::newRow("usb stm32") << "usb" << 0;
    QTest::newRow("uart esp32") << "uart" << 1;
    QTest::newRow("bytes stm32") << "bytes" << 0;
    QTest::newRow("random esp32") << "random" << 1;
}

// One board per mode through each case in turn, each leaving the board ready for the next.
void tst_Batch::modes()
{
    QFETCH(QString, mode);
    QFETCH(int, family);
    VirtualBoard board;
    QVERIFY(board.start(VirtualBoard::familyArgs(family) + VirtualBoard::deliveryArgs(mode)));
    MorvexWindow w;
    QVERIFY2(connectBoard(w, board, family, 30000), qPrintable(syslogText(w) + board.errors()));
    const QString root = family ? QStringLiteral("/") : QStringLiteral("/flash/");
    const bool slow = mode == QLatin1String("uart") || mode == QLatin1String("bytes");
    auto *bar = w.findChild<QProgressBar *>(QStringLiteral("progressBar"));
    const QString format = bar->format();

    // Every size at every chunk, one batch a chunk. At the line rate 64 KiB takes eight seconds: once is enough there.
    for (int chunk : {32, 512, 1024}) {
        QSettings().setValue(QStringLiteral("MC/TransferSize"), chunk);
        Files files;
        for (int size : {0, 1, 255, 256, 257, 3000, 65536}) {
            if (size != 65536 || !slow || chunk == 512)
                files << qMakePair(QStringLiteral("s%1_%2.bin").arg(chunk).arg(size), randomBytes(size, quint32(size + chunk)));
        }
        QStringList shown;
        ActWhen watch([&] { return !bar->isHidden() && (shown << bar->text(), false); }, [] {});
        const int sent = board.received().size(), from = syslogMessages(w).size();
        QVERIFY2(w.uploadBatch(batch(root, files)), qPrintable(logSince(w, from)));
        QVERIFY2(firstDifference(board, files).isEmpty(), qPrintable(firstDifference(board, files)));
        // One script, one run, one header a file, and no single upload.
        const QByteArray bytes = board.received().mid(sent);
        QCOMPARE(batchTargets(bytes), targets(root, files));
        QCOMPARE(bytes.count("def _batch("), 1);
        QVERIFY(!bytes.contains("_upload("));
        const QRegularExpression whole(QStringLiteral("^\\d+% \\(file [1-7] of %1, \\d+ of \\d+ bytes\\)$").arg(files.size()));
        QVERIFY2(!shown.filter(whole).isEmpty(), qPrintable(shown.join('\n')));
        QVERIFY(bar->isHidden());
        QCOMPARE(bar->format(), format);
        QVERIFY(windowAction(w, "actionUpload")->isEnabled());
    }
    QSettings().remove(QStringLiteral("MC/TransferSize"));

    // The third file cannot be opened: the two before stay, the failure is told in the single upload's words
    // (the board's "#8" and its reason, as hexadecimal digits), and the board answers the next command.
    const Files failing{{"m1.bin", randomBytes(700, 1)}, {"m2.bin", randomBytes(2000, 2)},
                        {"nodir/m3.bin", randomBytes(500, 3)}, {"m4.bin", randomBytes(100, 4)}};
    int from = syslogMessages(w).size();
    QVERIFY(!w.uploadBatch(batch(root, failing)));
    QStringList log = syslogMessages(w).mid(from);
    const QStringList finishedTwo{"Finished uploading to " + root + "m1.bin", "Finished uploading to " + root + "m2.bin"};
    QVERIFY2(log.filter(QStringLiteral("Finished uploading to ")) == finishedTwo, qPrintable(log.join('\n')));
    QVERIFY2(QRegularExpression(QStringLiteral("^Invalid reply 2338[0-9A-F]+\\. Aborted$")).match(log.constLast()).hasMatch(),
             qPrintable(log.join('\n')));
    QVERIFY(firstDifference(board, failing.mid(0, 2)).isEmpty());
    QVERIFY(!board.exists(QStringLiteral("nodir")) && !board.exists(QStringLiteral("m4.bin")));
    QVERIFY(!windowAction(w, "actionUpload")->isEnabled()); // as after a single upload that failed
    w.changeBoardDir(root);
    QVERIFY2(boardRow(w, QStringLiteral("m2.bin")).isValid(), qPrintable(logSince(w, from)));

    // Abort in the middle: the files before stay, none after is begun, and the board is at its prompt.
    const int size = slow ? 4000 : 40000, encoded = (size + 2) / 3 * 4;
    Files five;
    for (int i = 1; i <= 5; ++i)
        five << qMakePair(QStringLiteral("a%1.bin").arg(i), randomBytes(size, quint32(20 + i)));
    from = syslogMessages(w).size();
    ActWhen abort([&] { return !bar->isHidden() && bar->value() >= 2 * encoded + encoded / 2; },
                  [&] { windowAction(w, "actionAbort")->trigger(); });
    QVERIFY(!w.uploadBatch(batch(root, five)));
    QVERIFY(abort.done());
    log = syslogMessages(w).mid(from);
    const int finished = log.filter(QStringLiteral("Finished uploading to ")).size();
    QVERIFY2(log.contains(QStringLiteral("Stopped")) && finished >= 2 && finished < 5, qPrintable(log.join('\n')));
    QVERIFY(firstDifference(board, five.mid(0, finished)).isEmpty());
    for (const auto &file : five.mid(finished + 1))
        QVERIFY2(!board.exists(file.first), qPrintable(file.first));
    QVERIFY2(log.filter(QRegularExpression(QStringLiteral("Aborted$"))).isEmpty(), qPrintable(log.join('\n')));
    QVERIFY(bar->isHidden());
    QVERIFY(windowAction(w, "actionUpload")->isEnabled());
    const Files after{{"after.bin", randomBytes(900, 5)}};
    QVERIFY2(w.uploadBatch(batch(root, after)) && firstDifference(board, after).isEmpty(), qPrintable(logSince(w, from)));

    // With an upload script of the user's own, each file goes as a single upload through it.
    QFile resource(family ? QStringLiteral(":/data/upload_e.py") : QStringLiteral(":/data/upload.py"));
    QVERIFY(resource.open(QIODevice::ReadOnly));
    const QString script = local.filePath(QStringLiteral("own_upload.py"));
    QVERIFY(writeLocalFile(script, resource.readAll()));
    QSettings().setValue(QStringLiteral("Scripts/Upload"), script);
    const Files own{{"c1.bin", randomBytes(10, 6)}, {"c2.bin", randomBytes(1500, 7)}, {"c3.bin", QByteArray()}};
    const int sent = board.received().size();
    from = syslogMessages(w).size();
    QVERIFY2(w.uploadBatch(batch(root, own)), qPrintable(logSince(w, from)));
    QVERIFY(firstDifference(board, own).isEmpty());
    QVERIFY(waitFor([&] { return board.received().endsWith("\x01"); }, 5000)); // the last re-prompt
    const QByteArray bytes = board.received().mid(sent);
    QCOMPARE(bytes.count("_upload('"), 3);
    QVERIFY(!bytes.contains("_batch("));
}

void tst_Batch::smallBuffer_data()
{
    QTest::addColumn<QString>("mode");
    QTest::addColumn<int>("family");
    QTest::newRow("uart esp32") << "uart" << 1;
    QTest::newRow("usb stm32") << "usb" << 0;
}

// A UART without flow control keeps 64 bytes while the board's program is not reading: the batch, which
// sends a packet only when the board reads, loses nothing, and the single upload goes as it always went.
void tst_Batch::smallBuffer()
{
    QFETCH(QString, mode);
    QFETCH(int, family);
    VirtualBoard board;
    QVERIFY(board.start(VirtualBoard::familyArgs(family) + VirtualBoard::deliveryArgs(mode)
                        << QStringLiteral("--rx-buffer") << QStringLiteral("64")));
    MorvexWindow w;
    QVERIFY2(connectBoard(w, board, family, 30000), qPrintable(syslogText(w) + board.errors()));
    const QString root = family ? QStringLiteral("/") : QStringLiteral("/flash/");
    for (int chunk : {512, 1024}) {
        QSettings().setValue(QStringLiteral("MC/TransferSize"), chunk);
        Files files;
        for (int size : {0, 300, 3000, 20000})
            files << qMakePair(QStringLiteral("n%1_%2.bin").arg(chunk).arg(size), randomBytes(size, quint32(size * 7 + chunk)));
        const int from = syslogMessages(w).size();
        QVERIFY2(w.uploadBatch(batch(root, files)), qPrintable(logSince(w, from) + board.errors()));
        QVERIFY2(firstDifference(board, files).isEmpty(), qPrintable(firstDifference(board, files)));
    }
    QSettings().remove(QStringLiteral("MC/TransferSize"));
    const QByteArray data = randomBytes(3000, 8), encoded = data.toBase64();
    const int sent = board.received().size();
    QVERIFY(uploadBytes(w, data, root + QStringLiteral("single.bin")));
    QCOMPARE(board.readFile(QStringLiteral("single.bin")), data);
    QVERIFY(waitFor([&] { return board.received().endsWith("\x01"); }, 5000));
    quint32 sum = 0;
    for (const char c : encoded)
        sum += quint8(c);
    const QByteArray packets = "_upload('" + root.toLatin1() + "single.bin', 512)\x04!0000004000" + encoded + '@'
                               + QByteArray::number(sum).rightJustified(10, '0') + '\x01';
    QVERIFY(board.received().mid(sent).endsWith(packets));
    QVERIFY2(!board.errors().contains(QStringLiteral("dropped")), qPrintable(board.errors()));
}

void tst_Batch::users_data()
{
    QTest::addColumn<QString>("user");
    QTest::addColumn<QStringList>("sent"); // the targets of the batch, in order
    QTest::newRow("synchronisation") << "sync" << QStringList{"/flash/sy/lib/c.py", "/flash/sy/a.py", "/flash/sy/b.txt"};
    // In the order of their paths; the file in a subfolder asks for its target first.
    QTest::newRow("PC pane selection") << "selection" << QStringList{"/flash/sub/x3.txt", "/flash/x1.txt", "/flash/x2.txt"};
    // A name from a package goes to the board as UTF-8.
    QTest::newRow("zpack") << "zpack" << QStringList{"/flash/zp/a.py", "/flash/zp/b/c.bin", "/flash/zp/\u00fc.txt"};
    QTest::newRow("zfw") << "zfw" << QStringList{"/flash/zf/a.py", "/flash/zf/b/c.bin"};
}

// The operations that send several files send them in one batch.
void tst_Batch::users()
{
    QFETCH(QString, user);
    QFETCH(QStringList, sent);
    if (!shared) {
        shared.reset(new Session);
        QVERIFY(shared->board.start());
        QVERIFY(connectBoard(shared->window, shared->board, 0));
    }
    VirtualBoard &board = shared->board;
    MorvexWindow &w = shared->window;
    QTemporaryDir folder;
    const Files content{{"a.py", "print('a')\n"}, {"b/c.bin", randomBytes(2500, 9)}};
    const int before = board.received().size();
    if (user == QLatin1String("sync")) {
        QVERIFY(QDir(board.fsPath()).mkpath(QStringLiteral("sy/lib")));
        const Files tree{{"a.py", "a\n"}, {"b.txt", "b\n"}, {"lib/c.py", "c\n"}};
        for (const auto &file : tree)
            QVERIFY(writeLocalFile(folder.filePath(file.first), file.second));
        w.changeBoardDir(QStringLiteral("/flash/sy"));
        w.syncFiles(folder.path(), MorvexWindow::collectLocalFiles(folder.path(), QString(), true), true);
    } else if (user == QLatin1String("selection")) {
        for (const char *name : {"x1.txt", "x2.txt", "sub/x3.txt", "y.txt"})
            QVERIFY(writeLocalFile(folder.filePath(name), name));
        w.setPcFolder(folder.path());
        w.changeBoardDir(QStringLiteral("/flash"));
        auto *view = w.findChild<QTreeView *>(QStringLiteral("pcFileList"));
        const QFileSystemModel &model = MorvexWindowProbe::pcModel(w);
        for (const char *name : {"x2.txt", "sub/x3.txt", "x1.txt", "sub"})
            view->selectionModel()->select(model.index(folder.filePath(name)), QItemSelectionModel::Select | QItemSelectionModel::Rows);
        {
            QScopedPointer<DialogAnswerer> keep(DialogAnswerer::messageBox(QMessageBox::Yes));
            windowAction(w, "actionUpload")->trigger();
            QCOMPARE(keep->texts(), QStringList{"Keep the subdirectory structure?"});
        }
        QCOMPARE(board.readFile(QStringLiteral("sub/x3.txt")), QByteArray("sub/x3.txt"));
        // A single selected file keeps the single upload.
        const int single = board.received().size();
        view->selectionModel()->setCurrentIndex(model.index(folder.filePath(QStringLiteral("y.txt"))),
                                                QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
        windowAction(w, "actionUpload")->trigger();
        QCOMPARE(board.readFile(QStringLiteral("y.txt")), QByteArray("y.txt"));
        QVERIFY(board.received().mid(single).contains("_upload('/flash/y.txt', 512)\x04"));
        QVERIFY(!board.received().mid(single).contains("_batch("));
        QVERIFY(boardRow(w, QStringLiteral("x2.txt")).isValid()); // listed again
    } else if (user == QLatin1String("zpack")) {
        const QString path = folder.filePath(QStringLiteral("p.zpack"));
        QVERIFY(writeZip(path, {{"/flash/zp/a.py", content.at(0).second}, {"/flash/zp/b/c.bin", content.at(1).second},
                                {QStringLiteral("/flash/zp/\u00fc.txt"), "u"}}));
        w.uploadZPack(path);
    } else {
        const QString path = folder.filePath(QStringLiteral("p.zfw"));
        QVERIFY(writeZfw(path, {}, {{"/flash/zf/a.py", content.at(0).second}, {"/flash/zf/b/c.bin", content.at(1).second}}));
        w.uploadZfw(path);
    }
    const QByteArray bytes = board.received().mid(before);
    QCOMPARE(batchTargets(bytes), sent);
    QCOMPARE(bytes.count("def _batch("), 1);
    QVERIFY(!bytes.left(bytes.indexOf("def _batch(")).contains("_upload("));
    for (const QString &target : sent)
        QVERIFY2(board.exists(target.mid(7)), qPrintable(target));
    QVERIFY(windowAction(w, "actionUpload")->isEnabled());
}

QTEST_MAIN(tst_Batch)
#include "tst_batch.moc"
