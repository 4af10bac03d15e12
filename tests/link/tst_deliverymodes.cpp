// The everyday flows through the real window, however the board's bytes are cut into reads:
// at the line rate in bridge-sized pieces, one byte at a time, and at random split points.
#include "codeeditor.h"
#include "morvexwindowprobe.h"
#include "qcodeeditor.h"
#include "syncconfigurationdialog.h"
#include "testsupport.h"
#include "virtualboard.h"

#include <QAction>
#include <QTabWidget>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

#include <map>
#include <memory>

namespace {
// Messages that tell of a wait that ended at the wrong reply, or at none; a board-side
// exception, such as a NameError of a function that was never loaded, among them.
QStringList troublesSince(MorvexWindow &w, int from)
{
    static const QRegularExpression trouble(QStringLiteral(
        "^\\w+Error: |Cannot list files|Invalid reply|Communication|Abort failed|request failed|Connection failed|"
        "Cannot upload script|Transmission error|No reply|Error while starting|Finalization error|Removal error|"
        "Cannot change directory|downloaded with errors|init failed"));
    return syslogMessages(w).mid(from).filter(trouble);
}

// The end of the system log, where a failure's story is.
QString logTail(MorvexWindow &w)
{
    const QStringList messages = syslogMessages(w);
    return messages.mid(qMax(0, messages.size() - 14)).join('\n');
}

// The board's answer to a Python expression typed at the friendly prompt.
QByteArray boardValue(MorvexWindow &w, const QByteArray &expression)
{
    if (!w.enterRepl() || !w.exchange("print(" + expression + ")\r\n", 5000))
        return QByteArray();
    QByteArray value;
    auto &queue = MorvexWindowProbe::rxQueue(w);
    while (!queue.isEmpty()) {
        const QByteArray item = queue.takeFirst();
        if (!item.startsWith("print(") && item != MorvexWindow::PROMPT)
            value = item;
    }
    return value;
}
} // namespace

class tst_DeliveryModes : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanupTestCase();
    void connectAndAnnounce_data() { modeRows(); }
    void connectAndAnnounce();
    void runLocalFile_data() { modeRows(); }
    void runLocalFile();
    void launchAndAbort_data() { modeRows(); }
    void launchAndAbort();
    void reset_data();
    void reset();
    void listingWithSizes_data() { modeRows(); }
    void listingWithSizes();
    void newDeepDirectory_data() { modeRows(); }
    void newDeepDirectory();
    void existenceAndHash_data() { modeRows(); }
    void existenceAndHash();
    void removal_data() { modeRows(); }
    void removal();
    void roundTrip_data();
    void roundTrip();
    void synchronise_data() { modeRows(); }
    void synchronise();
    void packages_data() { modeRows(); }
    void packages();
    void editing_data() { modeRows(); }
    void editing();
    void soak_data();
    void soak();

private:
    struct Session {
        VirtualBoard board;
        std::unique_ptr<MorvexWindow> window;
        int family = 0;
        QString root; // the family's start folder, with its trailing "/"
    };
    static void modeRows();
    static QStringList boardArgs(const QString &mode, int family);
    Session *session();
    void checkNoTroubles(Session *s);

    SettingsSandbox sandbox;
    QTemporaryDir local;
    std::map<QString, std::unique_ptr<Session>> sessions;
    int logStart = 0;
    struct SoakState {
        quint32 seed = 0;
        QRandomGenerator random;
        VirtualBoard board;
        MorvexWindow window;
        QStringList dirs; // relative to the root, "" for the root itself
        QMap<QString, QByteArray> files;
    };
    std::unique_ptr<SoakState> soakState;
};

void tst_DeliveryModes::modeRows()
{
    QTest::addColumn<QString>("mode");
    QTest::addColumn<int>("family");
    QTest::newRow("uart esp32") << "uart" << 1;
    QTest::newRow("bytes stm32") << "bytes" << 0;
    QTest::newRow("random stm32") << "random" << 0;
    QTest::newRow("random esp32") << "random" << 1;
}

