// Synchronisation of a local folder onto the virtual board, through the real window.
#include "morvexwindowprobe.h"
#include "syncconfigurationdialog.h"
#include "testsupport.h"
#include "virtualboard.h"

#include <QAction>
#include <QCheckBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeView>

#include <map>
#include <memory>

using FileMap = QMap<QString, QByteArray>;
Q_DECLARE_METATYPE(FileMap)

namespace {
// A local entry whose content starts so is a symbolic link to the rest, relative to the tree's root.
const QByteArray linkMark = QByteArrayLiteral("-> ");
// Listed by name, but not readable, even by root.
const QByteArray danglingLink = linkMark + "nowhere/at/all";

// Every file under root, by its path relative to root.
FileMap filesUnder(const QString &root)
{
    FileMap files;
    QDirIterator it(root, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        QFile file(path);
        if (file.open(QIODevice::ReadOnly))
            files.insert(QDir(root).relativeFilePath(path), file.readAll());
    }
    return files;
}

bool writeTree(const QString &root, const FileMap &files)
{
    for (auto it = files.cbegin(); it != files.cend(); ++it) {
        const QString path = root + QLatin1Char('/') + it.key();
        if (it.key().endsWith(QLatin1Char('/'))) {
            if (!QDir().mkpath(path))
                return false;
        } else if (it.value().startsWith(linkMark)) {
            const QString target = root + QLatin1Char('/') + QString::fromUtf8(it.value().mid(linkMark.size()));
            if (!QDir().mkpath(QFileInfo(path).absolutePath()) || !QFile::link(target, path))
                return false;
        } else if (!writeLocalFile(path, it.value())) {
            return false;
        }
    }
    return true;
}

// Names of the board files whose upload was started in these bytes, in order.
QStringList uploadCalls(const QByteArray &received)
{
    QStringList names;
    const QByteArray call("_upload('/flash/");
    for (int at = received.indexOf(call); at >= 0; at = received.indexOf(call, at + 1)) {
        const int start = at + call.size();
        names << QString::fromLatin1(received.mid(start, received.indexOf('\'', start) - start));
    }
    return names;
}

// True when the hash of every file was asked before the first upload started.
bool hashesBeforeUploads(const QByteArray &received)
{
    const int firstUpload = received.indexOf("_upload('");
    return firstUpload < 0 || received.lastIndexOf("_hash('") < firstUpload;
}

QString lastLines(MorvexWindow &w, int count = 12)
{
    const QStringList log = syslogMessages(w);
    return log.mid(qMax(0, log.size() - count)).join(QLatin1Char('\n'));
}
} // namespace

class tst_Sync : public QObject
{
    Q_OBJECT

private slots:
    void init() { sandbox.clear(); }
    void cleanupTestCase() { sessions.clear(); }
    void collectLocalFiles_data();
    void collectLocalFiles();
    void dialogStore_data();
    void dialogStore();
    void dialogSignals();
    void throughDialog_data();
    void throughDialog();
    void runs_data();
    void runs();
    void oneFileFromMenu_data();
    void oneFileFromMenu();

private:
    struct Session {
        VirtualBoard board;
        std::unique_ptr<MorvexWindow> window;
    };
    // A connected STM32-family board of this delivery holding just these files.
    Session *session(const QString &delivery, const FileMap &boardFiles, bool noMd5 = false);

    SettingsSandbox sandbox;
    std::map<QString, std::unique_ptr<Session>> sessions;
};

