// Uploads and downloads through the real window: the calls sent, checksums, failures and questions.
// Round trips of every size at every chunk run in the delivery-mode suite.
#include "morvexwindowprobe.h"
#include "testsupport.h"
#include "virtualboard.h"

#include <QAction>
#include <QProgressBar>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

class tst_Transfer : public QObject
{
    Q_OBJECT

private slots:
    void cleanupTestCase() { sessions[0].reset(), sessions[1].reset(); }
    void uploadCall_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QVariant>("setting"); // MC/TransferSize
        QTest::addColumn<int>("size");
        QTest::addColumn<QByteArrayList>("sent"); // besides the data packets

        QTest::newRow("no setting, empty file") << "empty.bin" << QVariant() << 0
                                                << QByteArrayList{"_upload('/flash/empty.bin', 512)\x04", "!0000000000", "@0000000000"};
        QTest::newRow("31 means the default") << "c31.bin" << QVariant(31) << 1000 << QByteArrayList{"_upload('/flash/c31.bin', 512)\x04"};
        QTest::newRow("32 is used") << "c32.bin" << QVariant(32) << 1000 << QByteArrayList{"_upload('/flash/c32.bin', 32)\x04"};
        // Packages and the editor send any name: it reaches the board as it stands.
        QTest::newRow("percent two kept") << "a%2b.txt" << QVariant() << 7 << QByteArrayList{"_upload('/flash/a%2b.txt', 512)"};
        QTest::newRow("percent one kept") << "c%1d.txt" << QVariant() << 7 << QByteArrayList{"_upload('/flash/c%1d.txt', 512)"};
    }

    void uploadCall()
    {
        QFETCH(QString, name);
        QFETCH(QVariant, setting);
        QFETCH(int, size);
        QFETCH(QByteArrayList, sent);
        Session *s = session(0);
        QVERIFY(s);
        if (setting.isValid())
            QSettings().setValue(QStringLiteral("MC/TransferSize"), setting);
        else
            QSettings().remove(QStringLiteral("MC/TransferSize"));
        const QByteArray data = randomBytes(size, 11);
        const int before = s->board.received().size();
        QVERIFY(uploadBytes(*s->window, data, QStringLiteral("/flash/") + name));
        QSettings().remove(QStringLiteral("MC/TransferSize"));
        // The re-prompt ends an upload; the next row counts from behind it.
        QVERIFY(waitFor([&] { return s->board.received().endsWith("\x01"); }, 5000));
        for (const QByteArray &packet : sent)
            QVERIFY2(s->board.received().mid(before).contains(packet), packet.constData());
        QCOMPARE(s->board.readFile(name), data);
    }

    void uploadToMissingDirectory()
    {
        Session *s = session(0);
        QVERIFY(s);
        MorvexWindow &w = *s->window;
        QVERIFY(!uploadBytes(w, randomBytes(700, 7), QStringLiteral("/flash/nodir/x.bin")));
        QCOMPARE(syslogMessages(w).constLast(), QStringLiteral("Transmission error. Aborted"));
        QVERIFY(!s->board.exists(QStringLiteral("nodir")));
        // The actions stay off; the swallowed packet is a half command that Ctrl-C discards silently: Abort fails, Reset helps.
        QVERIFY(!windowAction(w, "actionUpload")->isEnabled());
        QVERIFY(windowAction(w, "actionAbort")->isEnabled());
        windowAction(w, "actionAbort")->trigger();
        QCOMPARE(syslogMessages(w).constLast(), QStringLiteral("Abort failed"));
        windowAction(w, "actionReset")->trigger();
        QVERIFY2(waitFor([&] { return windowAction(w, "actionUpload")->isEnabled(); }, 15000), qPrintable(syslogText(w)));
    }

    void checksumMismatch_data()
    {
        QTest::addColumn<bool>("upload");
        QTest::newRow("desktop to board") << true;
        QTest::newRow("board to desktop") << false;
    }

    void checksumMismatch()
    {
        QFETCH(bool, upload);
        VirtualBoard board;
        QVERIFY(board.start({upload ? "--corrupt-rx" : "--corrupt-tx", upload ? "_upload:20" : "_download:10"}));
        MorvexWindow w;
        QVERIFY(connectBoard(w, board, 0));
        const QByteArray data = QByteArray("The quick brown fox jumps over the lazy dog. ").repeated(20);
        if (upload) {
            QVERIFY(!uploadBytes(w, data, QStringLiteral("/flash/bad.txt")));
            // "#4" and the board's text, as hexadecimal digits.
            QVERIFY(syslogMessages(w).constLast().startsWith(QStringLiteral("Invalid reply 2334")));
            QVERIFY(syslogMessages(w).constLast().endsWith(QStringLiteral(". Aborted")));
        } else {
            QVERIFY(board.writeFile(QStringLiteral("good.txt"), data));
            QVERIFY(w.downloadToFile(QStringLiteral("/flash/good.txt"), local.filePath(QStringLiteral("good.txt"))));
            const QStringList mismatch = syslogMessages(w).filter(QStringLiteral("File downloaded with errors!! (checksum mismatch "));
            QCOMPARE(mismatch.size(), 1);
            QVERIFY(!mismatch.constFirst().endsWith(QLatin1Char(')')));
        }
    }

    void boardSumMustFitIn32Bits()
    {
        // A download script that reports an unmasked sum: its high half is not 0, so the sums differ.
        QByteArray script = readLocalFile(QStringLiteral(":/data/download.py"));
        QVERIFY(script.contains("csum & 0xFFFFFFFF"));
        script.replace("csum & 0xFFFFFFFF", "(csum & 0xFFFFFFFF) + (1 << 32)");
        const QString path = local.filePath(QStringLiteral("unmasked.py"));
        QVERIFY(writeLocalFile(path, script));
        QSettings().setValue(QStringLiteral("Scripts/Download"), path);

        Session *s = session(1);
        QVERIFY(s);
        QVERIFY(s->board.writeFile(QStringLiteral("three.bin"), "abc"));
        QVERIFY(s->window->downloadToFile(QStringLiteral("/three.bin"), local.filePath(QStringLiteral("three.bin"))));
        QSettings().remove(QStringLiteral("Scripts/Download"));
        QVERIFY2(syslogMessages(*s->window).contains(QStringLiteral("File downloaded with errors!! (checksum mismatch 4294967590 vs 294")),
                 qPrintable(syslogText(*s->window)));
    }

    void sumPastTwoTo32()
    {
        Session *s = session(1);
        QVERIFY(s);
        const QByteArray data(16843100, char(0xFF)); // 255 x 16843100 > 2^32
        QVERIFY(s->board.writeFile(QStringLiteral("huge.bin"), data));
        QVERIFY(s->window->downloadToFile(QStringLiteral("/huge.bin"), local.filePath(QStringLiteral("huge.bin"))));
        QVERIFY(readLocalFile(local.filePath(QStringLiteral("huge.bin"))) == data);
    }

    void boardVanishesDuringUpload()
    {
        VirtualBoard board;
        QVERIFY(board.start({QStringLiteral("--drop-after"), QStringLiteral("6000")}));
        MorvexWindow w;
        QVERIFY(connectBoard(w, board, 0));
        QVERIFY(!uploadBytes(w, randomBytes(20000, 3), QStringLiteral("/flash/big.bin")));
        QVERIFY(syslogMessages(w).contains(QStringLiteral("Connection closed")));
        QVERIFY(syslogMessages(w).contains(QStringLiteral("Transmission error. Aborted")));
        QCOMPARE(w.state(), MorvexWindow::MC_UNKNOWN);
        QVERIFY(w.findChild<QProgressBar *>("progressBar")->isHidden());
    }

    void uploadFailures_data()
    {
        QTest::addColumn<QString>("stage"); // the packet after which the board falls silent
        QTest::addColumn<bool>("abort");    // pressed while the desktop waits for the answer
        QTest::addColumn<QString>("message");

        QTest::newRow("size packet unanswered") << "size" << false << "Error while starting the transmission. Aborted";
        QTest::newRow("size packet, abort empties the queue") << "size" << true << "No reply for the transmitted data. Aborted";
        QTest::newRow("data packet, abort empties the queue") << "data" << true << "No reply. Aborted";
        QTest::newRow("checksum packet unanswered") << "sum" << false << "Finalization error (during transmission phase). Aborted";
        QTest::newRow("checksum packet, abort empties the queue") << "sum" << true << "Finalization error (during reception phase). Aborted";
    }

    void uploadFailures()
    {
        QFETCH(QString, stage);
        QFETCH(bool, abort);
        QFETCH(QString, message);
        // _upload's protocol, with a read that waits for nothing after the packet named in the target, until Ctrl-C.
        const QString script = local.filePath(QStringLiteral("late_upload.py"));
        QVERIFY(writeLocalFile(script, "import sys\n"
                                       "def _upload(filename, chunk):\n"
                                       "    rd = sys.stdin.buffer.read\n"
                                       "    count = int(rd(11)[1:])\n"
                                       "    if 'size' in filename: rd(1)\n"
                                       "    sys.stdout.write('#9>')\n"
                                       "    while count > 0:\n"
                                       "        rd(min(count, chunk))\n"
                                       "        if 'data' in filename: rd(1)\n"
                                       "        count -= min(count, chunk)\n"
                                       "        sys.stdout.write('#9>')\n"
                                       "    rd(11)\n"
                                       "    if 'sum' in filename: rd(1)\n"
                                       "    sys.stdout.write('#0')\n"));
        QSettings().setValue(QStringLiteral("Scripts/Upload"), script);
        QSettings().remove(QStringLiteral("MC/TransferSize"));
        Session *s = session(0);
        QVERIFY(s);
        MorvexWindow &w = *s->window;
        const int sentBefore = s->board.received().size();
        const int logBefore = syslogMessages(w).size();
        const QByteArray awaited = stage == "size" ? "!0000000008" : stage == "data" ? "c2lsZW50" : "@"; // the packet left unanswered
        ActWhen pressAbort([&] { return abort && s->board.received().mid(sentBefore).contains(awaited); },
                           [&] { windowAction(w, "actionAbort")->trigger(); });
        QVERIFY(!uploadBytes(w, "silent", QStringLiteral("/flash/%1.txt").arg(stage)));
        QSettings().remove(QStringLiteral("Scripts/Upload"));
        QVERIFY2(syslogMessages(w).mid(logBefore).contains(message), qPrintable(syslogText(w)));
        QCOMPARE(pressAbort.done(), abort);
        QVERIFY(w.findChild<QProgressBar *>("progressBar")->isHidden());
        if (!abort)
            QVERIFY(w.exchange("\x03", 1000)); // the board still waits in its read
    }

    void downloadMissingFile()
    {
        Session *s = session(1);
        QVERIFY(s);
        QVERIFY(s->window->downloadToFile(QStringLiteral("/nothere.bin"), local.filePath(QStringLiteral("nothere.bin"))));
        QCOMPARE(syslogMessages(*s->window).filter(QStringLiteral("Transmission error: ")).size(), 1);
        QVERIFY(syslogMessages(*s->window).constLast().contains(QStringLiteral("ENOENT")));

        // The board's own words are UTF-8, shown up to their first zero byte.
        const QString script = local.filePath(QStringLiteral("dl.py"));
        QVERIFY(writeLocalFile(script, "import sys\ndef _download(filename):\n    sys.stdout.write('>\\u043d\\u0435\\u0442\\x00tail#6>')\n"));
        QSettings().setValue(QStringLiteral("Scripts/Download"), script);
        QVERIFY(s->window->downloadToFile(QStringLiteral("/x.bin"), local.filePath(QStringLiteral("x.bin"))));
        QSettings().remove(QStringLiteral("Scripts/Download"));
        QVERIFY2(syslogMessages(*s->window).contains(QStringLiteral("Transmission error: \u043d\u0435\u0442")),
                 qPrintable(syslogText(*s->window)));
    }

    void downloadOverwriteQuestion_data()
    {
        QTest::addColumn<bool>("yes");
        QTest::newRow("overwrite") << true;
        QTest::newRow("keep") << false;
    }

    void downloadOverwriteQuestion()
    {
        QFETCH(bool, yes);
        Session *s = session(0);
        QVERIFY(s);
        MorvexWindow &w = *s->window;
        QVERIFY(s->board.writeFile(QStringLiteral("dl.txt"), "board content"));
        w.setPcFolder(local.path());
        w.changeBoardDir(QStringLiteral("/flash"));
        const QString localPath = local.filePath(QStringLiteral("dl.txt"));
        QVERIFY(writeLocalFile(localPath, "local content"));
        const int before = s->board.received().size();
        QScopedPointer<DialogAnswerer> answer(DialogAnswerer::messageBox(yes ? QMessageBox::Yes : QMessageBox::No));
        w.downloadEntry(boardRow(w, QStringLiteral("dl.txt")));
        QCOMPARE(answer->texts(), QStringList{QStringLiteral("File %1 exists. Overwrite?").arg(localPath)});
        QCOMPARE(answer->titles(), QStringList{"Download file"});
        QCOMPARE(readLocalFile(localPath), yes ? QByteArray("board content") : QByteArray("local content"));
        if (!yes)
            QCOMPARE(s->board.received().size(), before);
    }

    void forbiddenCharacters_data()
    {
        QTest::addColumn<QString>("target");
        QTest::addColumn<bool>("allowed");

        QTest::newRow("plain") << "/flash/ok_name-1.txt" << true;
        for (const char *bad : {"a:b", "\u00e9", "a\\b", "a?", "a>", "a\tb"})
            QTest::newRow(bad) << "/flash/" + QString::fromUtf8(bad) + ".txt" << false;
    }

    void forbiddenCharacters()
    {
        QFETCH(QString, target);
        QFETCH(bool, allowed);
        Session *s = session(0);
        QVERIFY(s);
        QVERIFY(writeLocalFile(local.filePath(QStringLiteral("chars.txt")), "abc"));
        const int before = s->board.received().size();
        QCOMPARE(s->window->uploadFile(local.filePath(QStringLiteral("chars.txt")), target), allowed);
        if (allowed) // the re-prompt ends an upload; the rows after this one count from behind it
            QVERIFY(waitFor([&] { return s->board.received().endsWith("\x01"); }, 5000));
        else
            QCOMPARE(s->board.received().size(), before);
        QCOMPARE(syslogMessages(*s->window).constLast().startsWith(QStringLiteral("Cannot upload - forbidden character ")), !allowed);
    }

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

tst_Transfer::Session *tst_Transfer::session(int family)
{
    auto &s = sessions[family];
    if (s && s->window && MorvexWindowProbe::port(*s->window).isOpen())
        return s.get();
    s.reset(new Session);
    s->window.reset(new MorvexWindow);
    return s->board.start({"--family", family ? "esp32" : "stm32"}) && connectBoard(*s->window, s->board, family) ? s.get() : nullptr;
}

QTEST_MAIN(tst_Transfer)
#include "tst_transfer.moc"
