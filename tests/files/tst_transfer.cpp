// Upload and download round trips through the real window and the virtual board.
#include "morvexwindowprobe.h"
#include "testsupport.h"
#include "virtualboard.h"

#include <QAction>
#include <QBuffer>
#include <QFile>
#include <QProgressBar>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace {
// The board path prefix and the host-relative path of a board file.
QString boardPath(int family, const QString &name)
{
    return (family ? QStringLiteral("/") : QStringLiteral("/flash/")) + name;
}
} // namespace

class tst_Transfer : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void roundTrip_data();
    void roundTrip();
    void emptyUploadPackets();
    void uploadToMissingDirectory();
    void checksumMismatch_data();
    void checksumMismatch();
    void boardSumMustFitIn32Bits();
    void sumPastTwoTo32();
    void boardVanishesDuringUpload();
    void downloadMissingFile();
    void targetKeptAsItStands_data();
    void targetKeptAsItStands();
    void downloadOverwriteQuestion_data();
    void downloadOverwriteQuestion();
    void forbiddenCharacters_data();
    void forbiddenCharacters();

private:
    struct Session {
        VirtualBoard board;
        std::unique_ptr<MorvexWindow> window;
    };
    Session *session(int family);

    SettingsSandbox sandbox;
    QTemporaryDir local;
    std::unique_ptr<Session> sessions[2];
};

void tst_Transfer::initTestCase()
{
    QVERIFY(local.isValid());
}

void tst_Transfer::cleanupTestCase()
{
    for (auto &s : sessions)
        s.reset();
}

tst_Transfer::Session *tst_Transfer::session(int family)
{
    auto &s = sessions[family];
    if (s && s->window && MorvexWindowProbe::port(*s->window).isOpen())
        return s.get();
    s.reset(new Session);
    if (!s->board.start({QStringLiteral("--family"), family ? QStringLiteral("esp32") : QStringLiteral("stm32")}))
        return nullptr;
    s->window.reset(new MorvexWindow);
    if (!connectBoard(*s->window, s->board, family))
        return nullptr;
    return s.get();
}

void tst_Transfer::roundTrip_data()
{
    QTest::addColumn<int>("family");
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("chunk");

    // Every size at the default chunk; the others once, past several chunks. The
    // delivery-mode suite goes through every size at every chunk.
    for (int family : {0, 1}) {
        for (int chunk : {32, 512, 1024}) {
            for (int size : {0, 1, 255, 256, 257, 3000, 65536}) {
                if (chunk != 512 && size != 3000)
                    continue;
                const QByteArray name = QStringLiteral("%1 %2 bytes chunk %3")
                                            .arg(family ? QStringLiteral("esp32") : QStringLiteral("stm32"))
                                            .arg(size)
                                            .arg(chunk)
                                            .toLatin1();
                QTest::newRow(name.constData()) << family << size << chunk;
            }
        }
    }
}

void tst_Transfer::roundTrip()
{
    QFETCH(int, family);
    QFETCH(int, size);
    QFETCH(int, chunk);
    Session *s = session(family);
    QVERIFY(s);
    MorvexWindow &w = *s->window;
    QSettings().setValue(QStringLiteral("MC/TransferSize"), chunk);

    const QString name = QStringLiteral("rt_%1_%2.bin").arg(size).arg(chunk);
    QByteArray data = randomBytes(size, quint32(size * 31 + chunk + family));
    QBuffer source(&data);
    QVERIFY(source.open(QIODevice::ReadOnly));
    QVERIFY(w.uploadData(source, boardPath(family, name)));
    QCOMPARE(s->board.readFile(name), data);
    QVERIFY(syslogMessages(w).contains(QStringLiteral("Finished uploading to %1").arg(boardPath(family, name))));
    QVERIFY(w.findChild<QAction *>("actionUpload")->isEnabled());
    QVERIFY(w.findChild<QProgressBar *>("progressBar")->isHidden());

    const QString localPath = local.filePath(name);
    // As after every upload in the program, the board's re-prompt is taken in before the next operation.
    w.settleBoard(false);
    QVERIFY(w.downloadToFile(boardPath(family, name), localPath));
    QVERIFY2(syslogMessages(w).contains(QStringLiteral("Download from %1 completed").arg(boardPath(family, name))),
             qPrintable(syslogMessages(w).mid(syslogMessages(w).size() - 5).join('\n')));
    QFile downloaded(localPath);
    QVERIFY(downloaded.open(QIODevice::ReadOnly));
    QCOMPARE(downloaded.readAll(), data);
}