tst_Sync::Session *tst_Sync::session(const QString &delivery, const FileMap &boardFiles, bool noMd5)
{
    const QString key = delivery + (noMd5 ? QStringLiteral(" no md5") : QString());
    auto &s = sessions[key];
    // A failed upload leaves the board actions off and _upload waiting on the board: start afresh.
    if (!s || !MorvexWindowProbe::port(*s->window).isOpen() || !windowAction(*s->window, "actionSync")->isEnabled()) {
        s.reset(new Session);
        QStringList args{QStringLiteral("--delivery"), delivery};
        if (noMd5)
            args << QStringLiteral("--no-md5");
        if (!s->board.start(args))
            return nullptr;
        s->window.reset(new MorvexWindow);
        if (!connectBoard(*s->window, s->board, 0))
            return nullptr;
    }
    QDir fs(s->board.fsPath());
    if (!fs.removeRecursively() || !fs.mkpath(QStringLiteral(".")))
        return nullptr;
    for (auto it = boardFiles.cbegin(); it != boardFiles.cend(); ++it) {
        if (!s->board.writeFile(it.key(), it.value()))
            return nullptr;
    }
    return s.get();
}

void tst_Sync::collectLocalFiles_data()
{
    QTest::addColumn<FileMap>("tree");
    QTest::addColumn<bool>("recursive");
    QTest::addColumn<QStringList>("expected");

    const FileMap tree{{"b.py", "b"},
                       {"a.txt", "a"},
                       {".hidden", "h"},
                       {"lib/x.py", "x"},
                       {"lib/deep/y.py", "y"},
                       {"lib/.secret/z.py", "z"},
                       {"app/m.py", "m"},
                       {"empty/", ""}};
    QTest::newRow("recursive: subdirectories first, by name")
        << tree << true << QStringList{"app/m.py", "lib/deep/y.py", "lib/x.py", "a.txt", "b.py"};
    QTest::newRow("flat: the root's own files") << tree << false << QStringList{"a.txt", "b.py"};
    QTest::newRow("linked folders are followed, links back are not")
        << FileMap{{"lib/x.py", "x"}, {"shared", "-> lib"}, {"lib/up", "-> ."}, {"a/b", "-> c"}, {"c/d", "-> a"}}
        << true << QStringList{"lib/x.py", "shared/x.py"};
    QTest::newRow("empty folder") << FileMap() << true << QStringList();
    QTest::newRow("only empty subfolders") << FileMap{{"a/", ""}, {"a/b/", ""}} << true << QStringList();
}

void tst_Sync::collectLocalFiles()
{
    QFETCH(FileMap, tree);
    QFETCH(bool, recursive);
    QFETCH(QStringList, expected);
    QTemporaryDir dir;
    QVERIFY(writeTree(dir.path(), tree));
    QCOMPARE(MorvexWindow::collectLocalFiles(dir.path(), QString(), recursive), expected);
}

void tst_Sync::dialogStore_data()
{
    QTest::addColumn<QVariant>("recursiveStored");
    QTest::addColumn<QVariant>("missingStored");

    QTest::newRow("fresh store") << QVariant() << QVariant();
    QTest::newRow("both off") << QVariant(false) << QVariant(false);
    QTest::newRow("only missing") << QVariant(false) << QVariant(true);
}

void tst_Sync::dialogStore()
{
    QFETCH(QVariant, recursiveStored);
    QFETCH(QVariant, missingStored);
    if (recursiveStored.isValid())
        QSettings().setValue(QStringLiteral("Sync/Recursive"), recursiveStored);
    if (missingStored.isValid())
        QSettings().setValue(QStringLiteral("Sync/Missing"), missingStored);

    SyncConfigurationDialog dialog;
    dialog.load();
    QCOMPARE(dialog.recursive(), recursiveStored.isValid() ? recursiveStored.toBool() : true);
    QCOMPARE(dialog.missing(), missingStored.isValid() ? missingStored.toBool() : true);
    QCOMPARE(dialog.size(), QSize(516, 230));
    QCOMPARE(dialog.windowTitle(), QStringLiteral("Synchronization"));

    dialog.findChild<QCheckBox *>(QStringLiteral("recursiveCheck"))->toggle();
    dialog.findChild<QCheckBox *>(QStringLiteral("missingCheck"))->toggle();
    const bool recursive = dialog.recursive();
    const bool missing = dialog.missing();
    dialog.save();
    QCOMPARE(QSettings().value(QStringLiteral("Sync/Recursive")).toBool(), recursive);
    QCOMPARE(QSettings().value(QStringLiteral("Sync/Missing")).toBool(), missing);
}

