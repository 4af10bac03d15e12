// Uploads and downloads through the real window: the calls sent, checksums, failures and questions.
// Round trips of every size at every chunk run in the delivery-mode suite.
#include "morvexwindowprobe.h"
#include "testsupport.h"
#include "virtualboard.h"

#include <QAction>
#include <QProgressBar>
#include <QRegularExpression>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

class tst_Transfer : public QObject
{
    Q_OBJECT

private slots:
    void init() { sandbox.clear(); }
    void cleanupTestCase() { sessions[0].reset(), sessions[1].reset(); }
    void uploadCall_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QVariant>("setting"); // MC/TransferSize
        QTest::addColumn<bool>("viaFile");     // uploadFile, which refuses some characters
        QTest::addColumn<QByteArrayList>("sent"); // besides the data packets; empty: refused
        QTest::newRow("31 means the default") << "c31.bin" << QVariant(31) << false
            << QByteArrayList{"_upload('/flash/c31.bin', 512)\x04"};
        QTest::newRow("32 is used") << "c32.bin" << QVariant(32) << false
            << QByteArrayList{"_upload('/flash/c32.bin', 32)\x04"};
        // Packages and the editor send any name: it reaches the board as it stands.
        QTest::newRow("percent two kept") << "a%2b.txt" << QVariant() << false
            << QByteArrayList{"_upload('/flash/a%2b.txt', 512)"};
        QTest::newRow("percent one kept") << "c%1d.txt" << QVariant() << false
            << QByteArrayList{"_upload('/flash/c%1d.txt', 512)"};
        QTest::newRow("file, plain name") << "ok_name-1.txt" << QVariant() << true
            << QByteArrayList{"_upload('/flash/ok_name-1.txt'"};
        for (const char *bad : {"a:b", "\u00e9", "a\\b", "a?", "a>", "a\tb"})
            QTest::addRow("file, %s", bad) << QString::fromUtf8(bad) + ".txt" << QVariant() << true << QByteArrayList();
    }

    void uploadCall()
    {
        QFETCH(QString, name);
        QFETCH(QVariant, setting);
        QFETCH(bool, viaFile);
        QFETCH(QByteArrayList, sent);
        Session *s = session(0);
        QVERIFY(s);
        if (setting.isValid())
            QSettings().setValue(QStringLiteral("MC/TransferSize"), setting);
        const QByteArray data = randomBytes(1000, 11);
        const QString source = local.filePath(QStringLiteral("source.bin"));
        const int before = s->board.received().size();
        QCOMPARE(viaFile ? writeLocalFile(source, data) && s->window->uploadFile(source, "/flash/" + name)
                         : uploadBytes(*s->window, data, "/flash/" + name),
                 !sent.isEmpty());
        QCOMPARE(syslogMessages(*s->window).constLast().startsWith(QStringLiteral("Cannot upload - forbidden character ")),
            sent.isEmpty());
        if (sent.isEmpty())
            QCOMPARE(s->board.received().size(), before);
        else // the re-prompt ends an upload; the next row counts from behind it
            QVERIFY(waitFor([&] { return s->board.received().endsWith("\x01"); }, 5000));
        for (const QByteArray &packet : sent)
            QVERIFY2(s->board.received().mid(before).contains(packet), packet.constData());
        QCOMPARE(s->board.readFile(name), sent.isEmpty() ? QByteArray() : data);
    }

    void failures_data()
    {
        QTest::addColumn<QStringList>("options"); // of a board of its own
        QTest::addColumn<QByteArray>("script");   // replaces the download script
        QTest::addColumn<QByteArray>("content");  // of x.bin on the board; null: no such file
        QTest::addColumn<QString>("uploadTo");    // uploads the content there instead
        QTest::addColumn<QString>("logged");      // a pattern for the one error line
        const QByteArray fox = QByteArray("The quick brown fox jumps over the lazy dog. ").repeated(20);
        const QByteArray words = "import sys\ndef _download(filename):\n"
                                 "    sys.stdout.write('>\\u043d\\u0435\\u0442\\x00tail#6>')\n";
        QTest::newRow("upload to a missing directory")
            << QStringList() << QByteArray() << randomBytes(700, 7) << "/nodir/x.bin" << "^Transmission error\\. Aborted$";
        // "#4" and the board's text, as hexadecimal digits.
        QTest::newRow("upload corrupted on the line")
            << QStringList{"--corrupt-rx", "_upload:20"} << QByteArray() << fox << "/bad.txt"
            << "^Invalid reply 2334.*\\. Aborted$";
        QTest::newRow("download corrupted on the line") << QStringList{"--corrupt-tx", "_download:10"} << QByteArray() << fox
            << "" << "^File downloaded with errors!! \\(checksum mismatch \\d+ vs \\d+$";
        QTest::newRow("missing file") << QStringList() << QByteArray() << QByteArray() << ""
            << "^Transmission error: .*ENOENT";
        // The board's own words are UTF-8, shown up to their first zero byte.
        QTest::newRow("board words") << QStringList() << words << QByteArray("x") << ""
            << "^Transmission error: \u043d\u0435\u0442$";
    }

    void failures()
    {
        QFETCH(QStringList, options);
        QFETCH(QByteArray, script);
        QFETCH(QByteArray, content);
        QFETCH(QString, uploadTo);
        QFETCH(QString, logged);
        std::unique_ptr<Session> own(options.isEmpty() ? nullptr : new Session);
        if (own) {
            own->window.reset(new MorvexWindow);
            QVERIFY(own->board.start(options << "--family" << "esp32") && connectBoard(*own->window, own->board, 1));
        }
        Session *s = own ? own.get() : session(1);
        QVERIFY(s);
        MorvexWindow &w = *s->window;
        if (!script.isEmpty()) {
            QVERIFY(writeLocalFile(local.filePath(QStringLiteral("download.py")), script));
            QSettings().setValue(QStringLiteral("Scripts/Download"), local.filePath(QStringLiteral("download.py")));
        }
        const int before = syslogMessages(w).size();
        if (!uploadTo.isEmpty()) {
            QVERIFY(!uploadBytes(w, content, uploadTo));
        } else {
            QFile::remove(s->board.fsPath() + "/x.bin");
            QVERIFY(content.isNull() || s->board.writeFile(QStringLiteral("x.bin"), content));
            QVERIFY(w.downloadToFile(QStringLiteral("/x.bin"), local.filePath(QStringLiteral("x.bin"))));
        }
        const QStringList errors = syslogMessages(w).mid(before).filter(QRegularExpression(QStringLiteral("error|Invalid")));
        QVERIFY2(errors.size() == 1 && QRegularExpression(logged).match(errors.value(0)).hasMatch(),
                 qPrintable(errors.join('\n')));
        if (uploadTo != QLatin1String("/nodir/x.bin"))
            return;
        QVERIFY(!s->board.exists(QStringLiteral("nodir")));
        // The actions stay off; the swallowed packet is a half command Ctrl-C discards silently: Abort fails, Reset helps.
        QVERIFY(!windowAction(w, "actionUpload")->isEnabled());
        windowAction(w, "actionAbort")->trigger();
        QCOMPARE(syslogMessages(w).constLast(), QStringLiteral("Abort failed"));
        windowAction(w, "actionReset")->trigger();
        QVERIFY2(waitFor([&] { return windowAction(w, "actionUpload")->isEnabled(); }, 15000), qPrintable(syslogText(w)));
    }

    void uploadFailures_data()
    {
        QTest::addColumn<QString>("stage"); // the packet after which the board falls silent
        QTest::addColumn<bool>("abort");    // pressed while the desktop waits for the answer
        QTest::addColumn<QString>("message");

        QTest::newRow("size packet unanswered") << "size" << false << "Error while starting the transmission. Aborted";
        QTest::newRow("size packet, abort empties the queue") << "size" << true
            << "No reply for the transmitted data. Aborted";
        QTest::newRow("data packet, abort empties the queue") << "data" << true << "No reply. Aborted";
        QTest::newRow("checksum packet unanswered") << "sum" << false
            << "Finalization error (during transmission phase). Aborted";
        QTest::newRow("checksum packet, abort empties the queue") << "sum" << true
            << "Finalization error (during reception phase). Aborted";
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
        Session *s = session(0);
        QVERIFY(s);
        MorvexWindow &w = *s->window;
        const int sentBefore = s->board.received().size();
        const int logBefore = syslogMessages(w).size();
        // The packet left unanswered.
        const QByteArray awaited = stage == "size" ? "!0000000008" : stage == "data" ? "c2lsZW50" : "@";
        ActWhen pressAbort([&] { return abort && s->board.received().mid(sentBefore).contains(awaited); },
                           [&] { windowAction(w, "actionAbort")->trigger(); });
        QVERIFY(!uploadBytes(w, "silent", QStringLiteral("/flash/%1.txt").arg(stage)));
        QVERIFY2(syslogMessages(w).mid(logBefore).contains(message), qPrintable(syslogText(w)));
        QCOMPARE(pressAbort.done(), abort);
        QVERIFY(w.findChild<QProgressBar *>("progressBar")->isHidden());
        if (!abort)
            QVERIFY(w.exchange("\x03", 1000)); // the board still waits in its read
    }

    // No keeps the local file and sends nothing; Yes overwrites it.
    void downloadOverwriteQuestion()
    {
        Session *s = session(0);
        QVERIFY(s);
        MorvexWindow &w = *s->window;
        QVERIFY(s->board.writeFile(QStringLiteral("dl.txt"), "board content"));
        w.setPcFolder(local.path());
        w.changeBoardDir(QStringLiteral("/flash"));
        const QString localPath = local.filePath(QStringLiteral("dl.txt"));
        QVERIFY(writeLocalFile(localPath, "local content"));
        const int before = s->board.received().size();
        for (const bool yes : {false, true}) {
            QScopedPointer<DialogAnswerer> answer(DialogAnswerer::messageBox(yes ? QMessageBox::Yes : QMessageBox::No));
            w.downloadEntry(boardRow(w, QStringLiteral("dl.txt")));
            QCOMPARE(answer->texts(), QStringList{QStringLiteral("File %1 exists. Overwrite?").arg(localPath)});
            QCOMPARE(answer->titles() + answer->buttons(), (QStringList{"Download file", "Yes No"}));
            QCOMPARE(readLocalFile(localPath), yes ? QByteArray("board content") : QByteArray("local content"));
            QVERIFY(yes || s->board.received().size() == before);
        }
    }

private:
    struct Session {
        VirtualBoard board;
        std::unique_ptr<MorvexWindow> window;
    };
    SettingsSandbox sandbox;
    QTemporaryDir local;
    std::unique_ptr<Session> sessions[2];

    Session *session(int family)
    {
        auto &s = sessions[family];
        if (!s || !MorvexWindowProbe::port(*s->window).isOpen()) {
            s.reset(new Session);
            s->window.reset(new MorvexWindow);
            if (!s->board.start(VirtualBoard::familyArgs(family)) || !connectBoard(*s->window, s->board, family))
                return nullptr;
        }
        return s.get();
    }
};

QTEST_MAIN(tst_Transfer)
#include "tst_transfer.moc"