void tst_Transfer::emptyUploadPackets()
{
    Session *s = session(0);
    QVERIFY(s);
    QSettings().remove(QStringLiteral("MC/TransferSize"));
    QByteArray empty;
    QBuffer source(&empty);
    QVERIFY(source.open(QIODevice::ReadOnly));
    const int before = s->board.received().size();
    QVERIFY(s->window->uploadData(source, QStringLiteral("/flash/empty.bin")));
    const QByteArray sent = s->board.received().mid(before);
    QVERIFY(sent.contains("_upload('/flash/empty.bin', 512)\x04"));
    QVERIFY(sent.contains("!0000000000"));
    QVERIFY(sent.contains("@0000000000"));
    QVERIFY(waitFor([&] { return s->board.received().endsWith("\x01"); }, 5000));
    QVERIFY(s->board.exists(QStringLiteral("empty.bin")));
    QCOMPARE(s->board.readFile(QStringLiteral("empty.bin")).size(), 0);
}

void tst_Transfer::uploadToMissingDirectory()
{
    Session *s = session(0);
    QVERIFY(s);
    MorvexWindow &w = *s->window;
    QByteArray data = randomBytes(700, 7);
    QBuffer source(&data);
    QVERIFY(source.open(QIODevice::ReadOnly));
    QVERIFY(!w.uploadData(source, QStringLiteral("/flash/nodir/x.bin")));
    QCOMPARE(syslogMessages(w).constLast(), QStringLiteral("Transmission error. Aborted"));
    QVERIFY(!s->board.exists(QStringLiteral("nodir")));
    // The board actions stay off after a failure. The swallowed packet is a half
    // command in the raw REPL, which Ctrl-C discards silently: Abort fails, Reset helps.
    QVERIFY(!w.findChild<QAction *>("actionUpload")->isEnabled());
    QVERIFY(w.findChild<QAction *>("actionAbort")->isEnabled());
    w.findChild<QAction *>("actionAbort")->trigger();
    QCOMPARE(syslogMessages(w).constLast(), QStringLiteral("Abort failed"));
    w.findChild<QAction *>("actionReset")->trigger();
    QVERIFY2(waitFor([&] { return w.findChild<QAction *>("actionUpload")->isEnabled(); }, 15000),
             qPrintable(syslogMessages(w).mid(syslogMessages(w).size() - 15).join(QLatin1Char('\n'))
                        + s->board.errors() + QString::fromLatin1(s->board.transcript().right(600))));
}

void tst_Transfer::checksumMismatch_data()
{
    QTest::addColumn<bool>("upload");
    QTest::newRow("desktop to board") << true;
    QTest::newRow("board to desktop") << false;
}

void tst_Transfer::checksumMismatch()
{
    QFETCH(bool, upload);
    VirtualBoard board;
    QVERIFY(board.start({upload ? QStringLiteral("--corrupt-rx") : QStringLiteral("--corrupt-tx"),
                         upload ? QStringLiteral("_upload:20") : QStringLiteral("_download:10")}));
    MorvexWindow w;
    QVERIFY(connectBoard(w, board, 0));
    const QByteArray data = QByteArray("The quick brown fox jumps over the lazy dog. ").repeated(20);
    if (upload) {
        QByteArray copy = data;
        QBuffer source(&copy);
        QVERIFY(source.open(QIODevice::ReadOnly));
        QVERIFY(!w.uploadData(source, QStringLiteral("/flash/bad.txt")));
        const QString last = syslogMessages(w).constLast();
        // "#4" and the board's text, as hexadecimal digits.
        QVERIFY2(last.startsWith(QStringLiteral("Invalid reply 2334")) && last.endsWith(QStringLiteral(". Aborted")),
                 qPrintable(last));
    } else {
        QVERIFY(board.writeFile(QStringLiteral("good.txt"), data));
        QVERIFY(w.downloadToFile(QStringLiteral("/flash/good.txt"), local.filePath(QStringLiteral("good.txt"))));
        const QStringList mismatch = syslogMessages(w).filter(QStringLiteral("File downloaded with errors!! (checksum mismatch "));
        QCOMPARE(mismatch.size(), 1);
        QVERIFY(!mismatch.constFirst().endsWith(QLatin1Char(')')));
    }
}

