// The board pane: listing, directories, removal, upload targets.
#include "morvexwindowprobe.h"
#include "preferences.h"
#include "testsupport.h"
#include "virtualboard.h"

#include <QAction>
#include <QSettings>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace {
// "name:size" of every row, directories with a "/".
QStringList rows(MorvexWindow &w)
{
    MCDirModel &model = MorvexWindowProbe::mcModel(w);
    QStringList names;
    for (int i = 0; i < model.rowCount(); ++i)
        names << model.index(i, 0).data().toString() + (model.isDir(model.index(i, 0)) ? "/:" : ":")
                     + model.index(i, 1).data().toString();
    return names;
}
} // namespace

class tst_BoardFiles : public QObject
{
    Q_OBJECT

    SettingsSandbox sandbox;
    VirtualBoard board;
    std::unique_ptr<MorvexWindow> window;

    // One STM32 board for the rows that need nothing special of it, in /flash.
    MorvexWindow *shared()
    {
        if (!window || !MorvexWindowProbe::port(*window).isOpen()) {
            window.reset(new MorvexWindow);
            if ((!board.isRunning() && !board.start()) || !connectBoard(*window, board, 0))
                return nullptr;
        }
        window->changeBoardDir(QStringLiteral("/flash"));
        return window.get();
    }

private slots:
    void init() { sandbox.clear(); }
    void cleanupTestCase() { window.reset(); }

    void listing_data()
    {
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<QString>("folder");
        QTest::addColumn<QStringList>("expected"); // directories first, each kind sorted here
        QTest::newRow("sizes unknown") << QStringList{"--no-sizes"} << "/flash"
            << QStringList{"../:", "lib/:", "a.py:", "b.bin:", "empty.txt:"};
        QTest::newRow("esp32 root has no parent row")
            << QStringList{"--family", "esp32"} << "" << QStringList{"lib/:", "a.py:1.5kB", "b.bin:12", "empty.txt:"};
        QTest::newRow("stm32 root") << QStringList() << "/" << QStringList{"flash/:"};
        // An empty command key stands for the built-in command.
        QTest::newRow("empty listing commands")
            << QStringList{"blank commands"} << "/flash" << QStringList{"../:", "lib/:", "a.py:1.5kB", "b.bin:12", "empty.txt:"};
    }

    void listing()
    {
        QFETCH(QStringList, options);
        QFETCH(QString, folder);
        QFETCH(QStringList, expected);
        if (options.removeAll(QStringLiteral("blank commands")))
            for (const char *key : {"PY/lsfiles", "PY/lsdirs", "PY/lsdir"})
                QSettings().setValue(QLatin1String(key), QString());
        VirtualBoard board;
        QVERIFY(board.start(options));
        QVERIFY(QDir().mkpath(board.fsPath() + "/lib"));
        QVERIFY(board.writeFile(QStringLiteral("a.py"), QByteArray(1500, 'x')));
        QVERIFY(board.writeFile(QStringLiteral("empty.txt"), QByteArray()));
        QVERIFY(board.writeFile(QStringLiteral("b.bin"), QByteArray(12, 'b')));
        MorvexWindow w;
        QVERIFY(connectBoard(w, board, options.contains(QStringLiteral("esp32"))));
        w.changeBoardDir(folder);
        QStringList listed = rows(w);
        const int dirs = listed.filter(QStringLiteral("/:")).size();
        std::sort(listed.begin(), listed.begin() + dirs);
        std::sort(listed.begin() + dirs, listed.end());
        QCOMPARE(listed, expected);
    }

    // Into a folder by a double click and back by "..", a name the listing cannot carry, and New Directory on a taken name.
    void navigation()
    {
        MorvexWindow *w = shared();
        QVERIFY(w);
        QVERIFY(board.writeFile(QStringLiteral("lib/sub/a.txt"), "a"));
        w->changeBoardDir(QStringLiteral("/flash"));
        auto *view = w->findChild<QTableView *>(QStringLiteral("mcFileList"));
        const auto open = [&](const char *name) {
            doubleClick(view, boardRow(*w, QLatin1String(name)));
            return MorvexWindowProbe::mcModel(*w).rootPath;
        };
        QCOMPARE(open("lib"), QStringLiteral("/flash/lib/"));
        QVERIFY(rows(*w).contains(QStringLiteral("sub/:")));
        QVERIFY(board.received().contains("import os; os.chdir('/flash/lib')\r\n"));
        QCOMPARE(open(".."), QStringLiteral("/flash/"));
        QCOMPARE(open(".."), QStringLiteral("/"));
        QVERIFY(!rows(*w).contains(QStringLiteral("../:")));

        QVERIFY(board.writeFile(QStringLiteral("it's/a.txt"), "a"));
        w->changeBoardDir(QStringLiteral("/flash/it's"));
        QVERIFY(syslogMessages(*w).contains(QStringLiteral("Cannot list files - invalid reply")));
        QCOMPARE(rows(*w), QStringList{"../:"});
        QVERIFY(QDir(board.fsPath() + "/it's").removeRecursively());

        w->changeBoardDir(QStringLiteral("/flash"));
        QScopedPointer<DialogAnswerer> input(DialogAnswerer::inputText(QStringLiteral("lib")));
        QScopedPointer<DialogAnswerer> boxes(DialogAnswerer::messageBox(QMessageBox::Ok));
        windowAction(*w, "actionNew_Directory")->trigger();
        QCOMPARE(input->answered(), 1);
        QCOMPARE(boxes->texts(), QStringList{"A directory with the same name already exists"});
    }