void tst_Sync::dialogSignals()
{
    SyncConfigurationDialog dialog;
    auto *srcEdit = dialog.findChild<QLineEdit *>(QStringLiteral("srcEdit"));
    auto *destEdit = dialog.findChild<QLineEdit *>(QStringLiteral("destEdit"));
    QVERIFY(srcEdit && srcEdit->isReadOnly());
    QVERIFY(destEdit && destEdit->isReadOnly());
    QSignalSpy sources(&dialog, &SyncConfigurationDialog::sourceChanged);
    QSignalSpy destinations(&dialog, &SyncConfigurationDialog::destinationChanged);
    QVERIFY(sources.isValid() && destinations.isValid());

    dialog.setSource(QStringLiteral("/home/me/project"));
    dialog.setSource(QStringLiteral("/home/me/project"));
    QVERIFY(dialog.setProperty("destination", QStringLiteral("/flash/")));
    dialog.setDestination(QStringLiteral("/flash/"));
    QCOMPARE(sources.size(), 1);
    QCOMPARE(sources.at(0).at(0).toString(), QStringLiteral("/home/me/project"));
    QCOMPARE(destinations.size(), 1);
    QCOMPARE(dialog.property("source").toString(), srcEdit->text());
    QCOMPARE(dialog.destination(), QStringLiteral("/flash/"));
}

void tst_Sync::throughDialog_data()
{
    QTest::addColumn<QString>("delivery");
    QTest::addColumn<bool>("accept");
    QTest::addColumn<bool>("recursive");
    QTest::addColumn<bool>("missing");

    for (const char *delivery : {"usb", "uart"}) {
        for (const bool recursive : {true, false}) {
            for (const bool missing : {true, false}) {
                const QByteArray name = QByteArray(delivery) + (recursive ? " recursive" : " flat")
                                        + (missing ? ", upload missing" : ", keep missing");
                QTest::newRow(name.constData()) << delivery << true << recursive << missing;
            }
        }
        QTest::newRow(QByteArray(delivery).append(" cancel").constData()) << delivery << false << true << true;
    }
}

