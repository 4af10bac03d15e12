// Synchronisation of a local folder onto the virtual board, through the real window.
#include "morvexwindowprobe.h"
#include "syncconfigurationdialog.h"
#include "testsupport.h"
#include "virtualboard.h"

#include <QAction>
#include <QCheckBox>
#include <QDialogButtonBox>
#include <QDirIterator>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QRegularExpression>
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
// Content "-> x" makes a symbolic link to x (relative to the root); a name ending in "/" a folder.

FileMap filesUnder(const QString &root)
{
    FileMap files;
    QDirIterator it(root, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        files.insert(QDir(root).relativeFilePath(path), readLocalFile(path));
    }
    return files;
}

bool writeTree(const QString &root, const FileMap &files)
{
    for (auto it = files.cbegin(); it != files.cend(); ++it) {
        const QString path = root + QLatin1Char('/') + it.key();
        const bool ok = it.key().endsWith(QLatin1Char('/')) ? QDir().mkpath(path)
                        : it.value().startsWith("-> ")
                            ? QDir().mkpath(QFileInfo(path).absolutePath())
                                  && QFile::link(root + QLatin1Char('/') + QString::fromUtf8(it.value().mid(3)), path)
                            : writeLocalFile(path, it.value());
        if (!ok)
            return false;
    }
    return true;
}

// The board files whose upload these bytes started, in order, if every hash was asked before
// the first, and all went in one batch.
QStringList uploadCalls(const QByteArray &received)
{
    QStringList names;
    for (const QString &target : batchTargets(received))
        names << target.mid(7); // "/flash/"
    const int first = received.indexOf("_batch(");
    if (received.count("def _batch(") > 1 || received.contains("_upload("))
        return {"not one batch"};
    return first < 0 || received.lastIndexOf("_hash('") < first ? names : QStringList{"a hash asked after an upload"};
}

const QString done = QStringLiteral("Synchronized files from folders %1/ and /flash/");
} // namespace

class tst_Sync : public QObject
{
    Q_OBJECT

    struct Session {
        VirtualBoard board;
        std::unique_ptr<MorvexWindow> window;
    };
    SettingsSandbox sandbox;
    std::map<QString, std::unique_ptr<Session>> sessions;

    // A connected STM32-family board of this delivery holding just these files.
    Session *session(const QString &delivery, const FileMap &boardFiles, bool noMd5 = false)
    {
        auto &s = sessions[delivery + (noMd5 ? QStringLiteral(" no md5") : QString())];
        // A failed upload leaves the board actions off: start afresh.
        if (!s || !MorvexWindowProbe::port(*s->window).isOpen() || !windowAction(*s->window, "actionSync")->isEnabled()) {
            s.reset(new Session);
            QStringList args{"--delivery", delivery};
            if (noMd5)
                args << "--no-md5";
            s->window.reset(new MorvexWindow);
            if (!s->board.start(args) || !connectBoard(*s->window, s->board, 0))
                return nullptr;
        }
        QDir fs(s->board.fsPath());
        if (!fs.removeRecursively() || !fs.mkpath(QStringLiteral(".")))
            return nullptr;
        for (auto it = boardFiles.cbegin(); it != boardFiles.cend(); ++it)
            if (!s->board.writeFile(it.key(), it.value()))
                return nullptr;
        return s.get();
    }

private slots:
    void init() { sandbox.clear(); }
    void cleanupTestCase() { sessions.clear(); }

    void dialogSignals()
    {
        SyncConfigurationDialog dialog;
        QSignalSpy sources(&dialog, &SyncConfigurationDialog::sourceChanged);
        dialog.setSource(QStringLiteral("/home/me/project"));
        dialog.setSource(QStringLiteral("/home/me/project")); // the same text again is no change
        QCOMPARE(sources.size(), 1);
    }

