// The everyday flows through the real window, however the board's bytes are cut into reads:
// at the line rate in bridge-sized pieces, one byte at a time, and at random split points.
#include "batchitem.h"
#include "codeeditor.h"
#include "morvexwindowprobe.h"
#include "qcodeeditor.h"
#include "syncconfigurationdialog.h"
#include "testsupport.h"
#include "virtualboard.h"

#include <QAction>
#include <QCryptographicHash>
#include <QDir>
#include <QElapsedTimer>
#include <QPointer>
#include <QPushButton>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QTextEdit>

#include <memory>

namespace {
// Messages of a wait that ended at the wrong reply or at none, or of a board-side exception.
QStringList troublesSince(MorvexWindow &w, int from)
{
    static const QRegularExpression trouble(QStringLiteral(
        "^\\w+Error: |Cannot list files|Invalid reply|Communication|Abort failed|request failed|Connection failed|"
        "Cannot upload script|Transmission error|No reply|Error while starting|Finalization error|Removal error|"
        "Cannot change directory|downloaded with errors|init failed"));
    return syslogMessages(w).mid(from).filter(trouble);
}

QString logTail(MorvexWindow &w)
{
    const QStringList messages = syslogMessages(w);
    return messages.mid(qMax(0, messages.size() - 14)).join('\n');
}

QByteArray md5(const QByteArray &data)
{
    return QCryptographicHash::hash(data, QCryptographicHash::Md5).toHex();
}

// The board pane's rows as "name|size", sorted, without "..".
QStringList listing(MorvexWindow &w)
{
    const MCDirModel &model = MorvexWindowProbe::mcModel(w);
    QStringList rows;
    for (int i = 0; i < model.rowCount(); ++i)
        rows << model.data(model.index(i, 0)).toString() + '|' + model.data(model.index(i, 1)).toString();
    rows.removeAll(QStringLiteral("..|"));
    return rows.sort(), rows;
}

QStringList boardArgs(const QString &mode, int family)
{
    return VirtualBoard::familyArgs(family) + VirtualBoard::deliveryArgs(mode)
           << QStringLiteral("--reset-delay") << QStringLiteral("300");
}
} // namespace