QStringList tst_DeliveryModes::boardArgs(const QString &mode, int family)
{
    QStringList args{QStringLiteral("--family"), family ? QStringLiteral("esp32") : QStringLiteral("stm32"),
                     QStringLiteral("--delivery"), mode, QStringLiteral("--reset-delay"), QStringLiteral("300")};
    // The random cuts go unthrottled; the others at the usual line rate.
    if (mode != QLatin1String("random"))
        args << QStringLiteral("--baud") << QStringLiteral("115200");
    return args;
}

void tst_DeliveryModes::init()
{
    QSettings().remove(QStringLiteral("MC/TransferSize"));
}

void tst_DeliveryModes::cleanupTestCase()
{
    sessions.clear();
    soakState.reset();
}

tst_DeliveryModes::Session *tst_DeliveryModes::session()
{
    QFETCH(QString, mode);
    QFETCH(int, family);
    const QString key = QStringLiteral("%1 %2").arg(mode).arg(family);
    auto &s = sessions[key];
    if (!s || !s->window || !MorvexWindowProbe::port(*s->window).isOpen()) {
        s.reset(new Session);
        s->family = family;
        s->root = family ? QStringLiteral("/") : QStringLiteral("/flash/");
        if (!s->board.start(boardArgs(mode, family))) {
            s.reset();
            return nullptr;
        }
        s->window.reset(new MorvexWindow);
        if (!connectBoard(*s->window, s->board, family, 30000)) {
            qWarning("%s", qPrintable(syslogText(*s->window) + s->board.errors()));
            s.reset();
            return nullptr;
        }
    }
    logStart = int(syslogMessages(*s->window).size());
    return s.get();
}

void tst_DeliveryModes::checkNoTroubles(Session *s)
{
    const QStringList troubles = troublesSince(*s->window, logStart);
    QVERIFY2(troubles.isEmpty(), qPrintable(troubles.join('\n') + '\n' + s->board.errors()));
}

void tst_DeliveryModes::connectAndAnnounce()
{
    QFETCH(QString, mode);
    QFETCH(int, family);
    VirtualBoard board;
    QVERIFY(board.start(boardArgs(mode, family)));
    MorvexWindow w;
    QVERIFY2(connectBoard(w, board, family, 30000), qPrintable(logTail(w)));
    const QString machine = family ? QStringLiteral("Generic ESP32 module with ESP32")
                                   : QStringLiteral("PYBv1.1 with STM32F405RG");
    QVERIFY2(inOrder(syslogMessages(w),
                     {QStringLiteral("Connected to %1").arg(board.portPath()), QStringLiteral("REPL initialized"),
                      QStringLiteral("Connected to micropython board %1 (mod unknown), release 1.28.0. Core %2 "
                                     "version v1.28.0 on 2026-11-21")
                          .arg(family ? QStringLiteral("esp32") : QStringLiteral("pyboard"), machine)}),
             qPrintable(logTail(w)));
    QVERIFY(board.received().startsWith("\x02\x03import os;print(os.uname())\r\n"));
    QCOMPARE(MorvexWindowProbe::portName(w), board.portPath());
    QCOMPARE(w.findChild<QTabWidget *>("logTabWidget")->currentIndex(), 1);
    QVERIFY(windowAction(w, "actionUpload")->isEnabled());
    QCOMPARE(MorvexWindowProbe::mcModel(w).rootPath, family ? QStringLiteral("/") : QStringLiteral("/flash/"));
    QVERIFY(troublesSince(w, 0).isEmpty());
}

void tst_DeliveryModes::runLocalFile()
{
    Session *s = session();
    QVERIFY(s);
    const QString path = local.filePath(QStringLiteral("hello.py"));
    QVERIFY(writeLocalFile(path, "print('first line')\nprint('a>b')\nfor i in range(3):\n    print('line', i)\n"
                                 "print('last line')\n"));
    QVERIFY(s->window->runScript(path));
    QVERIFY2(inOrder(syslogMessages(*s->window),
                     {QStringLiteral(">>first line"), QStringLiteral(">>a>b"), QStringLiteral(">>line 0"),
                      QStringLiteral(">>line 2"), QStringLiteral(">>last line"),
                      QStringLiteral("Script %1 executed").arg(path)}),
             qPrintable(logTail(*s->window)));
    QCOMPARE(s->window->state(), MorvexWindow::MC_RAW);
    // The board is ready for what comes next.
    QVERIFY(s->board.writeFile(QStringLiteral("after_run.txt"), "x"));
    s->window->changeBoardDir(s->root);
    QVERIFY(boardRow(*s->window, QStringLiteral("after_run.txt")).isValid());
    checkNoTroubles(s);
}