void tst_Sync::throughDialog()
{
    QFETCH(QString, delivery);
    QFETCH(bool, accept);
    QFETCH(bool, recursive);
    QFETCH(bool, missing);

    const FileMap local{{"same.txt", "same everywhere\n"},
                        {"changed.txt", "new text\n"},
                        {"fresh.txt", "only here\n"},
                        {".hidden", "never synced\n"},
                        {"lib/same.py", "x = 1\n"},
                        {"lib/changed.py", "x = 3\n"},
                        {"lib/fresh.py", "y = 2\n"}};
    const FileMap before{{"same.txt", "same everywhere\n"},
                         {"changed.txt", "old text, longer than the new one\n"},
                         {"lib/same.py", "x = 1\n"},
                         {"lib/changed.py", "x = 2\n"}};
    Session *s = session(delivery, before);
    QVERIFY(s);
    MorvexWindow &w = *s->window;
    QTemporaryDir dir;
    QVERIFY(writeTree(dir.path(), local));
    w.setPcFolder(dir.path());
    // The opposite of what the dialog will be given, so a Cancel that stored would show.
    QSettings().setValue(QStringLiteral("Sync/Recursive"), !recursive);
    QSettings().setValue(QStringLiteral("Sync/Missing"), !missing);

    QString shownSource;
    QString shownDestination;
    DialogAnswerer answerer([&](QWidget *widget) {
        auto *dialog = qobject_cast<SyncConfigurationDialog *>(widget);
        if (!dialog)
            return false;
        shownSource = dialog->findChild<QLineEdit *>(QStringLiteral("srcEdit"))->text();
        shownDestination = dialog->findChild<QLineEdit *>(QStringLiteral("destEdit"))->text();
        dialog->findChild<QCheckBox *>(QStringLiteral("recursiveCheck"))->setChecked(recursive);
        dialog->findChild<QCheckBox *>(QStringLiteral("missingCheck"))->setChecked(missing);
        auto *buttons = dialog->findChild<QDialogButtonBox *>(QStringLiteral("buttonBox"));
        buttons->button(accept ? QDialogButtonBox::Ok : QDialogButtonBox::Cancel)->click();
        return true;
    });
    const int sentBefore = s->board.received().size();
    const int logBefore = syslogMessages(w).size();
    windowAction(w, "actionSync")->trigger();
    QCOMPARE(answerer.answered(), 1);
    QCOMPARE(shownSource, dir.path());
    QCOMPARE(shownDestination, QStringLiteral("/flash/"));
    const QByteArray sent = s->board.received().mid(sentBefore);
    const QStringList log = syslogMessages(w).mid(logBefore);

    if (!accept) {
        QVERIFY(!sent.contains("_hash"));
        QCOMPARE(QSettings().value(QStringLiteral("Sync/Recursive")).toBool(), !recursive);
        QCOMPARE(QSettings().value(QStringLiteral("Sync/Missing")).toBool(), !missing);
        QCOMPARE(filesUnder(s->board.fsPath()), before);
        return;
    }
    QCOMPARE(QSettings().value(QStringLiteral("Sync/Recursive")).toBool(), recursive);
    QCOMPARE(QSettings().value(QStringLiteral("Sync/Missing")).toBool(), missing);
    QVERIFY2(log.constLast() == QStringLiteral("Synchronized files from folders %1/ and /flash/").arg(dir.path()),
             qPrintable(lastLines(w)));

    FileMap expected = before;
    QStringList uploads;
    QStringList skips;
    // The subfolder's files come first, and all hashes before the first upload.
    for (const QString &name : MorvexWindow::collectLocalFiles(dir.path(), QString(), recursive)) {
        if (before.value(name) == local.value(name)) {
            skips << QStringLiteral("Skipping %1 - files are identical").arg(name);
        } else if (before.contains(name) || missing) {
            uploads << name;
            expected[name] = local.value(name);
        } else {
            skips << QStringLiteral("Skipping %1 - destination file is missing").arg(name);
        }
    }
    QCOMPARE(uploadCalls(sent), uploads);
    QVERIFY(hashesBeforeUploads(sent));
    QCOMPARE(log.filter(QStringLiteral("Skipping")), skips);
    QVERIFY(log.filter(QStringLiteral("MD5")).isEmpty());
    QCOMPARE(filesUnder(s->board.fsPath()), expected);
}