class tst_DeliveryModes : public QObject
{
    Q_OBJECT

private slots:
    void init() { QSettings().remove(QStringLiteral("MC/TransferSize")); }
    void cleanupTestCase() { soakState.reset(); }
    void flows_data();
    void flows();
    void reset_data();
    void reset();
    void soak_data();
    void soak();

private:
    SettingsSandbox sandbox;
    QTemporaryDir local;
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

void tst_DeliveryModes::flows_data()
{
    QTest::addColumn<QString>("mode");
    QTest::addColumn<int>("family");
    QTest::newRow("uart esp32") << "uart" << 1;
    QTest::newRow("bytes stm32") << "bytes" << 0;
    QTest::newRow("random stm32") << "random" << 0;
    QTest::newRow("random esp32") << "random" << 1;
}

// One board per mode through every flow in turn, each leaving the board ready for the next.
void tst_DeliveryModes::flows()
{
    QFETCH(QString, mode);
    QFETCH(int, family);
    VirtualBoard board;
    QVERIFY(board.start(boardArgs(mode, family)));
    MorvexWindow w;
    QVERIFY2(connectBoard(w, board, family, 30000), qPrintable(logTail(w) + board.errors()));
    const QString root = family ? QStringLiteral("/") : QStringLiteral("/flash/");

    // Connect and announce.
    const QString announce = QStringLiteral("Connected to micropython board %1 (mod unknown), release 1.28.0. Core %2 version v1.28.0 on 2026-11-21");
    QVERIFY2(inOrder(syslogMessages(w), {QStringLiteral("Connected to %1").arg(board.portPath()), QStringLiteral("REPL initialized"),
                                         family ? announce.arg(QStringLiteral("esp32"), QStringLiteral("Generic ESP32 module with ESP32"))
                                                : announce.arg(QStringLiteral("pyboard"), QStringLiteral("PYBv1.1 with STM32F405RG"))}),
             qPrintable(logTail(w)));
    QCOMPARE(MorvexWindowProbe::mcModel(w).rootPath, root);

    // A local file run, its output line by line; the listing after it shows the board ready again.
    const QString script = local.filePath(QStringLiteral("hello.py"));
    QVERIFY(writeLocalFile(script, "print('first')\nprint('a>b')\nfor i in range(3):\n    print('line', i)\n"));
    QVERIFY(w.runScript(script));
    QVERIFY2(inOrder(syslogMessages(w), {">>first", ">>a>b", ">>line 0", ">>line 2", QStringLiteral("Script %1 executed").arg(script)}),
             qPrintable(logTail(w)));
    QCOMPARE(w.state(), MorvexWindow::MC_RAW);

    // Listing with sizes.
    QVERIFY(board.writeFile(QStringLiteral("sizes/small.txt"), QByteArray(10, 'a')));
    QVERIFY(board.writeFile(QStringLiteral("sizes/mid.bin"), QByteArray(2000, 'b')));
    QVERIFY(board.writeFile(QStringLiteral("sizes/empty"), QByteArray()));
    QVERIFY(QDir().mkpath(board.fsPath() + QStringLiteral("/sizes/inner")));
    w.changeBoardDir(root + QStringLiteral("sizes"));
    QCOMPARE(listing(w), (QStringList{"empty|", "inner|", "mid.bin|2.0kB", "small.txt|10"}));

    // New Directory for a deep path, then the listing.
    w.changeBoardDir(root);
    {
        const std::unique_ptr<DialogAnswerer> name(DialogAnswerer::inputText(QStringLiteral("deep/er")));
        windowAction(w, "actionNew_Directory")->trigger();
    }
    QVERIFY(QFileInfo(board.fsPath() + QStringLiteral("/deep/er")).isDir());
    QVERIFY2(boardRow(w, QStringLiteral("deep")).isValid(), qPrintable(logTail(w)));

    // Existence and hash.
    QVERIFY(w.boardDirExists(root + QStringLiteral("deep/er")));
    QVERIFY(!w.boardDirExists(root + QStringLiteral("not_there")));
    const QByteArray data = randomBytes(1500, 7);
    QVERIFY(board.writeFile(QStringLiteral("deep/h.bin"), data));
    QVERIFY(w.loadScript(QStringLiteral(":/data/hash.py")) && w.enterRepl());
    QCOMPARE(w.boardHash(root + QStringLiteral("deep/h.bin")), md5(data));

    // Removal of a file and of a directory.
    QVERIFY(w.removeBoardPath(root + QStringLiteral("deep/h.bin"), false));
    QVERIFY(w.removeBoardPath(root + QStringLiteral("deep/er"), true));
    QVERIFY(!board.exists(QStringLiteral("deep/h.bin")) && !board.exists(QStringLiteral("deep/er")));

    // Synchronisation: identical files skipped, the others uploaded.
    QTemporaryDir folder;
    const QMap<QString, QByteArray> localFiles{{"lib/same.py", randomBytes(1200, 4)}, {"lib/new.py", randomBytes(700, 3)},
                                               {"main.py", "print('new main')\n"}};
    for (auto it = localFiles.cbegin(); it != localFiles.cend(); ++it)
        QVERIFY(writeLocalFile(folder.filePath(it.key()), it.value()));
    QVERIFY(board.writeFile(QStringLiteral("sync/lib/same.py"), localFiles.value("lib/same.py")));
    QVERIFY(board.writeFile(QStringLiteral("sync/main.py"), "print('old main, longer')\n"));
    w.setPcFolder(folder.path());
    w.changeBoardDir(root + QStringLiteral("sync"));
    {
        DialogAnswerer accept([](QWidget *widget) {
            auto *dialog = qobject_cast<SyncConfigurationDialog *>(widget);
            return dialog && (dialog->accept(), true);
        });
        windowAction(w, "actionSync")->trigger();
        QVERIFY2(syslogMessages(w).constLast()
                     == QStringLiteral("Synchronized files from folders %1/ and %2sync/").arg(folder.path(), root),
                 qPrintable(logTail(w)));
        QVERIFY(syslogMessages(w).contains(QStringLiteral("Skipping lib/same.py - files are identical")));
    }
    for (auto it = localFiles.cbegin(); it != localFiles.cend(); ++it)
        QCOMPARE(board.readFile(QStringLiteral("sync/") + it.key()), it.value());

    // Packages: zpack names are board paths, zfw names stand relative to the board folder.
    w.changeBoardDir(root);
    const QString prefix = family ? QString() : root;
    const QList<QPair<QString, QByteArray>> zipped{{prefix + QStringLiteral("pk/main.py"), "print('main')\n"},
                                                   {prefix + QStringLiteral("pk/lib/sub/deep.bin"), randomBytes(1500, 11)}};
    QVERIFY(writeZip(folder.filePath(QStringLiteral("fw.zpack")), zipped, QStringLiteral("Pack 2")));
    w.uploadZPack(folder.filePath(QStringLiteral("fw.zpack")));
    QVERIFY2(syslogMessages(w).contains(QStringLiteral("ZPack uploaded!")), qPrintable(logTail(w)));
    for (const auto &member : zipped)
        QCOMPARE(board.readFile(member.first.mid(prefix.size())), member.second);
    const QList<QPair<QString, QByteArray>> tarred{
        {QStringLiteral("pz/"), QByteArray()}, {QStringLiteral("pz/lib/a.py"), "a = 1\n"}, {QStringLiteral("pz/lib/b.bin"), randomBytes(2100, 12)}};
    QVERIFY(writeZfw(folder.filePath(QStringLiteral("fw.zfw")), {{"board", "PYBv1.1"}, {"mod", "flash"}}, tarred));
    w.uploadZfw(folder.filePath(QStringLiteral("fw.zfw")));
    QVERIFY2(inOrder(syslogMessages(w), {"ZFW firmware package is for PYBv1.1/flash ()", "ZFW firmware pack uploaded!"}),
             qPrintable(logTail(w)));
    for (const auto &member : tarred.mid(1))
        QCOMPARE(board.readFile(member.first), member.second);

    // Editing: a file of several download blocks opened, changed and saved back.
    QByteArray original;
    for (int i = 0; i < 40; ++i)
        original += "value_" + QByteArray::number(i) + " = " + QByteArray::number(i * i) + "  # a line of the file\n";
    QVERIFY(board.writeFile(QStringLiteral("edit_me.py"), original));
    w.changeBoardDir(root);
    w.editBoardFile(boardRow(w, QStringLiteral("edit_me.py")));
    QPointer<CodeEditor> editor = w.findChild<CodeEditor *>();
    QVERIFY2(editor && editor->isVisible(), qPrintable(logTail(w)));
    auto *text = editor->findChild<QCodeEditor *>(QStringLiteral("editor"));
    QCOMPARE(text->toPlainText().toUtf8(), original);
    text->setPlainText(text->toPlainText() + QStringLiteral("print('edited')\n"));
    editor->findChild<QPushButton *>(QStringLiteral("applyButton"))->click();
    QCOMPARE(board.readFile(QStringLiteral("edit_me.py")), original + "print('edited')\n");
    QVERIFY(waitFor([&] { return editor.isNull(); }, 5000));

    // Round trips, each download straight after its upload, as a user's next click would come
    // while the upload's re-prompt is still on its way. At the line rate 64 KiB takes a quarter
    // of a minute each way: once is enough there.
    for (int chunk : {32, 512, 1024}) {
        QSettings().setValue(QStringLiteral("MC/TransferSize"), chunk);
        for (int size : {0, 1, 255, 256, 257, 3000, 65536}) {
            if (size == 65536 && chunk != 512 && mode != QLatin1String("random"))
                continue;
            const QString name = root + QStringLiteral("rt_%1_%2.bin").arg(size).arg(chunk), copy = local.filePath(QStringLiteral("rt.bin"));
            const QByteArray data = randomBytes(size, quint32(size * 31 + chunk));
            QVERIFY2(uploadBytes(w, data, name) && board.readFile(name.mid(root.size())) == data, qPrintable(name + '\n' + logTail(w)));
            QVERIFY2(w.downloadToFile(name, copy) && readLocalFile(copy) == data, qPrintable(name + '\n' + logTail(w)));
        }
    }

    // Launch and abort. The ESP32's port survives its reset; the STM32's goes and comes back
    // as a monitor, after the board has printed its first ticks to nobody.
    QVERIFY(board.writeFile(QStringLiteral("main.py"),
                            "import time\nn = 0\nwhile True:\n    print('tick', n)\n    n += 1\n    time.sleep_ms(50)\n"));
    windowAction(w, "actionLaunch")->trigger();
    QVERIFY(!family || w.state() == MorvexWindow::MC_RUNNING);
    QVERIFY2(waitFor([&] { return terminalMessages(w).filter(QRegularExpression(QStringLiteral("^tick \\d+$"))).size() > 3; }, 15000),
             qPrintable(terminalText(w) + syslogText(w)));
    if (!family) {
        QVERIFY(inOrder(syslogMessages(w), {"Launching...", "Connection closed", "Reconnecting.... Please wait."}));
        QCOMPARE(w.state(), MorvexWindow::MC_UNKNOWN);
    }
    QVERIFY(QFile::remove(board.fsPath() + QStringLiteral("/main.py")));
    windowAction(w, "actionAbort")->trigger();
    QVERIFY2(syslogMessages(w).contains(QStringLiteral("Stopped")), qPrintable(logTail(w)));
    QVERIFY(!family || terminalMessages(w).contains(QStringLiteral("Execution aborted")));
    QCOMPARE(w.state(), MorvexWindow::MC_REPL);
    QVERIFY(windowAction(w, "actionUpload")->isEnabled());
    const QStringList troubles = troublesSince(w, 0);
    QVERIFY2(troubles.isEmpty(), qPrintable(troubles.join('\n') + '\n' + board.errors()));
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

// The Reset action, then Reset MC at the next connect: each time the board restarts and is announced again.
void tst_DeliveryModes::reset()
{
    QFETCH(QString, mode);
    QFETCH(int, family);
    QFETCH(bool, stock);
    VirtualBoard board;
    QVERIFY(board.start(boardArgs(mode, family) + (stock ? QStringList{QStringLiteral("--stock-reset")} : QStringList())));
    MorvexWindow w;
    QVERIFY(connectBoard(w, board, family, 30000));
    const auto announced = [&] { return syslogMessages(w).filter(QStringLiteral("Connected to micropython board")).size(); };
    const auto restarts = [&](const std::function<void()> &how) {
        const int before = announced();
        how();
        QVERIFY2(waitFor([&] { return announced() > before && windowAction(w, "actionUpload")->isEnabled(); }, 20000),
                 qPrintable(logTail(w)));
    };
    restarts([&] {
        QElapsedTimer clock;
        clock.start();
        windowAction(w, "actionReset")->trigger();
        // The announcement is due 200 ms after the reset line, whatever the board answers to it.
        const qint64 due = clock.elapsed() + MorvexWindowProbe::queryTimer(w).remainingTime();
        QVERIFY2(due >= 180 && due < 300, qPrintable(QString::number(due)));
        QVERIFY(syslogMessages(w).contains(QStringLiteral("Resetting...")));
        QVERIFY(!windowAction(w, "actionUpload")->isEnabled() && windowAction(w, "actionAbort")->isEnabled());
    });
    QCOMPARE(board.received().count("import machine; machine.reset(1)\r\n"), 1);
    QCOMPARE(board.received().count("import machine; machine.reset()\r\n"), stock ? 1 : 0);
    const int second = syslogMessages(w).size();
    QElapsedTimer clock;
    clock.start();
    QHash<QString, qint64> loggedAt; // the last time each message was logged
    connect(w.findChild<QTextEdit *>(QStringLiteral("logBrowser")), &QTextEdit::textChanged, &w,
            [&] { loggedAt.insert(syslogMessages(w).value(syslogMessages(w).size() - 1), clock.elapsed()); });
    restarts([&] {
        windowAction(w, "actionConnect")->trigger(); // disconnect
        windowAction(w, "actionReset_MC")->setChecked(true);
        connectThroughPopup(w, board, family);
    });
    QVERIFY(!windowAction(w, "actionReset_MC")->isChecked());
    QCOMPARE(board.received().count("import machine; machine.reset(1)\r\n"), 2);
    QCOMPARE(board.received().count("import machine; machine.reset()\r\n"), stock ? 2 : 0);
    // A vanishing port is reopened by the reconnect attempts, a surviving one settled at once.
    const QStringList story = family ? QStringList{"REPL initialized", "MC initialization..."}
                                     : QStringList{"Reconnect attempt 1 of 10", "Reconnecting to " + board.portPath(), "Connected to " + board.portPath()};
    QVERIFY2(inOrder(syslogMessages(w).mid(second), story), qPrintable(logTail(w)));
    // A surviving port is looked at 100 ms after the reset line, also when a refusal came first.
    const qint64 pause = loggedAt.value("MC initialization...") - loggedAt.value("REPL initialized");
    QVERIFY2(!family || (pause >= 90 && pause < 250), qPrintable(QString::number(pause)));
    QVERIFY(!syslogMessages(w).contains(QStringLiteral("Fatal communication error")));
}

void tst_DeliveryModes::soak_data()
{
    // One board through all rows: 200 operations, in parts that each stay within a test function's time.
    QTest::addColumn<int>("first");
    for (int first = 0; first < 200; first += 50)
        QTest::addRow("operations %d to %d", first, first + 49) << first;
}

// Operations in random order on random delivery, each checked against the board's file system.
void tst_DeliveryModes::soak()
{
    if (qEnvironmentVariableIsSet("MORVEX_SOAK_APART"))
        QSKIP("the soak runs as a test of its own");
    QFETCH(int, first);
    if (!soakState)
        soakState.reset(new SoakState);
    auto &[seed, random, board, w, dirs, files] = *soakState;
    if (dirs.isEmpty()) { // the first part
        dirs << QString();
        seed = qEnvironmentVariableIsSet("MORVEX_SOAK_SEED") ? quint32(qEnvironmentVariableIntValue("MORVEX_SOAK_SEED"))
                                                             : QRandomGenerator::global()->generate();
        random.seed(seed);
        qInfo("soak seed %u", seed);
        QVERIFY(board.start(boardArgs(QStringLiteral("random"), 0)));
        QVERIFY(connectBoard(w, board, 0, 30000));
    }
    QVERIFY2(MorvexWindowProbe::port(w).isOpen(), "an earlier part lost the board");
    const QString root = QStringLiteral("/flash/"), copy = local.filePath(QStringLiteral("soak.bin"));
    const auto onBoard = [&](const QString &dir) {
        QStringList names = QDir(soakState->board.fsPath() + '/' + dir).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
        return names.sort(), names;
    };
    for (int step = first; step < first + 50; ++step) {
        const int from = int(syslogMessages(w).size());
        const QString dir = dirs.at(random.bounded(dirs.size())), in = dir.isEmpty() ? dir : dir + '/';
        const QString file = files.isEmpty() ? QString() : files.keys().at(random.bounded(files.size()));
        QString operation;
        QStringList names;
        bool ok = true;
        switch (random.bounded(8)) {
        case 0:
        case 1: {
            const QString rel = in + QStringLiteral("f%1.bin").arg(step);
            const int chunk = QList<int>{32, 512, 1024}.at(random.bounded(3));
            files[rel] = randomBytes(random.bounded(3000), random.generate());
            operation = QStringLiteral("upload %1 (%2 bytes, chunk %3)").arg(rel).arg(files[rel].size()).arg(chunk);
            QSettings().setValue(QStringLiteral("MC/TransferSize"), chunk);
            ok = uploadBytes(w, files[rel], root + rel);
            break;
        }
        case 2:
            operation = QStringLiteral("download %1").arg(file);
            ok = file.isEmpty() || (w.downloadToFile(root + file, copy) && readLocalFile(copy) == files.value(file));
            break;
        case 3:
            operation = QStringLiteral("make %1d%2/e%2").arg(in).arg(step);
            ok = w.makeBoardDirs(root + in + QStringLiteral("d%1/e%1").arg(step));
            dirs << in + QStringLiteral("d%1").arg(step) << in + QStringLiteral("d%1/e%1").arg(step);
            break;
        case 4: { // a file, or an empty directory
            QStringList empty;
            for (const QString &d : qAsConst(dirs))
                if (!d.isEmpty() && onBoard(d).isEmpty())
                    empty << d;
            const bool dirRemoval = !empty.isEmpty() && (file.isEmpty() || random.bounded(2));
            const QString rel = dirRemoval ? empty.at(random.bounded(empty.size())) : file;
            operation = QStringLiteral("remove %1").arg(rel);
            ok = rel.isEmpty() || w.removeBoardPath(root + rel, dirRemoval);
            dirRemoval ? void(dirs.removeAll(rel)) : void(files.remove(rel));
            break;
        }
        case 5:
            operation = QStringLiteral("list %1").arg(dir);
            w.changeBoardDir(root + dir);
            names = listing(w).replaceInStrings(QRegularExpression(QStringLiteral("\\|.*")), QString());
            names.sort();
            ok = names == onBoard(dir);
            break;
        case 6: { // one to four files in one batch, one of them perhaps over an existing file
            const int chunk = QList<int>{32, 512, 1024}.at(random.bounded(3));
            QList<BatchItem> items;
            QStringList sent;
            for (int n = random.bounded(1, 5), i = 0; i < n; ++i) {
                const QString rel = i == 0 && !file.isEmpty() && random.bounded(2) ? file : in + QStringLiteral("g%1_%2.bin").arg(step).arg(i);
                files[rel] = randomBytes(random.bounded(3000), random.generate());
                items << BatchItem::fromData(files[rel], root + rel);
                sent << QStringLiteral("%1 (%2 bytes)").arg(rel).arg(files[rel].size());
            }
            operation = QStringLiteral("batch of %1, chunk %2").arg(sent.join(QStringLiteral(", "))).arg(chunk);
            QSettings().setValue(QStringLiteral("MC/TransferSize"), chunk);
            ok = w.uploadBatch(items);
            break;
        }
        default:
            operation = QStringLiteral("existence of %1, hash of %2").arg(dir, file);
            ok = w.boardDirExists(root + dir)
                 && (file.isEmpty() || (w.loadScript(QStringLiteral(":/data/hash.py")) && w.enterRepl() && w.boardHash(root + file) == md5(files.value(file))));
        }
        // The board's file system holds what the operations say.
        for (auto it = files.cbegin(); ok && it != files.cend(); ++it)
            ok = board.readFile(it.key()) == it.value();
        for (const QString &d : qAsConst(dirs))
            ok = ok && QFileInfo(board.fsPath() + '/' + d).isDir();
        const QStringList troubles = troublesSince(w, from);
        QVERIFY2(ok && troubles.isEmpty(), qPrintable(QStringLiteral("soak seed %1, operation %2: %3\n%4\n%5\n%6")
                                                          .arg(seed).arg(step).arg(operation, troubles.join('\n'), logTail(w), board.errors())));
    }
}

QTEST_MAIN(tst_DeliveryModes)
#include "tst_deliverymodes.moc"