void tst_DeliveryModes::launchAndAbort()
{
    Session *s = session();
    QVERIFY(s);
    MorvexWindow &w = *s->window;
    QVERIFY(s->board.writeFile(QStringLiteral("main.py"),
                               "import time\nn = 0\nwhile True:\n    print('tick', n)\n    n += 1\n"
                               "    time.sleep_ms(50)\n"));
    windowAction(w, "actionLaunch")->trigger();
    // The ESP32's port survives its reset; the STM32's goes and comes back as a monitor,
    // after the board has printed its first ticks to nobody.
    if (s->family) {
        QCOMPARE(w.state(), MorvexWindow::MC_RUNNING);
        QCOMPARE(w.findChild<QTabWidget *>("logTabWidget")->currentIndex(), 0);
    }
    QVERIFY2(waitFor([&] { return terminalMessages(w).filter(QRegularExpression(QStringLiteral("^tick \\d+$"))).size() > 3; }, 15000),
             qPrintable(terminalText(w) + syslogText(w)));
    if (!s->family) {
        // Back as a monitor, which leaves the board running.
        QVERIFY(inOrder(syslogMessages(w).mid(logStart),
                        {QStringLiteral("Launching..."), QStringLiteral("Connection closed"),
                         QStringLiteral("Reconnecting.... Please wait.")}));
        QVERIFY(terminalMessages(w).contains(QStringLiteral("Opened connection to %1").arg(s->board.portPath())));
        QCOMPARE(w.state(), MorvexWindow::MC_UNKNOWN);
    }
    QVERIFY(QFile::remove(s->board.fsPath() + QStringLiteral("/main.py")));
    windowAction(w, "actionAbort")->trigger();
    QVERIFY2(syslogMessages(w).contains(QStringLiteral("Stopped")), qPrintable(logTail(w)));
    QVERIFY(!s->family || terminalMessages(w).contains(QStringLiteral("Execution aborted")));
    QCOMPARE(w.state(), MorvexWindow::MC_REPL);
    QVERIFY(windowAction(w, "actionUpload")->isEnabled());
    checkNoTroubles(s);
}

void tst_DeliveryModes::reset_data()
{
    QTest::addColumn<QString>("mode");
    QTest::addColumn<int>("family");
    QTest::addColumn<bool>("stock");
    for (bool stock : {false, true}) {
        const char *kind = stock ? "stock firmware" : "reset(1) accepted";
        QTest::addRow("uart esp32, %s", kind) << "uart" << 1 << stock;
        QTest::addRow("bytes stm32, %s", kind) << "bytes" << 0 << stock;
        QTest::addRow("random stm32, %s", kind) << "random" << 0 << stock;
    }
}