    void remove()
    {
        VirtualBoard board;
        QVERIFY(board.start({"--family", "esp32"}));
        QVERIFY(board.writeFile(QStringLiteral("gone.txt"), "x") && board.writeFile(QStringLiteral("full/a.txt"), "a"));
        QDir(board.fsPath()).mkdir(QStringLiteral("hollow"));
        MorvexWindow w;
        QVERIFY(connectBoard(w, board, 1));
        const auto remove = [&](const char *name) {
            const int before = syslogMessages(w).size();
            w.findChild<QTableView *>(QStringLiteral("mcFileList"))->setCurrentIndex(boardRow(w, QLatin1String(name)));
            windowAction(w, "actionRemove")->trigger();
            return syslogMessages(w).mid(before);
        };
        QVERIFY(remove("gone.txt").contains(QStringLiteral("/gone.txt removed")));
        QVERIFY(!board.exists(QStringLiteral("gone.txt")) && !boardRow(w, QStringLiteral("gone.txt")).isValid());
        QVERIFY(remove("hollow").contains(QStringLiteral("Directory hollow must be empty in order to be removed")));
        QVERIFY(!board.exists(QStringLiteral("hollow")));
        const QStringList refused = remove("full").filter(QStringLiteral("Removal error: "));
        QVERIFY2(refused.size() == 1 && refused.constFirst().endsWith(QStringLiteral(". Aborted")),
                 qPrintable(refused.join('\n')));
        QVERIFY(board.exists(QStringLiteral("full/a.txt")) && boardRow(w, QStringLiteral("full")).isValid());

        // The board's own words are UTF-8, shown up to their first zero byte.
        QTemporaryDir scripts;
        QVERIFY(writeLocalFile(scripts.filePath(QStringLiteral("rm.py")),
                               "import sys\ndef _rm(filename):\n"
                               "    sys.stdout.write('>#1\\u0444\\u0430\\u0439\\u043b\\x00tail')\n"));
        QSettings().setValue(QStringLiteral("Scripts/Remove"), scripts.filePath(QStringLiteral("rm.py")));
        QVERIFY(!w.removeBoardPath(QStringLiteral("/x"), false));
        QCOMPARE(syslogMessages(w).constLast(), QStringLiteral("Removal error: \u0444\u0430\u0439\u043b. Aborted"));
    }

    void uploadTargets_data()
    {
        QTest::addColumn<int>("policy");
        QTest::addColumn<QString>("localRelative");
        QTest::addColumn<int>("answer"); // 0: no question expected
        QTest::addColumn<QString>("boardRelative"); // empty: nothing uploaded
        const int keep = Preferences::Target_Keep, root = Preferences::Target_Root, ask = Preferences::Target_Ask;
        QTest::newRow("keep structure") << keep << "sub/deep/a.py" << 0 << "sub/deep/a.py";
        QTest::newRow("root") << root << "sub/deep/b.py" << 0 << "b.py";
        QTest::newRow("ask, file in root: no question") << ask << "c.py" << 0 << "c.py";
        QTest::newRow("ask, yes keeps") << ask << "sub/d.py" << int(QMessageBox::Yes) << "sub/d.py";
        QTest::newRow("ask, no flattens") << ask << "sub/e.py" << int(QMessageBox::No) << "e.py";
        QTest::newRow("ask, cancel ends") << ask << "sub/f.py" << int(QMessageBox::Cancel) << "";
        QTest::newRow("unknown policy asks") << 7 << "sub/g.py" << int(QMessageBox::No) << "g.py";
        QTest::newRow("backslash becomes a folder") << root << "h\\i.py" << 0 << "h/i.py";
    }

    void uploadTargets()
    {
        QFETCH(int, policy);
        QFETCH(QString, localRelative);
        QFETCH(int, answer);
        QFETCH(QString, boardRelative);
        MorvexWindow *w = shared();
        QVERIFY(w);
        QTemporaryDir local;
        QVERIFY(writeLocalFile(local.filePath(localRelative), "print('hello')\n"));
        QSettings().setValue(QStringLiteral("MC/SubDirsSel"), policy);
        w->setPcFolder(local.path());
        const int before = syslogMessages(*w).size();
        QScopedPointer<DialogAnswerer> answerer(
            DialogAnswerer::messageBox(answer ? QMessageBox::StandardButton(answer) : QMessageBox::Cancel));
        w->uploadWithPolicy(QFileInfo(local.filePath(localRelative)));
        QCOMPARE(answerer->texts(), answer ? QStringList{"Keep the subdirectory structure?"} : QStringList());
        QCOMPARE(answerer->titles() + answerer->buttons(), answer ? QStringList({"Upload File", "Yes No Cancel"}) : QStringList());
        QCOMPARE(syslogMessages(*w).mid(before).filter(QStringLiteral("Finished uploading to")),
                 boardRelative.isEmpty() ? QStringList() : QStringList{"Finished uploading to /flash/" + boardRelative});
        if (!boardRelative.isEmpty())
            QCOMPARE(board.readFile(boardRelative), QByteArray("print('hello')\n"));
    }
};

QTEST_MAIN(tst_BoardFiles)
#include "tst_boardfiles.moc"