void tst_Transfer::boardSumMustFitIn32Bits()
{
    // A replaced download script that reports an unmasked sum: its high half
    // is not 0, so the download is reported as a mismatch.
    QFile original(QStringLiteral(":/data/download.py"));
    QVERIFY(original.open(QIODevice::ReadOnly));
    QByteArray script = original.readAll();
    QVERIFY(script.contains("csum & 0xFFFFFFFF"));
    script.replace("csum & 0xFFFFFFFF", "(csum & 0xFFFFFFFF) + (1 << 32)");
    const QString path = local.filePath(QStringLiteral("unmasked.py"));
    QFile replacement(path);
    QVERIFY(replacement.open(QIODevice::WriteOnly));
    replacement.write(script);
    replacement.close();
    QSettings().setValue(QStringLiteral("Scripts/Download"), path);

    Session *s = session(1);
    QVERIFY(s);
    QVERIFY(s->board.writeFile(QStringLiteral("three.bin"), "abc"));
    QVERIFY(s->window->downloadToFile(QStringLiteral("/three.bin"), local.filePath(QStringLiteral("three.bin"))));
    QSettings().remove(QStringLiteral("Scripts/Download"));
    const quint64 sum = 'a' + 'b' + 'c';
    QVERIFY2(syslogMessages(*s->window).contains(QStringLiteral("File downloaded with errors!! (checksum mismatch %1 vs %2")
                                                     .arg((quint64(1) << 32) + sum)
                                                     .arg(sum)),
             qPrintable(syslogMessages(*s->window).mid(syslogMessages(*s->window).size() - 4).join('\n')));
}

void tst_Transfer::sumPastTwoTo32()
{
    Session *s = session(1);
    QVERIFY(s);
    const QByteArray data(16843100, char(0xFF)); // 255 x 16843100 > 2^32
    QVERIFY(s->board.writeFile(QStringLiteral("huge.bin"), data));
    QVERIFY(s->window->downloadToFile(QStringLiteral("/huge.bin"), local.filePath(QStringLiteral("huge.bin"))));
    QVERIFY(syslogMessages(*s->window).contains(QStringLiteral("Download from /huge.bin completed")));
    QFile downloaded(local.filePath(QStringLiteral("huge.bin")));
    QVERIFY(downloaded.open(QIODevice::ReadOnly));
    QCOMPARE(downloaded.size(), qint64(data.size()));
    QCOMPARE(downloaded.readAll(), data);
}

void tst_Transfer::boardVanishesDuringUpload()
{
    VirtualBoard board;
    QVERIFY(board.start({QStringLiteral("--drop-after"), QStringLiteral("6000")}));
    MorvexWindow w;
    QVERIFY(connectBoard(w, board, 0));
    QByteArray data = randomBytes(20000, 3);
    QBuffer source(&data);
    QVERIFY(source.open(QIODevice::ReadOnly));
    QVERIFY(!w.uploadData(source, QStringLiteral("/flash/big.bin")));
    QVERIFY(syslogMessages(w).contains(QStringLiteral("Connection closed")));
    QVERIFY(syslogMessages(w).contains(QStringLiteral("Transmission error. Aborted")));
    QVERIFY(!MorvexWindowProbe::port(w).isOpen());
    QCOMPARE(w.state(), MorvexWindow::MC_UNKNOWN);
    QVERIFY(w.findChild<QProgressBar *>("progressBar")->isHidden());
}

void tst_Transfer::downloadMissingFile()
{
    Session *s = session(1);
    QVERIFY(s);
    QVERIFY(s->window->downloadToFile(QStringLiteral("/nothere.bin"), local.filePath(QStringLiteral("nothere.bin"))));
    QCOMPARE(syslogMessages(*s->window).filter(QStringLiteral("Transmission error: ")).size(), 1);
    QVERIFY(syslogMessages(*s->window).filter(QStringLiteral("Transmission error: ")).constFirst().contains(QStringLiteral("ENOENT")));

    // The board's own words are UTF-8, shown up to their first zero byte.
    const QString script = local.filePath(QStringLiteral("dl.py"));
    QVERIFY(writeLocalFile(script, "import sys\ndef _download(filename):\n"
                                   "    sys.stdout.write('>\\u043d\\u0435\\u0442\\x00tail#6>')\n"));
    QSettings().setValue(QStringLiteral("Scripts/Download"), script);
    QVERIFY(s->window->downloadToFile(QStringLiteral("/x.bin"), local.filePath(QStringLiteral("x.bin"))));
    QSettings().remove(QStringLiteral("Scripts/Download"));
    QVERIFY2(syslogMessages(*s->window).contains(QStringLiteral("Transmission error: \u043d\u0435\u0442")),
             qPrintable(syslogText(*s->window)));
}