void tst_DeliveryModes::reset()
{
    QFETCH(QString, mode);
    QFETCH(int, family);
    QFETCH(bool, stock);
    VirtualBoard board;
    QStringList args = boardArgs(mode, family);
    if (stock)
        args << QStringLiteral("--stock-reset");
    QVERIFY(board.start(args));
    MorvexWindow w;
    QVERIFY(connectBoard(w, board, family, 30000));
    const auto announced = [&] {
        return syslogMessages(w).filter(QStringLiteral("Connected to micropython board")).size();
    };

    // The Reset action: the board restarts, forgets its variables and is announced again.
    QCOMPARE(boardValue(w, "'morvex_marker' in globals()"), QByteArray("False"));
    QVERIFY(w.exchange("morvex_marker = 1\r\n", 5000));
    QCOMPARE(boardValue(w, "'morvex_marker' in globals()"), QByteArray("True"));
    const int before = announced();
    windowAction(w, "actionReset")->trigger();
    QVERIFY(syslogMessages(w).contains(QStringLiteral("Resetting...")));
    QVERIFY(!windowAction(w, "actionUpload")->isEnabled());
    QVERIFY(windowAction(w, "actionAbort")->isEnabled());
    QVERIFY2(waitFor([&] { return announced() > before && windowAction(w, "actionUpload")->isEnabled(); }, 20000),
             qPrintable(logTail(w)));
    QCOMPARE(boardValue(w, "'morvex_marker' in globals()"), QByteArray("False"));
    QCOMPARE(board.received().count("import machine; machine.reset(1)\r\n"), 1);
    QCOMPARE(board.received().count("import machine; machine.reset()\r\n"), stock ? 1 : 0);
    // Only the STM32's port goes with the reset.
    QCOMPARE(syslogMessages(w).contains(QStringLiteral("Reconnecting.... Please wait.")), family == 0);

    // Reset MC at the next connect does the same.
    QVERIFY(w.exchange("morvex_marker = 1\r\n", 5000));
    windowAction(w, "actionConnect")->trigger(); // disconnect
    windowAction(w, "actionReset_MC")->setChecked(true);
    const int again = announced();
    connectThroughPopup(w, board, family);
    QVERIFY2(waitFor([&] { return announced() > again && windowAction(w, "actionUpload")->isEnabled(); }, 20000),
             qPrintable(logTail(w)));
    QVERIFY(!windowAction(w, "actionReset_MC")->isChecked());
    QCOMPARE(boardValue(w, "'morvex_marker' in globals()"), QByteArray("False"));
    QCOMPARE(board.received().count("import machine; machine.reset()\r\n"), stock ? 2 : 0);
    QVERIFY2(troublesSince(w, 0).filter(QStringLiteral("TypeError")).isEmpty() || stock, "refusal without stock");
}

void tst_DeliveryModes::listingWithSizes()
{
    Session *s = session();
    QVERIFY(s);
    QVERIFY(s->board.writeFile(QStringLiteral("sizes/small.txt"), QByteArray(10, 'a')));
    QVERIFY(s->board.writeFile(QStringLiteral("sizes/mid.bin"), QByteArray(2000, 'b')));
    QVERIFY(s->board.writeFile(QStringLiteral("sizes/empty"), QByteArray()));
    QVERIFY(QDir().mkpath(s->board.fsPath() + QStringLiteral("/sizes/inner")));
    MorvexWindow &w = *s->window;
    w.changeBoardDir(s->root + QStringLiteral("sizes"));
    const MCDirModel &model = MorvexWindowProbe::mcModel(w);
    QStringList rows;
    for (int i = 0; i < model.rowCount(); ++i)
        rows << model.data(model.index(i, 0)).toString() + '|' + model.data(model.index(i, 1)).toString();
    QStringList files = rows.mid(2);
    files.sort();
    QCOMPARE(rows.mid(0, 2), (QStringList{"..|", "inner|"}));
    QCOMPARE(files, (QStringList{"empty|", "mid.bin|2.0kB", "small.txt|10"}));
    checkNoTroubles(s);
}

void tst_DeliveryModes::newDeepDirectory()
{
    Session *s = session();
    QVERIFY(s);
    MorvexWindow &w = *s->window;
    w.changeBoardDir(s->root);
    DialogAnswerer *answer = DialogAnswerer::inputText(QStringLiteral("lib/sub"), this);
    windowAction(w, "actionNew_Directory")->trigger();
    delete answer;
    QVERIFY(QFileInfo(s->board.fsPath() + QStringLiteral("/lib/sub")).isDir());
    QVERIFY2(boardRow(w, QStringLiteral("lib")).isValid(), qPrintable(logTail(w)));

    QVERIFY(w.makeBoardDirs(s->root + QStringLiteral("deep/er/path")));
    w.changeBoardDir(s->root + QStringLiteral("deep/er"));
    QVERIFY(QFileInfo(s->board.fsPath() + QStringLiteral("/deep/er/path")).isDir());
    QVERIFY2(boardRow(w, QStringLiteral("path")).isValid(), qPrintable(logTail(w)));
    QVERIFY(syslogMessages(w).contains(QStringLiteral("Creating dir %1deep/er/path").arg(s->root)));
    checkNoTroubles(s);
}

