// The board pane: listing, directories, removal, upload targets.
#include "morvexwindowprobe.h"
#include "preferences.h"
#include "testsupport.h"
#include "virtualboard.h"

#include <QAbstractItemModelTester>
#include <QAction>
#include <QDir>
#include <QInputDialog>
#include <QJsonDocument>
#include <QMessageBox>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>

namespace {
QStringList rows(MorvexWindow &w)
{
    MCDirModel &model = MorvexWindowProbe::mcModel(w);
    QStringList names;
    for (int i = 0; i < model.rowCount(); ++i) {
        const QModelIndex name = model.index(i, 0);
        names << name.data().toString() + (model.isDir(name) ? QStringLiteral("/") : QString())
                     + QStringLiteral(":") + model.index(i, 1).data().toString();
    }
    return names;
}

} // namespace

class tst_BoardFiles : public QObject
{
    Q_OBJECT

private slots:
    void init() { sandbox.clear(); }
    void formatSize_data();
    void formatSize();
    void modelContract();
    void listing_data();
    void listing();
    void quoteInName();
    void parentRow();
    void makeBoardDirs_data();
    void makeBoardDirs();
    void newDirectory();
    void remove();
    void uploadTargets_data();
    void uploadTargets();

private:
    SettingsSandbox sandbox;
};

void tst_BoardFiles::formatSize_data()
{
    QTest::addColumn<int>("bytes");
    QTest::addColumn<QString>("text");
    QTest::newRow("negative") << -1 << "";
    QTest::newRow("zero") << 0 << "";
    QTest::newRow("one") << 1 << "1";
    QTest::newRow("1230") << 1230 << "1230";
    QTest::newRow("1231") << 1231 << "1.2kB";
    QTest::newRow("1048576") << 1048576 << "1024.0kB";
    QTest::newRow("1048577") << 1048577 << "1.0Mb";
    QTest::newRow("2097152") << 2097152 << "2.0Mb";
}

void tst_BoardFiles::formatSize()
{
    QFETCH(int, bytes);
    QFETCH(QString, text);
    QCOMPARE(MorvexWindow::formatSize(bytes), text);
}

void tst_BoardFiles::modelContract()
{
    MCDirModel model;
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    model.append({QStringLiteral("..")}, true);
    model.appendExt(QJsonDocument::fromJson(R"([{"n":"lib","s":-1},{"n":"x"}])").array(), true);
    model.appendExt(QJsonDocument::fromJson(R"([{"n":"a.py","s":1500},{"n":"b","s":"big"}])").array(), false);
    QCOMPARE(model.rowCount(), 5);
    QCOMPARE(model.columnCount(), 2);
    QCOMPARE(model.index(3, 1).data().toString(), QStringLiteral("1.5kB"));
    QCOMPARE(model.index(4, 1).data().toString(), QString()); // size not a number: unknown
    QCOMPARE(model.flags(model.index(0, 0)), Qt::ItemIsEnabled);
    QVERIFY(showsIcon(model.index(0, 0).data(Qt::DecorationRole).value<QIcon>(), QStringLiteral("folder")));
    QVERIFY(showsIcon(model.index(3, 0).data(Qt::DecorationRole).value<QIcon>(), QStringLiteral("insert_drive_file")));
    QCOMPARE(model.headerData(1, Qt::Horizontal).toString(), QStringLiteral("Size"));
    QVERIFY(!model.headerData(0, Qt::Vertical).isValid());
    model.setRootPath(QStringLiteral("/flash"));
    QCOMPARE(model.filePath(model.index(3, 0)), QStringLiteral("/flash/a.py"));
    QCOMPARE(model.filePath(model.index(9, 0)), QString());
    QVERIFY(model.hasDir(QStringLiteral("lib")) && !model.hasFile(QStringLiteral("lib")));
    QVERIFY(model.hasFile(QStringLiteral("a.py")) && !model.hasDir(QStringLiteral("a.py")));
    model.clear();
    QCOMPARE(model.rowCount(), 0);
    QCOMPARE(model.rootPath, QStringLiteral("/flash/"));
}

