// The file panes: the PC folder, the context menus and the double clicks.
#include "morvexwindowprobe.h"
#include "testsupport.h"
#include "virtualboard.h"

#include <QtTest>
#include <QtWidgets>

#include <memory>

class tst_Panes : public QObject
{
    Q_OBJECT
    struct Session {
        QTemporaryDir local;
        VirtualBoard board;
        MorvexWindow window;
    };
    Session *menuSession();
    const QString ask = QStringLiteral("MC/SuggestExecute=true");

    SettingsSandbox sandbox;
    std::unique_ptr<Session> session;

private slots:
    void init() { sandbox.clear(); }
    void cleanupTestCase() { session.reset(); }

    void pcFolder()
    {
        QTemporaryDir dir;
        QVERIFY(writeLocalFile(dir.filePath("one/two/a.txt"), "a"));
        const auto root = [](MorvexWindow &w) { return MorvexWindowProbe::pcModel(w).rootPath(); };
        MorvexWindow w;
        w.loadWindowState();
        auto *edit = w.findChild<QLineEdit *>("pcFolderEdit");
        QCOMPARE(edit->text(), QDir::homePath()); // no "UI/Dir": the home folder
        w.setState(MorvexWindow::MC_REPL);        // the file area is live only with the board at a prompt
        // Typing a file's path leaves the pane; each folder prefix moves it and is stored.
        edit->setText(dir.filePath("one/two/a.txt"));
        QCOMPARE(root(w), QDir::homePath());
        edit->setText(dir.filePath("one/two"));
        QCOMPARE(root(w), dir.filePath("one/two"));
        auto *up = w.findChild<QToolButton *>("pcFolderUpTool");
        auto *choose = w.findChild<QToolButton *>("pcFolderSelTool");
        up->click();
        QCOMPARE(root(w), dir.filePath("one"));
        QCOMPARE(QSettings().value("UI/Dir").toString(), dir.filePath("one"));
        QScopedPointer<DialogAnswerer> answer(DialogAnswerer::fileName(dir.filePath("one/two")));
        choose->click();
        QCOMPARE(QDir(root(w)), QDir(dir.filePath("one/two")));
    }

    void menuEffects_data()
    {
        QTest::addColumn<bool>("pc");
        QTest::addColumn<QString>("name"); // "" for the empty part of the pane
        QTest::addColumn<int>("column");
        QTest::addColumn<int>("entry"); // the data of the entry chosen; -1 when no menu may open
        QTest::newRow("pc: Run on the MC") << true << "run.py" << 0 << 0;
        QTest::newRow("pc: Upload, from the size column") << true << "up.txt" << 1 << 1;
        QTest::newRow("pc: a folder has no menu") << true << "sub" << 0 << -1;
        QTest::newRow("pc: nothing under the pointer") << true << "" << 0 << -1;
        QTest::newRow("board: Download") << false << "down.txt" << 0 << 1;
        QTest::newRow("board: Remove") << false << "gone.txt" << 0 << 2;
        QTest::newRow("board: the size column has no menu") << false << "down.txt" << 1 << -1;
        QTest::newRow("board: a folder has no menu") << false << "lib" << 0 << -1;
    }

    void menuEffects()
    {
        QFETCH(bool, pc);
        QFETCH(QString, name);
        QFETCH(int, column);
        QFETCH(int, entry);
        Session *s = menuSession();
        QVERIFY(s);
        MorvexWindow &w = s->window;
        auto *view = w.findChild<QAbstractItemView *>(pc ? "pcFileList" : "mcFileList");
        QModelIndex index;
        if (!name.isEmpty()) {
            index = pc ? MorvexWindowProbe::pcModel(w).index(s->local.filePath(name)) : boardRow(w, name);
            index = index.sibling(index.row(), column);
            QVERIFY(waitFor([&] { return view->visualRect(index).isValid(); }, 5000));
        }
        const QPoint p = index.isValid() ? view->visualRect(index).center() : QPoint(5, view->viewport()->height() - 5);
        QVERIFY(index.isValid() || !view->indexAt(p).isValid());
        // Each entry's text, data and icon name; icons made before the window sets the colours are black on either theme.
        const QStringList texts = pc ? QStringList{"Run on the MC", "Upload", "Synchronize"} : QStringList{"Edit", "Download", "Remove"};
        const QStringList icons = pc ? QStringList{"build", "send", "swap_horizontal_circle"} : QStringList{"edit", "save", "delete"};
        QStringList seen;
        QPoint shownAt;
        DialogAnswerer menuAnswer([&](QWidget *widget) {
            auto *menu = qobject_cast<QMenu *>(widget);
            if (!menu)
                return false;
            shownAt = menu->pos();
            const auto actions = menu->actions();
            for (int i = 0; i < actions.size(); ++i) {
                const bool right = actions.at(i)->data().toInt() == i && showsIcon(actions.at(i)->icon(), icons.value(i), Qt::black);
                seen << actions.at(i)->text() + (right ? "" : " (wrong data or icon)");
                if (i == entry)
                    menu->setActiveAction(actions.at(i));
            }
            QTest::keyClick(menu, entry < 0 ? Qt::Key_Escape : Qt::Key_Return);
            return true;
        });
        const int logBefore = syslogMessages(w).size();
        emit view->customContextMenuRequested(p);
        QCOMPARE(menuAnswer.answered(), entry < 0 ? 0 : 1);
        if (entry < 0)
            return;
        QCOMPARE(shownAt, view->mapToGlobal(p));
        QCOMPARE(seen, texts);
        const QStringList log = syslogMessages(w).mid(logBefore);
        if (pc && entry == 0)
            QVERIFY2(inOrder(log, {">>ran here", QStringLiteral("Script %1 executed").arg(s->local.filePath(name))}),
                     qPrintable(log.join('\n')));
        else if (entry == 1)
            QCOMPARE(s->board.readFile(name), readLocalFile(s->local.filePath(name)));
        else
            QVERIFY(!s->board.exists(name) && log.contains(QStringLiteral("/flash/%1 removed").arg(name)));
    }