void tst_DeliveryModes::existenceAndHash()
{
    Session *s = session();
    QVERIFY(s);
    MorvexWindow &w = *s->window;
    QVERIFY(QDir().mkpath(s->board.fsPath() + QStringLiteral("/there")));
    QVERIFY(w.boardDirExists(s->root + QStringLiteral("there")));
    QVERIFY(!w.boardDirExists(s->root + QStringLiteral("not_there")));

    const QByteArray data = randomBytes(1500, 7);
    QVERIFY(s->board.writeFile(QStringLiteral("there/h.bin"), data));
    QVERIFY(w.loadScript(QStringLiteral(":/data/hash.py")));
    QVERIFY(w.enterRepl());
    QCOMPARE(w.boardHash(s->root + QStringLiteral("there/h.bin")),
             QCryptographicHash::hash(data, QCryptographicHash::Md5).toHex());
    QCOMPARE(w.boardHash(s->root + QStringLiteral("there/none.bin")), QByteArray("err(2)"));
    checkNoTroubles(s);
}

void tst_DeliveryModes::removal()
{
    Session *s = session();
    QVERIFY(s);
    MorvexWindow &w = *s->window;
    QVERIFY(s->board.writeFile(QStringLiteral("gone/file.txt"), "bye"));
    QVERIFY(w.removeBoardPath(s->root + QStringLiteral("gone/file.txt"), false));
    QVERIFY(!s->board.exists(QStringLiteral("gone/file.txt")));
    QVERIFY(w.removeBoardPath(s->root + QStringLiteral("gone"), true));
    QVERIFY(!s->board.exists(QStringLiteral("gone")));
    QVERIFY(inOrder(syslogMessages(w), {QStringLiteral("%1gone/file.txt removed").arg(s->root),
                                        QStringLiteral("%1gone removed").arg(s->root)}));
    checkNoTroubles(s);
}

void tst_DeliveryModes::roundTrip_data()
{
    QTest::addColumn<QString>("mode");
    QTest::addColumn<int>("family");
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("chunk");
    const QList<QPair<QString, int>> modes{{"uart", 1}, {"bytes", 0}, {"random", 0}, {"random", 1}};
    for (const auto &mode : modes) {
        for (int chunk : {32, 512, 1024}) {
            for (int size : {0, 1, 255, 256, 257, 3000, 65536}) {
                // At the line rate a 64 KiB file takes a quarter of a minute each way: once is enough there.
                if (size == 65536 && chunk != 512 && mode.first != QLatin1String("random"))
                    continue;
                QTest::addRow("%s %s %d bytes chunk %d", qPrintable(mode.first), mode.second ? "esp32" : "stm32",
                              size, chunk)
                    << mode.first << mode.second << size << chunk;
            }
        }
    }
}

void tst_DeliveryModes::roundTrip()
{
    QFETCH(int, size);
    QFETCH(int, chunk);
    Session *s = session();
    QVERIFY(s);
    MorvexWindow &w = *s->window;
    QSettings().setValue(QStringLiteral("MC/TransferSize"), chunk);

    const QString name = QStringLiteral("rt_%1_%2.bin").arg(size).arg(chunk);
    const QByteArray data = randomBytes(size, quint32(size * 31 + chunk));
    QVERIFY2(uploadBytes(w, data, s->root + name), qPrintable(logTail(w)));
    QCOMPARE(s->board.readFile(name), data);
    QVERIFY(syslogMessages(w).contains(QStringLiteral("Finished uploading to %1").arg(s->root + name)));
    QVERIFY(windowAction(w, "actionUpload")->isEnabled());
    QVERIFY(w.findChild<QProgressBar *>("progressBar")->isHidden());

    // Straight on, as a user's next click would: the upload's re-prompt is still on its way.
    const QString localPath = local.filePath(name);
    QVERIFY(w.downloadToFile(s->root + name, localPath));
    QVERIFY2(syslogMessages(w).contains(QStringLiteral("Download from %1 completed").arg(s->root + name)),
             qPrintable(logTail(w)));
    QCOMPARE(readLocalFile(localPath), data);
    checkNoTroubles(s);
}

