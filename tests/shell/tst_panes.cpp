// The file panes: the PC folder, the context menus and the double clicks.
#include "codeeditor.h"
#include "morvexwindowprobe.h"
#include "testsupport.h"
#include "virtualboard.h"

#include <QAbstractItemView>
#include <QAction>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>

#include <memory>

class tst_Panes : public QObject
{
    Q_OBJECT

private slots:
    void init() { sandbox.clear(); }
    void cleanupTestCase() { session.reset(); }
    void pcFolder();
    void contextMenus_data();
    void contextMenus();
    void menuEffects_data();
    void menuEffects();
    void pcDoubleClick_data();
    void pcDoubleClick();
    void boardDoubleClick_data();
    void boardDoubleClick();

private:
    struct Session {
        QTemporaryDir local;
        VirtualBoard board;
        MorvexWindow window;
    };
    Session *menuSession();
    static void doubleClick(QAbstractItemView *view, const QModelIndex &index)
    {
        QMetaObject::invokeMethod(view, "doubleClicked", Q_ARG(QModelIndex, index));
    }

    SettingsSandbox sandbox;
    std::unique_ptr<Session> session;
};

void tst_Panes::pcFolder()
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
    QVERIFY(showsIcon(up->icon(), "arrow_upward") && showsIcon(choose->icon(), "folder_open"));
    up->click();
    QCOMPARE(root(w), dir.filePath("one"));
    QCOMPARE(QSettings().value("UI/Dir").toString(), dir.filePath("one"));
    MorvexWindow again;
    again.loadWindowState();
    QCOMPARE(again.findChild<QLineEdit *>("pcFolderEdit")->text(), dir.filePath("one"));

    QScopedPointer<DialogAnswerer> answer(DialogAnswerer::fileName(dir.filePath("one/two")));
    choose->click();
    QCOMPARE(answer->answered(), 1);
    QCOMPARE(QDir(root(w)), QDir(dir.filePath("one/two")));
    w.setPcFolder("/");
    up->click();
    QCOMPARE(root(w), QStringLiteral("/"));
}

void tst_Panes::contextMenus_data()
{
    QTest::addColumn<QStringList>("texts");
    QTest::addColumn<QStringList>("icons");
    QTest::newRow("pc") << QStringList{"Run on the MC", "Upload", "Synchronize"}
                        << QStringList{"build", "send", "swap_horizontal_circle"};
    QTest::newRow("board") << QStringList{"Edit", "Download", "Remove"} << QStringList{"edit", "save", "delete"};
}

void tst_Panes::contextMenus()
{
    QFETCH(QStringList, texts);
    QFETCH(QStringList, icons);
    MorvexWindow w;
    QMenu *found = nullptr;
    for (QMenu *menu : w.findChildren<QMenu *>(QString(), Qt::FindDirectChildrenOnly)) {
        if (!menu->actions().isEmpty() && menu->actions().first()->text() == texts.first())
            found = menu;
    }
    QVERIFY(found);
    const auto actions = found->actions();
    QCOMPARE(actions.size(), texts.size());
    for (int i = 0; i < actions.size(); ++i) {
        QCOMPARE(actions.at(i)->text(), texts.at(i));
        QCOMPARE(actions.at(i)->data().toInt(), i);
        // Made before the window sets the icon colours: black on either theme.
        QVERIFY(showsIcon(actions.at(i)->icon(), icons.at(i), Qt::black));
    }
}

tst_Panes::Session *tst_Panes::menuSession()
{
    if (session)
        return session.get();
    session.reset(new Session);
    Session *s = session.get();
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

void tst_Panes::menuEffects_data()
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
    QTest::newRow("board: nothing under the pointer") << false << "" << 0 << -1;
}