void tst_BoardFiles::listing_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<int>("family");
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("sizes unknown") << QStringList{"--no-sizes"} << 0 << "/flash"
                                   << QStringList{"../:", "lib/:", "a.py:", "empty.txt:", "b.bin:"};
    QTest::newRow("esp32 root has no parent row") << QStringList{"--family", "esp32"} << 1 << ""
                                                  << QStringList{"lib/:", "a.py:1.5kB", "empty.txt:", "b.bin:12"};
    QTest::newRow("empty directory") << QStringList() << 0 << "/flash/lib/deeper" << QStringList{"../:"};
    QTest::newRow("stm32 root") << QStringList() << 0 << "/" << QStringList{"flash/:"};
    // An empty command key stands for the built-in command.
    QTest::newRow("empty listing commands") << QStringList{"blank commands"} << 0 << "/flash"
                                            << QStringList{"../:", "lib/:", "a.py:1.5kB", "empty.txt:", "b.bin:12"};
}

void tst_BoardFiles::listing()
{
    QFETCH(QStringList, options);
    QFETCH(int, family);
    QFETCH(QString, folder);
    QFETCH(QStringList, expected);

    if (options.removeAll(QStringLiteral("blank commands"))) {
        QSettings settings;
        for (const char *key : {"PY/lsfiles", "PY/lsdirs", "PY/lsdir"})
            settings.setValue(QLatin1String(key), QString());
    }
    VirtualBoard board;
    QVERIFY(board.start(options));
    QVERIFY(board.writeFile(QStringLiteral("lib/deeper/.keep"), QByteArray()));
    QFile::remove(board.fsPath() + QStringLiteral("/lib/deeper/.keep"));
    QVERIFY(board.writeFile(QStringLiteral("a.py"), QByteArray(1500, 'x')));
    QVERIFY(board.writeFile(QStringLiteral("empty.txt"), QByteArray()));
    QVERIFY(board.writeFile(QStringLiteral("b.bin"), QByteArray(12, 'b')));
    MorvexWindow w;
    QVERIFY(connectBoard(w, board, family));
    w.changeBoardDir(folder);
    QStringList listed = rows(w);
    // Directories first, then files; within each the board's order stands.
    QCOMPARE(listed.size(), expected.size());
    QStringList sortedListed = listed, sortedExpected = expected;
    std::sort(sortedListed.begin(), sortedListed.end());
    std::sort(sortedExpected.begin(), sortedExpected.end());
    QCOMPARE(sortedListed, sortedExpected);
    bool seenFile = false;
    for (const QString &row : listed) {
        const bool dir = row.contains(QStringLiteral("/:"));
        QVERIFY2(!(dir && seenFile), qPrintable(listed.join(' ')));
        seenFile = seenFile || !dir;
    }
    QString root = folder.isEmpty() ? QStringLiteral("/") : folder;
    if (!root.endsWith('/'))
        root += '/';
    QCOMPARE(MorvexWindowProbe::mcModel(w).rootPath, root);
}

void tst_BoardFiles::quoteInName()
{
    VirtualBoard board;
    QVERIFY(board.start());
    QVERIFY(board.writeFile(QStringLiteral("it's/a.txt"), "a"));
    MorvexWindow w;
    QVERIFY(connectBoard(w, board, 0));
    w.changeBoardDir(QStringLiteral("/flash/it's"));
    QVERIFY(syslogMessages(w).contains(QStringLiteral("Cannot list files - invalid reply")));
    QCOMPARE(rows(w), QStringList{QStringLiteral("../:")});
}

void tst_BoardFiles::parentRow()
{
    VirtualBoard board;
    QVERIFY(board.start());
    QVERIFY(board.writeFile(QStringLiteral("lib/sub/a.txt"), "a"));
    MorvexWindow w;
    QVERIFY(connectBoard(w, board, 0));
    auto *view = w.findChild<QTableView *>(QStringLiteral("mcFileList"));
    QVERIFY(view);

    // Into lib by a double click, then back up by "..".
    QMetaObject::invokeMethod(view, "doubleClicked", Q_ARG(QModelIndex, boardRow(w, QStringLiteral("lib"))));
    QCOMPARE(MorvexWindowProbe::mcModel(w).rootPath, QStringLiteral("/flash/lib/"));
    QVERIFY(rows(w).contains(QStringLiteral("sub/:")));
    QVERIFY(board.received().contains("import os; os.chdir('/flash/lib')\r\n"));
    QMetaObject::invokeMethod(view, "doubleClicked", Q_ARG(QModelIndex, boardRow(w, QStringLiteral(".."))));
    QCOMPARE(MorvexWindowProbe::mcModel(w).rootPath, QStringLiteral("/flash/"));
    QMetaObject::invokeMethod(view, "doubleClicked", Q_ARG(QModelIndex, boardRow(w, QStringLiteral(".."))));
    QCOMPARE(MorvexWindowProbe::mcModel(w).rootPath, QStringLiteral("/"));
    QVERIFY(!rows(w).contains(QStringLiteral("../:")));

    // At the root a ".." row does not exist; a stale one sends nothing.
    MorvexWindowProbe::mcModel(w).append({QStringLiteral("..")}, true);
    const int before = board.received().size();
    QMetaObject::invokeMethod(view, "doubleClicked", Q_ARG(QModelIndex, boardRow(w, QStringLiteral(".."))));
    QCOMPARE(board.received().size(), before);
}