    void doubleClicks_data()
    {
        QTest::addColumn<QString>("file"); // "board:" for the board pane
        QTest::addColumn<QString>("setting");
        QTest::addColumn<int>("answer");   // 0: no question may come
        QTest::addColumn<QString>("outcome"); // a log line, "upload", "download", or "" for nothing
        QTest::newRow("package, no copies it") << "fw.zfw" << "" << int(QMessageBox::No) << "upload";
        QTest::newRow("package, cancel") << "fw.ZPACK" << "" << int(QMessageBox::Cancel) << "";
        QTest::newRow("python, no question") << "a.py" << "" << 0 << "upload";
        QTest::newRow("python, execute") << "B.PY" << ask << int(QMessageBox::Yes) << "Script %1 executed";
        QTest::newRow("python, upload instead") << "c.py" << ask << int(QMessageBox::No) << "upload";
        // Editing by double click, the default, is run by the editing suite.
        QTest::newRow("board, download") << "board:down.txt" << "MC/ClickAction=download" << 0 << "download";
    }

    void doubleClicks()
    {
        QFETCH(QString, file);
        QFETCH(QString, setting);
        QFETCH(int, answer);
        QFETCH(QString, outcome);
        Session *s = menuSession();
        QVERIFY(s);
        MorvexWindow &w = s->window;
        if (!setting.isEmpty())
            QSettings().setValue(setting.section('=', 0, 0), setting.section('=', 1));
        const int logBefore = syslogMessages(w).size();
        QScopedPointer<DialogAnswerer> answerer(
            DialogAnswerer::messageBox(answer ? QMessageBox::StandardButton(answer) : QMessageBox::Cancel));
        const QString path = s->local.filePath(file.remove("board:"));
        if (outcome == "download") {
            QFile::remove(path);
            auto *view = w.findChild<QAbstractItemView *>("mcFileList");
            view->setCurrentIndex(boardRow(w, file));
            doubleClick(view, boardRow(w, file));
        } else {
            QVERIFY(writeLocalFile(path, "print('ran here')\n"));
            doubleClick(w.findChild<QAbstractItemView *>("pcFileList"), MorvexWindowProbe::pcModel(w).index(path));
        }
        const QString question = !answer ? QString()
            : setting == ask ? "Execute this file on the MC instead of uploading?"
                             : "This is an update package. Do you want to unpack it and upload its contents?";
        QCOMPARE(answerer->texts(), question.isEmpty() ? QStringList() : QStringList{question});
        QCOMPARE(answerer->titles() + answerer->buttons(), question.isEmpty() ? QStringList()
                 : QStringList({"Upload File", setting == ask ? "Yes No* Cancel" : "Yes* No Cancel"}));
        const QStringList log = syslogMessages(w).mid(logBefore);
        if (outcome == "download")
            QVERIFY(QFile::exists(path));
        else if (outcome == "upload")
            QCOMPARE(s->board.readFile(file), QByteArray("print('ran here')\n"));
        else if (outcome.isEmpty())
            QVERIFY(!s->board.exists(file) && log.filter("Script ").isEmpty());
        else
            QVERIFY2(log.contains(outcome.arg(path)) && log.contains(">>ran here"), qPrintable(log.join('\n')));
    }
};

tst_Panes::Session *tst_Panes::menuSession()
{
    if (session)
        return session.get();
    Session *s = (session = std::make_unique<Session>()).get();
    if (!writeLocalFile(s->local.filePath("run.py"), "print('ran here')\n") || !writeLocalFile(s->local.filePath("up.txt"), "up")
        || !QDir(s->local.path()).mkdir("sub") || !s->board.start() || !s->board.writeFile("down.txt", "down")
        || !s->board.writeFile("gone.txt", "gone") || !s->board.writeFile("lib/a.py", "a") || !connectBoard(s->window, s->board, 0))
        return nullptr;
    s->window.setPcFolder(s->local.path());
    // Shown, so that the panes have their places on the screen.
    s->window.resize(760, 560);
    s->window.move(0, 0);
    s->window.show();
    return QTest::qWaitForWindowExposed(&s->window) ? s : nullptr;
}

QTEST_MAIN(tst_Panes)
#include "tst_panes.moc"