    void runs_data()
    {
        QTest::addColumn<QString>("delivery");
        QTest::addColumn<bool>("noMd5");
        QTest::addColumn<FileMap>("local");
        QTest::addColumn<FileMap>("before");
        QTest::addColumn<QString>("via"); // the dialog ("flat", "keep" missing, "cancel"), "menu", or "names": all, directly
        QTest::addColumn<QByteArray>("hashScript"); // a replacement for the board's; "none": a path to nothing
        QTest::addColumn<QStringList>("messages");  // in this order, each exactly once, the last one last
        QTest::addColumn<QStringList>("uploads");
        QTest::addColumn<FileMap>("after");

        const auto same = [](const char *name) { return "Skipping " + QString::fromLatin1(name) + " - files are identical"; };
        const auto absent = [](const char *name) { return "Skipping " + QString::fromLatin1(name) + " - destination file is missing"; };
        const FileMap tree{{"same.txt", "same\n"}, {"changed.txt", "new\n"}, {"fresh.txt", "fresh\n"}, {".hidden", "no\n"},
                           {"lib/same.py", "x = 1\n"}, {"lib/changed.py", "x = 3\n"}, {"lib/fresh.py", "y = 2\n"}};
        const FileMap treeBefore{{"same.txt", "same\n"}, {"changed.txt", "old, longer than the new one\n"},
                                 {"lib/same.py", "x = 1\n"}, {"lib/changed.py", "x = 2\n"}};
        const auto treeAfter = [&](const QStringList &names) {
            FileMap after = treeBefore;
            for (const QString &name : names)
                after[name] = tree.value(name);
            return after;
        };
        const FileMap abcd{{"a.txt", "local a\n"}, {"b.txt", "b\n"}, {"c.txt", "c\n"}, {"d.txt", "local d\n"}};
        const FileMap boardAbcd{{"a.txt", "board a\n"}, {"b.txt", "b\n"}, {"c.txt", "c\n"}, {"d.txt", "board d\n"}};
        FileMap allDiffer = boardAbcd;
        allDiffer["b.txt"] = "board b\n";
        allDiffer["c.txt"] = "board c\n";
        for (const char *delivery : {"usb", "uart"}) {
            const auto row = [&](const char *what, bool noMd5, const FileMap &local, const FileMap &before,
                                 const char *via) -> QTestData & {
                return QTest::addRow("%s: %s", delivery, what) << QString::fromLatin1(delivery) << noMd5 << local << before
                                                                << QString::fromLatin1(via) << QByteArray();
            };
            // Recursive with missing files uploaded, the fresh store's choice, runs in the delivery-mode suite.
            const QStringList flat{"changed.txt", "fresh.txt"};
            row("flat, upload missing", false, tree, treeBefore, "flat")
                << QStringList{same("same.txt"), done} << flat << treeAfter(flat);
            row("recursive, keep missing", false, tree, treeBefore, "keep")
                << QStringList{absent("lib/fresh.py"), same("lib/same.py"), absent("fresh.txt"), same("same.txt"), done}
                << QStringList{"lib/changed.py", "changed.txt"} << treeAfter({"lib/changed.py", "changed.txt"});
            row("cancel", false, tree, treeBefore, "cancel") << QStringList() << QStringList() << treeBefore;
            row("no MD5: learned from the first file identical under SHA1", true, abcd, boardAbcd, "")
                << QStringList{"MC does not support MD5 computation - switched to SHA1", same("b.txt"), same("c.txt"), done}
                << QStringList{"a.txt", "d.txt"} << abcd;
            row("no MD5 and nothing identical: all uploaded, no switch", true, abcd, allDiffer, "")
                << QStringList{done} << QStringList{"a.txt", "b.txt", "c.txt", "d.txt"} << abcd;
            // A dangling link is listed, but not readable even by root.
            row("unreadable local file is skipped, the rest goes on", false,
                {{"a.txt", "local a\n"}, {"gone.txt", "-> nowhere"}, {"z.txt", "local z\n"}},
                {{"a.txt", "board a\n"}, {"gone.txt", "board gone\n"}, {"z.txt", "board z\n"}}, "names")
                << QStringList{"Skipping gone.txt - file is not readable", done} << QStringList{"a.txt", "z.txt"}
                << FileMap{{"a.txt", "local a\n"}, {"gone.txt", "board gone\n"}, {"z.txt", "local z\n"}};
            row("new file in a folder missing on the board", false,
                {{"a/one.txt", "one\n"}, {"new/x.txt", "x\n"}, {"root.txt", "local root\n"}},
                {{"a/keep.txt", "keep\n"}, {"root.txt", "board root\n"}}, "")
                << QStringList{"Synchronization aborted - file upload failure"} << QStringList{"a/one.txt", "new/x.txt"}
                << FileMap{{"a/keep.txt", "keep\n"}, {"a/one.txt", "one\n"}, {"root.txt", "board root\n"}};
            row("linked folders are followed, links back are not", false,
                {{"lib/x.py", "x"}, {"shared", "-> lib"}, {"lib/up", "-> ."}, {"a/b", "-> c"}, {"c/d", "-> a"}},
                {{"lib/.keep", ""}, {"shared/.keep", ""}}, "") << QStringList{done} << QStringList{"lib/x.py", "shared/x.py"}
                << FileMap{{"lib/.keep", ""}, {"shared/.keep", ""}, {"lib/x.py", "x"}, {"shared/x.py", "x"}};
            row("empty local folder", false, {{"sub/", ""}}, {{"main.py", "board\n"}}, "")
                << QStringList{done} << QStringList() << FileMap{{"main.py", "board\n"}};
            // The PC pane's menu entry syncs its one file, and uploads a missing one whatever the store says.
            const FileMap pair{{"main.py", "print('hi')\n"}, {"other.py", "other\n"}};
            row("menu, missing", false, pair, {}, "menu")
                << QStringList{done} << QStringList{"main.py"} << FileMap{{"main.py", "print('hi')\n"}};
        }
        // It ends before any upload, however the bytes arrive.
        QTest::newRow("usb: board gives no hash")
            << "usb" << false << abcd << boardAbcd << "" << QByteArray("def _hash(file):\n    return b''\n")
            << QStringList{"Syncronization aborted: hash computation failure"} << QStringList() << boardAbcd;
        QTest::newRow("usb: hash script missing") << "usb" << false << abcd << boardAbcd << "" << QByteArray("none")
                                                  << QStringList{"Synchronization failed"} << QStringList() << boardAbcd;
    }