void tst_BoardFiles::makeBoardDirs_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QStringList>("commands");
    QTest::addColumn<QStringList>("created");

    QTest::newRow("absolute, every prefix") << "/flash/lib/sub"
                                            << QStringList{"/flash", "/flash/lib", "/flash/lib/sub"}
                                            << QStringList{"lib", "lib/sub"};
    QTest::newRow("relative, index 1 skipped") << "x/y" << QStringList{"x/y"} << QStringList();
    QTest::newRow("relative two levels") << "ab/cd" << QStringList{"ab", "ab/cd"} << QStringList{"ab", "ab/cd"};
    QTest::newRow("one character sends nothing") << "a" << QStringList() << QStringList();
    QTest::newRow("root") << "/" << QStringList() << QStringList();
}

void tst_BoardFiles::makeBoardDirs()
{
    QFETCH(QString, path);
    QFETCH(QStringList, commands);
    QFETCH(QStringList, created);

    VirtualBoard board;
    QVERIFY(board.start());
    MorvexWindow w;
    QVERIFY(connectBoard(w, board, 0));
    const int before = syslogMessages(w).size();
    const int sentBefore = board.received().size();
    QVERIFY(w.makeBoardDirs(path));
    QStringList logged;
    for (const QString &line : syslogMessages(w).mid(before)) {
        if (line.startsWith(QStringLiteral("Creating dir ")))
            logged << line.mid(13);
    }
    QCOMPARE(logged, commands);
    if (commands.isEmpty())
        QCOMPARE(board.received().size(), sentBefore);
    else
        QVERIFY(board.received().mid(sentBefore).startsWith("\x05"));
    for (const QString &dir : created)
        QVERIFY2(QFileInfo(board.fsPath() + '/' + dir).isDir(), qPrintable(dir));
}

void tst_BoardFiles::newDirectory()
{
    // A new name is made in the delivery-mode suite; an existing one is refused with a warning.
    VirtualBoard board;
    QVERIFY(board.start());
    QVERIFY(board.writeFile(QStringLiteral("old/a.txt"), "a"));
    MorvexWindow w;
    QVERIFY(connectBoard(w, board, 0));
    int step = 0;
    DialogAnswerer answer([&](QWidget *widget) {
        if (auto *input = qobject_cast<QInputDialog *>(widget))
            input->setTextValue(QStringLiteral("old"));
        auto *dialog = qobject_cast<QDialog *>(widget);
        if (dialog)
            dialog->accept();
        return dialog && ++step;
    });
    windowAction(w, "actionNew_Directory")->trigger();
    QCOMPARE(step, 2);
    QCOMPARE(answer.texts(), QStringList{QStringLiteral("A directory with the same name already exists")});
}