void tst_DeliveryModes::synchronise()
{
    Session *s = session();
    QVERIFY(s);
    MorvexWindow &w = *s->window;
    QTemporaryDir folder;
    const QMap<QString, QByteArray> localFiles{{"lib/same.py", "x = 1\n"},
                                               {"lib/new.py", randomBytes(700, 3)},
                                               {"main.py", "print('new main')\n"},
                                               {"same.txt", randomBytes(1200, 4)}};
    for (auto it = localFiles.cbegin(); it != localFiles.cend(); ++it)
        QVERIFY(writeLocalFile(folder.filePath(it.key()), it.value()));
    QVERIFY(s->board.writeFile(QStringLiteral("sync/lib/same.py"), localFiles.value("lib/same.py")));
    QVERIFY(s->board.writeFile(QStringLiteral("sync/main.py"), "print('old main, longer')\n"));
    QVERIFY(s->board.writeFile(QStringLiteral("sync/same.txt"), localFiles.value("same.txt")));
    w.setPcFolder(folder.path());
    w.changeBoardDir(s->root + QStringLiteral("sync"));

    DialogAnswerer accept([](QWidget *widget) {
        auto *dialog = qobject_cast<SyncConfigurationDialog *>(widget);
        if (dialog)
            dialog->accept();
        return dialog != nullptr;
    });
    const int sentBefore = s->board.received().size();
    windowAction(w, "actionSync")->trigger();
    QVERIFY2(syslogMessages(w).constLast()
                 == QStringLiteral("Synchronized files from folders %1/ and %2sync/").arg(folder.path(), s->root),
             qPrintable(logTail(w)));
    QVERIFY(inOrder(syslogMessages(w), {QStringLiteral("Skipping lib/same.py - files are identical"),
                                        QStringLiteral("Skipping same.txt - files are identical")}));
    const QByteArray sent = s->board.received().mid(sentBefore);
    QCOMPARE(sent.count("_upload('"), 2); // the calls, not the script that defines it
    for (auto it = localFiles.cbegin(); it != localFiles.cend(); ++it)
        QCOMPARE(s->board.readFile(QStringLiteral("sync/") + it.key()), it.value());
    checkNoTroubles(s);
}

void tst_DeliveryModes::packages()
{
    Session *s = session();
    QVERIFY(s);
    MorvexWindow &w = *s->window;
    w.changeBoardDir(s->root);
    QTemporaryDir folder;
    // zpack names are board paths; a relative one gets a "/" in front.
    const QString prefix = s->family ? QString() : s->root;
    const QList<QPair<QString, QByteArray>> zipped{{prefix + QStringLiteral("pk/main.py"), "print('main')\n"},
                                                   {prefix + QStringLiteral("pk/lib/sub/deep.bin"), randomBytes(1500, 11)}};
    const QString zpack = folder.filePath(QStringLiteral("fw.zpack"));
    QVERIFY(writeZip(zpack, zipped, QStringLiteral("Pack 2")));
    w.uploadZPack(zpack);
    QVERIFY2(syslogMessages(w).contains(QStringLiteral("ZPack uploaded!")), qPrintable(logTail(w)));
    for (const auto &member : zipped)
        QCOMPARE(s->board.readFile(member.first.mid(prefix.size())), member.second);

    // zfw names stand relative to the board folder, which is the board's current directory.
    const QList<QPair<QString, QByteArray>> tarred{{QStringLiteral("pz/"), QByteArray()},
                                                   {QStringLiteral("pz/lib/a.py"), "a = 1\n"},
                                                   {QStringLiteral("pz/lib/b.bin"), randomBytes(2100, 12)}};
    const QString zfw = folder.filePath(QStringLiteral("fw.zfw"));
    QVERIFY(writeZfw(zfw, {{QStringLiteral("board"), QStringLiteral("PYBv1.1")}, {QStringLiteral("mod"), QStringLiteral("flash")}},
                     tarred));
    w.uploadZfw(zfw);
    QVERIFY2(inOrder(syslogMessages(w), {QStringLiteral("ZFW firmware package is for PYBv1.1/flash ()"),
                                         QStringLiteral("ZFW firmware pack uploaded!")}),
             qPrintable(logTail(w)));
    for (const auto &member : tarred.mid(1))
        QCOMPARE(s->board.readFile(member.first), member.second);
    checkNoTroubles(s);
}