void tst_Panes::menuEffects()
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

    QPoint shownAt;
    DialogAnswerer menuAnswer([&](QWidget *widget) {
        auto *menu = qobject_cast<QMenu *>(widget);
        if (!menu)
            return false;
        shownAt = menu->pos();
        for (QAction *action : menu->actions()) {
            if (action->data().toInt() == entry)
                menu->setActiveAction(action);
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
    const QStringList log = syslogMessages(w).mid(logBefore);
    if (pc && entry == 0)
        QVERIFY2(inOrder(log, {">>ran here", QStringLiteral("Script %1 executed").arg(s->local.filePath(name))}),
                 qPrintable(log.join('\n')));
    else if (entry == 1)
        QCOMPARE(s->board.readFile(name), readLocalFile(s->local.filePath(name)));
    else
        QVERIFY(!s->board.exists(name) && log.contains(QStringLiteral("/flash/%1 removed").arg(name)));
}

void tst_Panes::pcDoubleClick_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<bool>("suggestExecute");
    QTest::addColumn<int>("answer"); // 0: no question may come
    QTest::addColumn<QString>("outcome"); // a log line, "upload" for a plain copy, "" for nothing

    // Not a zip inside: unpacking it is tried and refused.
    QTest::newRow("package, yes") << "fw.ZPACK" << false << int(QMessageBox::Yes) << "Invalid package %1 - maybe not an zpack?";
    QTest::newRow("package, no copies it") << "fw.zfw" << false << int(QMessageBox::No) << "upload";
    QTest::newRow("package, cancel") << "fw.zpack" << false << int(QMessageBox::Cancel) << "";
    QTest::newRow("python, no question") << "a.py" << false << 0 << "upload";
    QTest::newRow("python, execute") << "B.PY" << true << int(QMessageBox::Yes) << "Script %1 executed";
    QTest::newRow("python, upload instead") << "c.py" << true << int(QMessageBox::No) << "upload";
    QTest::newRow("python, cancel") << "d.py" << true << int(QMessageBox::Cancel) << "";
}

void tst_Panes::pcDoubleClick()
{
    QFETCH(QString, file);
    QFETCH(bool, suggestExecute);
    QFETCH(int, answer);
    QFETCH(QString, outcome);
    Session *s = menuSession();
    QVERIFY(s);
    MorvexWindow &w = s->window;
    const QString path = s->local.filePath(file);
    QVERIFY(writeLocalFile(path, "print('ran here')\n"));
    QSettings().setValue("MC/SuggestExecute", suggestExecute);
    const int logBefore = syslogMessages(w).size();
    QScopedPointer<DialogAnswerer> answerer(
        DialogAnswerer::messageBox(answer ? QMessageBox::StandardButton(answer) : QMessageBox::Cancel));
    doubleClick(w.findChild<QAbstractItemView *>("pcFileList"), MorvexWindowProbe::pcModel(w).index(path));
    const QString question = !answer ? QString()
        : suggestExecute ? "Execute this file on the MC instead of uploading?"
                         : "This is an update package. Do you want to unpack it and upload its contents?";
    QCOMPARE(answerer->texts(), question.isEmpty() ? QStringList() : QStringList{question});
    const QStringList log = syslogMessages(w).mid(logBefore);
    if (outcome == "upload")
        QCOMPARE(s->board.readFile(file), QByteArray("print('ran here')\n"));
    else if (outcome.isEmpty())
        QVERIFY(!s->board.exists(file) && log.filter("Script ").isEmpty());
    else
        QVERIFY2(log.contains(outcome.arg(path)) && (!outcome.startsWith("Script") || log.contains(">>ran here")),
                 qPrintable(log.join('\n')));
}

// Editing by double click, the default, is run by the editing suite.
void tst_Panes::boardDoubleClick_data()
{
    QTest::addColumn<QString>("clickAction");
    QTest::newRow("download") << "download";
    QTest::newRow("Download is not download") << "Download";
}

void tst_Panes::boardDoubleClick()
{
    QFETCH(QString, clickAction);
    const bool downloads = clickAction == "download";
    Session *s = menuSession();
    QVERIFY(s);
    MorvexWindow &w = s->window;
    QSettings().setValue("MC/ClickAction", clickAction);
    QFile::remove(s->local.filePath("down.txt"));
    auto *view = w.findChild<QAbstractItemView *>("mcFileList");
    const QModelIndex row = boardRow(w, "down.txt");
    view->setCurrentIndex(row);
    doubleClick(view, row);
    QCOMPARE(QFile::exists(s->local.filePath("down.txt")), downloads);
    const auto editors = w.findChildren<CodeEditor *>();
    QCOMPARE(editors.size(), downloads ? 0 : 1);
    if (!downloads) {
        QCOMPARE(editors.constFirst()->windowTitle(), QStringLiteral("down.txt"));
        editors.constFirst()->reject();
        QVERIFY(waitFor([&] { return w.findChildren<CodeEditor *>().isEmpty(); }, 5000));
    }
}

QTEST_MAIN(tst_Panes)
#include "tst_panes.moc"