void tst_BoardFiles::remove()
{
    VirtualBoard board;
    QVERIFY(board.start({QStringLiteral("--family"), QStringLiteral("esp32")}));
    QVERIFY(board.writeFile(QStringLiteral("gone.txt"), "x"));
    QVERIFY(board.writeFile(QStringLiteral("full/a.txt"), "a"));
    QDir(board.fsPath()).mkdir(QStringLiteral("hollow"));
    MorvexWindow w;
    QVERIFY(connectBoard(w, board, 1));
    auto *view = w.findChild<QTableView *>(QStringLiteral("mcFileList"));
    auto *remove = w.findChild<QAction *>(QStringLiteral("actionRemove"));

    view->setCurrentIndex(boardRow(w, QStringLiteral("gone.txt")));
    remove->trigger();
    QVERIFY(syslogMessages(w).contains(QStringLiteral("/gone.txt removed")));
    QVERIFY(!board.exists(QStringLiteral("gone.txt")));
    QVERIFY(!boardRow(w, QStringLiteral("gone.txt")).isValid());

    view->setCurrentIndex(boardRow(w, QStringLiteral("hollow")));
    remove->trigger();
    QVERIFY(syslogMessages(w).contains(QStringLiteral("Directory hollow must be empty in order to be removed")));
    QVERIFY(!board.exists(QStringLiteral("hollow")));

    view->setCurrentIndex(boardRow(w, QStringLiteral("full")));
    remove->trigger();
    QVERIFY(board.exists(QStringLiteral("full/a.txt")));
    const QString last = syslogMessages(w).constLast();
    QVERIFY2(last.startsWith(QStringLiteral("Removal error: ")) && last.endsWith(QStringLiteral(". Aborted")),
             qPrintable(last));
    QVERIFY(boardRow(w, QStringLiteral("full")).isValid());

    // The board's own words are UTF-8, shown up to their first zero byte.
    QTemporaryDir scripts;
    const QString script = scripts.filePath(QStringLiteral("rm.py"));
    QVERIFY(writeLocalFile(script, "import sys\ndef _rm(filename):\n"
                                   "    sys.stdout.write('>#1\\u0444\\u0430\\u0439\\u043b\\x00tail')\n"));
    QSettings().setValue(QStringLiteral("Scripts/Remove"), script);
    QVERIFY(!w.removeBoardPath(QStringLiteral("/x"), false));
    QCOMPARE(syslogMessages(w).constLast(), QStringLiteral("Removal error: \u0444\u0430\u0439\u043b. Aborted"));
}

void tst_BoardFiles::uploadTargets_data()
{
    QTest::addColumn<int>("policy");
    QTest::addColumn<QString>("localRelative");
    QTest::addColumn<int>("answer");
    QTest::addColumn<QString>("boardRelative"); // empty: nothing uploaded
    QTest::addColumn<bool>("asked");

    const int none = 0;
    QTest::newRow("keep structure") << int(Preferences::Target_Keep) << "sub/deep/a.py" << none << "sub/deep/a.py" << false;
    QTest::newRow("root") << int(Preferences::Target_Root) << "sub/deep/b.py" << none << "b.py" << false;
    QTest::newRow("ask, file in root: no question") << int(Preferences::Target_Ask) << "c.py" << none << "c.py" << false;
    QTest::newRow("ask, yes keeps") << int(Preferences::Target_Ask) << "sub/d.py" << int(QMessageBox::Yes) << "sub/d.py" << true;
    QTest::newRow("ask, no flattens") << int(Preferences::Target_Ask) << "sub/e.py" << int(QMessageBox::No) << "e.py" << true;
    QTest::newRow("ask, cancel ends") << int(Preferences::Target_Ask) << "sub/f.py" << int(QMessageBox::Cancel) << "" << true;
    QTest::newRow("unknown policy asks") << 7 << "sub/g.py" << int(QMessageBox::No) << "g.py" << true;
    QTest::newRow("backslash becomes a folder") << int(Preferences::Target_Root) << "h\\i.py" << none << "h/i.py" << false;
}

void tst_BoardFiles::uploadTargets()
{
    QFETCH(int, policy);
    QFETCH(QString, localRelative);
    QFETCH(int, answer);
    QFETCH(QString, boardRelative);
    QFETCH(bool, asked);

    VirtualBoard board;
    QVERIFY(board.start());
    QTemporaryDir local;
    QVERIFY(writeLocalFile(local.filePath(localRelative), "print('hello')\n"));
    QSettings().setValue(QStringLiteral("MC/SubDirsSel"), policy);
    MorvexWindow w;
    QVERIFY(connectBoard(w, board, 0));
    w.setPcFolder(local.path());

    QScopedPointer<DialogAnswerer> answerer(
        DialogAnswerer::messageBox(answer ? QMessageBox::StandardButton(answer) : QMessageBox::Cancel));
    w.uploadWithPolicy(QFileInfo(local.filePath(localRelative)));
    QCOMPARE(answerer->answered() > 0, asked);
    if (asked)
        QCOMPARE(answerer->texts().value(0), QStringLiteral("Keep the subdirectory structure?"));
    if (boardRelative.isEmpty()) {
        QVERIFY(syslogMessages(w).filter(QStringLiteral("Start uploading")).isEmpty());
    } else {
        QCOMPARE(board.readFile(boardRelative), QByteArray("print('hello')\n"));
        QVERIFY(syslogMessages(w).contains(QStringLiteral("Finished uploading to /flash/%1").arg(boardRelative)));
    }
}

QTEST_MAIN(tst_BoardFiles)
#include "tst_boardfiles.moc"