void tst_DeliveryModes::editing()
{
    Session *s = session();
    QVERIFY(s);
    MorvexWindow &w = *s->window;
    // Several download blocks, so that the copy is whole only if every block came.
    QByteArray original;
    for (int i = 0; i < 40; ++i)
        original += QByteArray("value_%1 = %2  # a line of the file\n").replace("%1", QByteArray::number(i)).replace("%2", QByteArray::number(i * i));
    QVERIFY(s->board.writeFile(QStringLiteral("edit_me.py"), original));
    w.changeBoardDir(s->root);
    w.editBoardFile(boardRow(w, QStringLiteral("edit_me.py")));
    QPointer<CodeEditor> editor = w.findChild<CodeEditor *>();
    QVERIFY2(editor && editor->isVisible(), qPrintable(logTail(w)));
    auto *text = editor->findChild<QCodeEditor *>(QStringLiteral("editor"));
    QCOMPARE(text->toPlainText().toUtf8(), original);
    text->setPlainText(text->toPlainText() + QStringLiteral("print('edited')\n"));
    editor->findChild<QPushButton *>(QStringLiteral("applyButton"))->click();
    QCOMPARE(s->board.readFile(QStringLiteral("edit_me.py")), original + "print('edited')\n");
    QVERIFY(waitFor([&] { return editor.isNull(); }, 5000));
    checkNoTroubles(s);
}

void tst_DeliveryModes::soak_data()
{
    // One board through all rows: 200 operations, in parts that each stay within a test function's time.
    QTest::addColumn<int>("first");
    for (int first = 0; first < 200; first += 50)
        QTest::addRow("operations %d to %d", first, first + 49) << first;
}