void tst_Sync::runs_data()
{
    QTest::addColumn<QString>("delivery");
    QTest::addColumn<bool>("noMd5");
    QTest::addColumn<FileMap>("local");
    QTest::addColumn<FileMap>("before");
    QTest::addColumn<QStringList>("names"); // empty: the whole local tree, recursively
    QTest::addColumn<QByteArray>("hashScript"); // a replacement for the board's hash script
    QTest::addColumn<QStringList>("messages");  // in this order, each exactly once
    QTest::addColumn<QStringList>("uploads");
    QTest::addColumn<FileMap>("after");

    const QString switchedText = QStringLiteral("MC does not support MD5 computation - switched to SHA1");
    const QString done = QStringLiteral("Synchronized files from folders %1/ and /flash/");
    const FileMap abcd{{"a.txt", "local a\n"}, {"b.txt", "b\n"}, {"c.txt", "c\n"}, {"d.txt", "local d\n"}};
    const FileMap boardAbcd{{"a.txt", "board a\n"}, {"b.txt", "b\n"}, {"c.txt", "c\n"}, {"d.txt", "board d\n"}};
    FileMap allDiffer = boardAbcd;
    allDiffer["b.txt"] = "board b\n";
    allDiffer["c.txt"] = "board c\n";

    for (const char *deliveryName : {"usb", "uart"}) {
        const QString delivery = QLatin1String(deliveryName);
        const auto row = [&](const char *what) -> QTestData & {
            return QTest::newRow(QByteArray(deliveryName).append(": ").append(what).constData()) << delivery;
        };
        row("no MD5: learned from the first file identical under SHA1")
            << true << abcd << boardAbcd << QStringList() << QByteArray()
            << QStringList{switchedText, "Skipping b.txt - files are identical", "Skipping c.txt - files are identical",
                           done}
            << QStringList{"a.txt", "d.txt"} << abcd;
        row("no MD5 and nothing identical: all uploaded, no switch")
            << true << abcd << allDiffer << QStringList() << QByteArray() << QStringList{done}
            << QStringList{"a.txt", "b.txt", "c.txt", "d.txt"} << abcd;
        row("unreadable local file is skipped, the rest goes on")
            << false << FileMap{{"a.txt", "local a\n"}, {"gone.txt", danglingLink}, {"z.txt", "local z\n"}}
            << FileMap{{"a.txt", "board a\n"}, {"gone.txt", "board gone\n"}, {"z.txt", "board z\n"}}
            << QStringList{"a.txt", "gone.txt", "z.txt"} << QByteArray()
            << QStringList{"Skipping gone.txt - file is not readable", done} << QStringList{"a.txt", "z.txt"}
            << FileMap{{"a.txt", "local a\n"}, {"gone.txt", "board gone\n"}, {"z.txt", "local z\n"}};
        row("new file in a folder missing on the board")
            << false << FileMap{{"a/one.txt", "one\n"}, {"new/x.txt", "x\n"}, {"root.txt", "local root\n"}}
            << FileMap{{"a/keep.txt", "keep\n"}, {"root.txt", "board root\n"}} << QStringList() << QByteArray()
            << QStringList{"Synchronization aborted - file upload failure"}
            << QStringList{"a/one.txt", "new/x.txt"}
            << FileMap{{"a/keep.txt", "keep\n"}, {"a/one.txt", "one\n"}, {"root.txt", "board root\n"}};
        row("empty local folder") << false << FileMap{{"sub/", ""}} << FileMap{{"main.py", "board\n"}}
                                  << QStringList() << QByteArray() << QStringList{done} << QStringList()
                                  << FileMap{{"main.py", "board\n"}};
    }
    // Both failures end before any upload and do not depend on how bytes arrive.
    QTest::newRow("usb: board gives no hash")
        << QStringLiteral("usb") << false << abcd << boardAbcd << QStringList() << QByteArray("def _hash(file):\n    return b''\n")
        << QStringList{"Syncronization aborted: hash computation failure"} << QStringList() << boardAbcd;
    QTest::newRow("usb: hash script cannot be read")
        << QStringLiteral("usb") << false << abcd << boardAbcd << QStringList() << QByteArray("missing")
        << QStringList{"Synchronization failed"} << QStringList() << boardAbcd;
}

void tst_Sync::runs()
{
    QFETCH(QString, delivery);
    QFETCH(bool, noMd5);
    QFETCH(FileMap, local);
    QFETCH(FileMap, before);
    QFETCH(QStringList, names);
    QFETCH(QByteArray, hashScript);
    QFETCH(QStringList, messages);
    QFETCH(QStringList, uploads);
    QFETCH(FileMap, after);
    Session *s = session(delivery, before, noMd5);
    QVERIFY(s);
    MorvexWindow &w = *s->window;

    QTemporaryDir dir;
    QVERIFY(writeTree(dir.path(), local));
    if (hashScript == "missing") {
        QSettings().setValue(QStringLiteral("Scripts/Hash"), dir.filePath(QStringLiteral("no-such-script.py")));
    } else if (!hashScript.isEmpty()) {
        QVERIFY(writeLocalFile(dir.filePath(QStringLiteral(".hash.py")), hashScript));
        QSettings().setValue(QStringLiteral("Scripts/Hash"), dir.filePath(QStringLiteral(".hash.py")));
    }
    if (names.isEmpty())
        names = MorvexWindow::collectLocalFiles(dir.path(), QString(), true);

    const int sentBefore = s->board.received().size();
    const int logBefore = syslogMessages(w).size();
    w.syncFiles(dir.path(), names, true);
    const QStringList log = syslogMessages(w).mid(logBefore);
    const QString trace = lastLines(w) + QLatin1Char('\n') + s->board.errors();

    QStringList expected;
    for (const QString &message : messages)
        expected << (message.contains(QLatin1String("%1")) ? message.arg(dir.path()) : message);
    QVERIFY2(inOrder(log, expected), qPrintable(trace));
    for (const QString &message : expected)
        QVERIFY2(log.count(message) == 1, qPrintable(message));
    QCOMPARE(log.constLast(), expected.constLast());
    if (!expected.contains(QStringLiteral("MC does not support MD5 computation - switched to SHA1")))
        QVERIFY(log.filter(QStringLiteral("MD5")).isEmpty());
    const QByteArray sent = s->board.received().mid(sentBefore);
    QCOMPARE(uploadCalls(sent), uploads);
    QVERIFY(hashesBeforeUploads(sent));
    QCOMPARE(filesUnder(s->board.fsPath()), after);
}