void tst_Transfer::targetKeptAsItStands_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("percent two") << "a%2b.txt";
    QTest::newRow("percent one") << "c%1d.txt";
}

void tst_Transfer::targetKeptAsItStands()
{
    // uploadData tests no characters: what packages and the editor send must reach the board unchanged.
    QFETCH(QString, name);
    Session *s = session(0);
    QVERIFY(s);
    QSettings().remove(QStringLiteral("MC/TransferSize"));
    QByteArray data("percent");
    QBuffer source(&data);
    QVERIFY(source.open(QIODevice::ReadOnly));
    QVERIFY(s->window->uploadData(source, QStringLiteral("/flash/") + name));
    QVERIFY(s->board.received().contains(QStringLiteral("_upload('/flash/%1', 512)").arg(name).toLatin1()));
    QCOMPARE(s->board.readFile(name), data);
}

void tst_Transfer::downloadOverwriteQuestion_data()
{
    QTest::addColumn<bool>("yes");
    QTest::newRow("overwrite") << true;
    QTest::newRow("keep") << false;
}

void tst_Transfer::downloadOverwriteQuestion()
{
    QFETCH(bool, yes);
    Session *s = session(0);
    QVERIFY(s);
    MorvexWindow &w = *s->window;
    QVERIFY(s->board.writeFile(QStringLiteral("dl.txt"), "board content"));
    w.setPcFolder(local.path());
    w.changeBoardDir(QStringLiteral("/flash"));
    QFile existing(local.filePath(QStringLiteral("dl.txt")));
    QVERIFY(existing.open(QIODevice::WriteOnly));
    existing.write("local content");
    existing.close();

    const QModelIndex row = boardRow(w, QStringLiteral("dl.txt"));
    QVERIFY(row.isValid());
    const int before = s->board.received().size();
    QScopedPointer<DialogAnswerer> answer(DialogAnswerer::messageBox(yes ? QMessageBox::Yes : QMessageBox::No));
    w.downloadEntry(row);
    QCOMPARE(answer->answered(), 1);
    QCOMPARE(answer->texts().value(0), QStringLiteral("File %1 exists. Overwrite?").arg(local.filePath(QStringLiteral("dl.txt"))));
    QVERIFY(existing.open(QIODevice::ReadOnly));
    QCOMPARE(existing.readAll(), yes ? QByteArray("board content") : QByteArray("local content"));
    if (!yes)
        QCOMPARE(s->board.received().size(), before);
}

void tst_Transfer::forbiddenCharacters_data()
{
    QTest::addColumn<QString>("target");
    QTest::addColumn<bool>("allowed");

    QTest::newRow("plain") << "/flash/ok_name-1.txt" << true;
    QTest::newRow("colon") << "/flash/a:b.txt" << false;
    QTest::newRow("non-ascii") << QStringLiteral("/flash/\u00e9.txt") << false;
    QTest::newRow("backslash") << "/flash/a\\b.txt" << false;
    QTest::newRow("question mark") << "/flash/a?.txt" << false;
    QTest::newRow("greater than") << "/flash/a>.txt" << false;
    QTest::newRow("tab") << "/flash/a\tb.txt" << false;
}

void tst_Transfer::forbiddenCharacters()
{
    QFETCH(QString, target);
    QFETCH(bool, allowed);
    Session *s = session(0);
    QVERIFY(s);
    const QString localFile = local.filePath(QStringLiteral("chars.txt"));
    QFile file(localFile);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("abc");
    file.close();
    const int before = s->board.received().size();
    QCOMPARE(s->window->uploadFile(localFile, target), allowed);
    if (!allowed) {
        QVERIFY(syslogMessages(*s->window).constLast().startsWith(QStringLiteral("Cannot upload - forbidden character ")));
        QCOMPARE(s->board.received().size(), before);
    }
}

QTEST_MAIN(tst_Transfer)
#include "tst_transfer.moc"