    void runs()
    {
        QFETCH(QString, delivery);
        QFETCH(bool, noMd5);
        QFETCH(FileMap, local);
        QFETCH(FileMap, before);
        QFETCH(QString, via);
        QFETCH(QByteArray, hashScript);
        QFETCH(QStringList, messages);
        QFETCH(QStringList, uploads);
        QFETCH(FileMap, after);
        Session *s = session(delivery, before, noMd5);
        QVERIFY(s);
        MorvexWindow &w = *s->window;
        QTemporaryDir dir;
        QVERIFY(writeTree(dir.path(), local));
        w.setPcFolder(dir.path());
        if (!hashScript.isEmpty()) {
            QVERIFY(hashScript == "none" || writeLocalFile(dir.filePath(QStringLiteral(".hash.py")), hashScript));
            QSettings().setValue(QStringLiteral("Scripts/Hash"), dir.filePath(QStringLiteral(".hash.py")));
        }
        const bool recursive = !via.contains(QLatin1String("flat"));
        const bool missing = !via.contains(QLatin1String("keep"));
        const bool accept = via != QLatin1String("cancel");
        // A Cancel keeps the store fresh; otherwise it holds the opposite of what the dialog is given.
        if (accept) {
            QSettings().setValue(QStringLiteral("Sync/Recursive"), !recursive);
            QSettings().setValue(QStringLiteral("Sync/Missing"), !missing);
        }
        QStringList shown;
        DialogAnswerer answerer([&](QWidget *widget) {
            if (auto *menu = qobject_cast<QMenu *>(widget)) {
                for (QAction *action : menu->actions())
                    if (action->data().toInt() == 2) // "Synchronize"
                        menu->setActiveAction(action);
                QTest::keyClick(menu, Qt::Key_Return);
                return true;
            }
            auto *dialog = qobject_cast<SyncConfigurationDialog *>(widget);
            if (!dialog)
                return false;
            for (const char *edit : {"srcEdit", "destEdit"})
                shown << dialog->findChild<QLineEdit *>(QLatin1String(edit))->text();
            for (const char *box : {"recursiveCheck", "missingCheck"}) {
                auto *check = dialog->findChild<QCheckBox *>(QLatin1String(box));
                shown << QString::number(check->isChecked());
                check->setChecked(box[0] == 'r' ? recursive : missing);
            }
            dialog->findChild<QDialogButtonBox *>()->button(accept ? QDialogButtonBox::Ok : QDialogButtonBox::Cancel)
                ->click();
            return true;
        });
        const int sentBefore = s->board.received().size();
        const int logBefore = syslogMessages(w).size();
        if (via == QLatin1String("names")) {
            w.syncFiles(dir.path(), local.keys(), true);
        } else if (via == QLatin1String("menu")) {
            w.show();
            auto *view = w.findChild<QTreeView *>(QStringLiteral("pcFileList"));
            const QModelIndex index = MorvexWindowProbe::pcModel(w).index(dir.filePath(QStringLiteral("main.py")));
            QVERIFY(QTest::qWaitForWindowExposed(&w) && waitFor([&] { return view->visualRect(index).isValid(); }, 5000));
            emit view->customContextMenuRequested(view->visualRect(index).center());
            w.hide();
        } else {
            windowAction(w, "actionSync")->trigger();
            // A fresh store shows both boxes ticked; a Cancel stores nothing.
            QCOMPARE(shown, (QStringList{dir.path(), "/flash/", QString::number(!accept || !recursive),
                                         QString::number(!accept || !missing)}));
            const auto stored = [](const char *key, bool value) {
                return QSettings().contains(QLatin1String(key)) && QSettings().value(QLatin1String(key)).toBool() == value;
            };
            QCOMPARE(stored("Sync/Recursive", recursive), accept);
            QCOMPARE(stored("Sync/Missing", missing), accept);
        }
        const QStringList log = syslogMessages(w).mid(logBefore);
        for (QString &message : messages) {
            message.replace(QLatin1String("%1"), dir.path());
            QVERIFY2(log.count(message) == 1, qPrintable(message + QLatin1Char('\n') + syslogText(w) + s->board.errors()));
        }
        QVERIFY(inOrder(log, messages));
        QCOMPARE(log.value(log.size() - 1), messages.value(messages.size() - 1));
        QCOMPARE(log.filter(QStringLiteral("Skipping")), messages.filter(QStringLiteral("Skipping")));
        QCOMPARE(log.filter(QStringLiteral("MD5")).size(), messages.filter(QStringLiteral("MD5")).size());
        QCOMPARE(uploadCalls(s->board.received().mid(sentBefore)), uploads);
        QCOMPARE(filesUnder(s->board.fsPath()), after);
    }

};

QTEST_MAIN(tst_Sync)
#include "tst_sync.moc"