void tst_Sync::oneFileFromMenu_data()
{
    QTest::addColumn<QString>("delivery");
    QTest::addColumn<QByteArray>("onBoard"); // null: missing on the board
    QTest::addColumn<bool>("uploaded");

    for (const char *delivery : {"usb", "uart"}) {
        const QByteArray prefix = QByteArray(delivery) + ": ";
        QTest::newRow((prefix + "identical").constData()) << delivery << QByteArray("print('hi')\n") << false;
        QTest::newRow((prefix + "differs").constData()) << delivery << QByteArray("print('old')\n") << true;
        QTest::newRow((prefix + "missing, whatever the store says").constData()) << delivery << QByteArray() << true;
    }
}

void tst_Sync::oneFileFromMenu()
{
    QFETCH(QString, delivery);
    QFETCH(QByteArray, onBoard);
    QFETCH(bool, uploaded);
    Session *s = session(delivery, onBoard.isNull() ? FileMap() : FileMap{{"main.py", onBoard}});
    QVERIFY(s);
    MorvexWindow &w = *s->window;
    QSettings().setValue(QStringLiteral("Sync/Missing"), false);

    QTemporaryDir dir;
    const QByteArray content("print('hi')\n");
    QVERIFY(writeTree(dir.path(), {{"main.py", content}, {"other.py", "other\n"}}));
    w.setPcFolder(dir.path());
    w.show();
    QVERIFY(QTest::qWaitForWindowExposed(&w));
    auto *view = w.findChild<QTreeView *>(QStringLiteral("pcFileList"));
    const QModelIndex index = MorvexWindowProbe::pcModel(w).index(dir.filePath(QStringLiteral("main.py")));
    QVERIFY(waitFor([&] { return view->visualRect(index).isValid(); }, 5000));

    DialogAnswerer answerer([](QWidget *widget) {
        auto *menu = qobject_cast<QMenu *>(widget);
        if (!menu)
            return false;
        for (QAction *action : menu->actions()) {
            if (action->data().toInt() == 2)
                menu->setActiveAction(action);
        }
        QTest::keyClick(menu, Qt::Key_Return);
        return true;
    });
    const int sentBefore = s->board.received().size();
    const int logBefore = syslogMessages(w).size();
    emit view->customContextMenuRequested(view->visualRect(index).center());
    QCOMPARE(answerer.answered(), 1);
    const QStringList log = syslogMessages(w).mid(logBefore);

    QVERIFY2(log.constLast() == QStringLiteral("Synchronized files from folders %1/ and /flash/").arg(dir.path()),
             qPrintable(lastLines(w)));
    QCOMPARE(uploadCalls(s->board.received().mid(sentBefore)), uploaded ? QStringList{"main.py"} : QStringList());
    QCOMPARE(log.contains(QStringLiteral("Skipping main.py - files are identical")), !uploaded);
    QCOMPARE(filesUnder(s->board.fsPath()), (FileMap{{"main.py", content}}));
    w.hide();
}

QTEST_MAIN(tst_Sync)
#include "tst_sync.moc"