void tst_DeliveryModes::soak()
{
    // Operations in random order, each checked against the board's file system.
    if (qEnvironmentVariableIsSet("MORVEX_SOAK_APART"))
        QSKIP("the soak runs as a test of its own");
    QFETCH(int, first);
    if (!soakState) {
        soakState.reset(new SoakState);
        soakState->seed = qEnvironmentVariableIsSet("MORVEX_SOAK_SEED")
                              ? quint32(qEnvironmentVariableIntValue("MORVEX_SOAK_SEED"))
                              : QRandomGenerator::global()->generate();
        soakState->random.seed(soakState->seed);
        QVERIFY(soakState->board.start(boardArgs(QStringLiteral("random"), 0)));
        QVERIFY(connectBoard(soakState->window, soakState->board, 0, 30000));
        soakState->dirs << QString(); // the root itself
        qInfo("soak seed %u", soakState->seed);
    }
    const quint32 seed = soakState->seed;
    QRandomGenerator &random = soakState->random;
    VirtualBoard &board = soakState->board;
    MorvexWindow &w = soakState->window;
    QVERIFY2(MorvexWindowProbe::port(w).isOpen(), "an earlier part lost the board");
    const QString root = QStringLiteral("/flash/");
    QStringList &dirs = soakState->dirs;
    QMap<QString, QByteArray> &files = soakState->files;

    QString operation;
    auto fail = [&](const QString &what) {
        return QStringLiteral("soak seed %1, operation %2: %3\n%4\n%5")
            .arg(seed)
            .arg(operation, what, logTail(w), board.errors());
    };
    auto join = [](const QString &dir, const QString &name) { return dir.isEmpty() ? name : dir + '/' + name; };

    for (int step = first; step < first + 50; ++step) {
        const int from = int(syslogMessages(w).size());
        const QString dir = dirs.at(random.bounded(dirs.size()));
        switch (random.bounded(7)) {
        case 0:
        case 1: { // upload
            const QString rel = join(dir, QStringLiteral("f%1.bin").arg(step));
            const int chunk = QList<int>{32, 512, 1024}.at(random.bounded(3));
            const QByteArray data = randomBytes(random.bounded(3000), random.generate());
            operation = QStringLiteral("%1: upload %2 (%3 bytes, chunk %4)").arg(step).arg(rel).arg(data.size()).arg(chunk);
            QSettings().setValue(QStringLiteral("MC/TransferSize"), chunk);
            QVERIFY2(uploadBytes(w, data, root + rel), qPrintable(fail(QStringLiteral("upload failed"))));
            files[rel] = data;
            break;
        }
        case 2: { // download
            if (files.isEmpty())
                continue;
            const QString rel = files.keys().at(random.bounded(files.size()));
            operation = QStringLiteral("%1: download %2").arg(step).arg(rel);
            const QString localPath = local.filePath(QStringLiteral("soak.bin"));
            QVERIFY2(w.downloadToFile(root + rel, localPath), qPrintable(fail(QStringLiteral("download failed"))));
            QVERIFY2(readLocalFile(localPath) == files.value(rel), qPrintable(fail(QStringLiteral("downloaded bytes differ"))));
            break;
        }
        case 3: { // directories
            const QString rel = join(dir, QStringLiteral("d%1/e%1").arg(step));
            operation = QStringLiteral("%1: make %2").arg(step).arg(rel);
            QVERIFY2(w.makeBoardDirs(root + rel), qPrintable(fail(QStringLiteral("mkdir failed"))));
            dirs << join(dir, QStringLiteral("d%1").arg(step)) << rel;
            break;
        }
        case 4: { // removal of a file, or of an empty directory
            QStringList empty;
            for (const QString &d : dirs) {
                if (d.isEmpty() || QDir(board.fsPath() + '/' + d).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).isEmpty())
                    empty << d;
            }
            empty.removeAll(QString());
            const bool dirRemoval = !empty.isEmpty() && (files.isEmpty() || random.bounded(2));
            if (!dirRemoval && files.isEmpty())
                continue;
            const QString rel = dirRemoval ? empty.at(random.bounded(empty.size()))
                                           : files.keys().at(random.bounded(files.size()));
            operation = QStringLiteral("%1: remove %2").arg(step).arg(rel);
            QVERIFY2(w.removeBoardPath(root + rel, dirRemoval), qPrintable(fail(QStringLiteral("removal failed"))));
            if (dirRemoval)
                dirs.removeAll(rel);
            else
                files.remove(rel);
            break;
        }
        case 5: { // listing
            operation = QStringLiteral("%1: list %2").arg(step).arg(dir);
            w.changeBoardDir(root + dir);
            const MCDirModel &model = MorvexWindowProbe::mcModel(w);
            QStringList shown;
            for (int i = 0; i < model.rowCount(); ++i)
                shown << model.fileName(model.index(i, 0));
            shown.removeAll(QStringLiteral(".."));
            QStringList expected = QDir(board.fsPath() + '/' + dir).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
            shown.sort();
            expected.sort();
            QVERIFY2(shown == expected, qPrintable(fail(QStringLiteral("listing differs"))));
            break;
        }
        default: { // existence and hash
            operation = QStringLiteral("%1: hash and existence in %2").arg(step).arg(dir);
            QVERIFY2(w.boardDirExists(root + dir), qPrintable(fail(QStringLiteral("directory not found"))));
            if (files.isEmpty())
                continue;
            const QString rel = files.keys().at(random.bounded(files.size()));
            QVERIFY(w.loadScript(QStringLiteral(":/data/hash.py")) && w.enterRepl());
            QVERIFY2(w.boardHash(root + rel) == QCryptographicHash::hash(files.value(rel), QCryptographicHash::Md5).toHex(),
                     qPrintable(fail(QStringLiteral("hash differs"))));
            break;
        }
        }
        // The board's file system holds what the operations say.
        for (auto it = files.cbegin(); it != files.cend(); ++it)
            QVERIFY2(board.readFile(it.key()) == it.value(), qPrintable(fail(it.key() + QStringLiteral(" differs on the board"))));
        for (const QString &d : dirs)
            QVERIFY2(QFileInfo(board.fsPath() + '/' + d).isDir(), qPrintable(fail(d + QStringLiteral(" missing"))));
        const QStringList troubles = troublesSince(w, from);
        QVERIFY2(troubles.isEmpty(), qPrintable(fail(troubles.join('\n'))));
    }
}

QTEST_MAIN(tst_DeliveryModes)
#include "tst_deliverymodes.moc"
