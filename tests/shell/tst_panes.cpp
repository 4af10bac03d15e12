// The file panes: the PC folder, the context menus and the double clicks.
#include "codeeditor.h"
#include "morvexwindowprobe.h"
#include "testsupport.h"
#include "virtualboard.h"

#include <QAction>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QMessageBox>
#include <QMenu>
#include <QSettings>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>
#include <QTreeView>

#include <memory>

namespace {
void doubleClick(QAbstractItemView *view, const QModelIndex &index)
{
    QMetaObject::invokeMethod(view, "doubleClicked", Q_ARG(QModelIndex, index));
}
} // namespace

class tst_Panes : public QObject
{
    Q_OBJECT

private slots:
    void init() { sandbox.clear(); }
    void cleanupTestCase() { session.reset(); }
    void pcFolder();
    void folderTools();
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

    SettingsSandbox sandbox;
    std::unique_ptr<Session> session;
};

void tst_Panes::pcFolder()
{
    QTemporaryDir dir;
    QVERIFY(writeLocalFile(dir.filePath(QStringLiteral("sub/a.txt")), "a"));
    MorvexWindow w;
    w.loadWindowState();
    auto *edit = w.findChild<QLineEdit *>(QStringLiteral("pcFolderEdit"));
    QCOMPARE(edit->text(), QDir::homePath()); // no "UI/Dir": the home folder

    w.setPcFolder(dir.path());
    QCOMPARE(QSettings().value(QStringLiteral("UI/Dir")).toString(), dir.path());
    QCOMPARE(edit->text(), dir.path());
    QCOMPARE(MorvexWindowProbe::pcModel(w).rootPath(), dir.path());

    // Typing a file's path leaves the pane; each folder prefix moves it.
    edit->setText(dir.filePath(QStringLiteral("sub/a.txt")));
    QCOMPARE(MorvexWindowProbe::pcModel(w).rootPath(), dir.path());
    edit->setText(dir.filePath(QStringLiteral("sub")));
    QCOMPARE(MorvexWindowProbe::pcModel(w).rootPath(), dir.filePath(QStringLiteral("sub")));
    QCOMPARE(QSettings().value(QStringLiteral("UI/Dir")).toString(), dir.filePath(QStringLiteral("sub")));

    MorvexWindow again;
    again.loadWindowState();
    QCOMPARE(again.findChild<QLineEdit *>(QStringLiteral("pcFolderEdit"))->text(), dir.filePath(QStringLiteral("sub")));
}

void tst_Panes::folderTools()
{
    QTemporaryDir dir;
    QVERIFY(QDir(dir.path()).mkpath(QStringLiteral("one/two")));
    MorvexWindow w;
    w.setState(MorvexWindow::MC_REPL); // the file area is live only with the board at a prompt
    w.setPcFolder(dir.filePath(QStringLiteral("one/two")));
    auto *up = w.findChild<QToolButton *>(QStringLiteral("pcFolderUpTool"));
    auto *choose = w.findChild<QToolButton *>(QStringLiteral("pcFolderSelTool"));
    QVERIFY(showsIcon(up->icon(), QStringLiteral("arrow_upward")));
    QVERIFY(showsIcon(choose->icon(), QStringLiteral("folder_open")));
    up->click();
    QCOMPARE(MorvexWindowProbe::pcModel(w).rootPath(), dir.filePath(QStringLiteral("one")));

    QScopedPointer<DialogAnswerer> answer(DialogAnswerer::fileName(dir.filePath(QStringLiteral("one/two"))));
    choose->click();
    QCOMPARE(answer->answered(), 1);
    QCOMPARE(QDir(MorvexWindowProbe::pcModel(w).rootPath()), QDir(dir.filePath(QStringLiteral("one/two"))));

    w.setPcFolder(QStringLiteral("/"));
    up->click();
    QCOMPARE(MorvexWindowProbe::pcModel(w).rootPath(), QStringLiteral("/"));
}

void tst_Panes::contextMenus_data()
{
    QTest::addColumn<QString>("menu");
    QTest::addColumn<QStringList>("texts");
    QTest::addColumn<QStringList>("icons");

    QTest::newRow("pc") << "pc" << QStringList{"Run on the MC", "Upload", "Synchronize"}
                        << QStringList{"build", "send", "swap_horizontal_circle"};
    QTest::newRow("board") << "board" << QStringList{"Edit", "Download", "Remove"}
                           << QStringList{"edit", "save", "delete"};
}

void tst_Panes::contextMenus()
{
    QFETCH(QString, menu);
    QFETCH(QStringList, texts);
    QFETCH(QStringList, icons);
    MorvexWindow w;
    // The menus are the window's two QMenu children that are not in the menu bar.
    QMenu *found = nullptr;
    const auto menus = w.findChildren<QMenu *>(QString(), Qt::FindDirectChildrenOnly);
    for (QMenu *candidate : menus) {
        const auto actions = candidate->actions();
        if (!actions.isEmpty() && actions.first()->text() == texts.first())
            found = candidate;
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
    const bool ready = writeLocalFile(s->local.filePath(QStringLiteral("run.py")), "print('ran here')\n")
                       && writeLocalFile(s->local.filePath(QStringLiteral("up.txt")), "up")
                       && QDir(s->local.path()).mkdir(QStringLiteral("sub")) && s->board.start()
                       && s->board.writeFile(QStringLiteral("down.txt"), "down")
                       && s->board.writeFile(QStringLiteral("gone.txt"), "gone")
                       && s->board.writeFile(QStringLiteral("lib/a.py"), "a") && connectBoard(s->window, s->board, 0);
    if (!ready)
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
    QTest::addColumn<QString>("pane"); // "pc" or "board"
    QTest::addColumn<QString>("name"); // the row's file or folder, or "" for the empty part of the pane
    QTest::addColumn<int>("column");
    QTest::addColumn<int>("entry"); // the data of the entry chosen; -1 when no menu may open

    QTest::newRow("pc: Run on the MC") << "pc" << "run.py" << 0 << 0;
    QTest::newRow("pc: Upload, from the size column") << "pc" << "up.txt" << 1 << 1;
    QTest::newRow("pc: a folder has no menu") << "pc" << "sub" << 0 << -1;
    QTest::newRow("pc: nothing under the pointer") << "pc" << "" << 0 << -1;
    QTest::newRow("board: Download") << "board" << "down.txt" << 0 << 1;
    QTest::newRow("board: Remove") << "board" << "gone.txt" << 0 << 2;
    QTest::newRow("board: the size column has no menu") << "board" << "down.txt" << 1 << -1;
    QTest::newRow("board: a folder has no menu") << "board" << "lib" << 0 << -1;
    QTest::newRow("board: nothing under the pointer") << "board" << "" << 0 << -1;
}

void tst_Panes::menuEffects()
{
    QFETCH(QString, pane);
    QFETCH(QString, name);
    QFETCH(int, column);
    QFETCH(int, entry);
    Session *s = menuSession();
    QVERIFY(s);
    MorvexWindow &w = s->window;
    const bool pc = pane == QLatin1String("pc");
    auto *view = w.findChild<QAbstractItemView *>(pc ? QStringLiteral("pcFileList") : QStringLiteral("mcFileList"));
    QModelIndex index;
    if (!name.isEmpty()) {
        index = pc ? MorvexWindowProbe::pcModel(w).index(s->local.filePath(name)) : boardRow(w, name);
        index = index.sibling(index.row(), column);
        QVERIFY(waitFor([&] { return view->visualRect(index).isValid(); }, 5000));
    }
    const QPoint p = index.isValid() ? view->visualRect(index).center()
                                     : QPoint(5, view->viewport()->height() - 5);
    QVERIFY(index.isValid() || !view->indexAt(p).isValid());

    QPoint shownAt;
    DialogAnswerer menuAnswer([&](QWidget *widget) {
        auto *menu = qobject_cast<QMenu *>(widget);
        if (!menu)
            return false;
        shownAt = menu->pos();
        const auto actions = menu->actions();
        for (QAction *action : actions) {
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
    if (pc && entry == 0) {
        QVERIFY2(inOrder(log, {QStringLiteral(">>ran here"),
                               QStringLiteral("Script %1 executed").arg(s->local.filePath(name))}),
                 qPrintable(log.join('\n')));
    } else if (pc && entry == 1) {
        QCOMPARE(s->board.readFile(name), readLocalFile(s->local.filePath(name)));
    } else if (entry == 1) {
        QCOMPARE(readLocalFile(s->local.filePath(name)), s->board.readFile(name));
    } else if (entry == 2) {
        QVERIFY(!s->board.exists(name));
        QVERIFY(log.contains(QStringLiteral("/flash/%1 removed").arg(name)));
    }
}

void tst_Panes::pcDoubleClick_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<bool>("suggestExecute");
    QTest::addColumn<int>("answer");
    QTest::addColumn<QString>("question");
    QTest::addColumn<QString>("outcome"); // a log line, or "upload" for a plain copy, or "" for nothing

    const QString package = QStringLiteral("This is an update package. Do you want to unpack it and upload its contents?");
    const QString execute = QStringLiteral("Execute this file on the MC instead of uploading?");
    // Not a zip inside: unpacking it is tried and refused.
    QTest::newRow("package, yes") << "fw.ZPACK" << false << int(QMessageBox::Yes) << package
                                  << "Invalid package %1 - maybe not an zpack?";
    QTest::newRow("package, no copies it") << "fw.zfw" << false << int(QMessageBox::No) << package << "upload";
    QTest::newRow("package, cancel") << "fw.zpack" << false << int(QMessageBox::Cancel) << package << "";
    QTest::newRow("python, no question") << "a.py" << false << 0 << "" << "upload";
    QTest::newRow("python, execute") << "B.PY" << true << int(QMessageBox::Yes) << execute << "Script %1 executed";
    QTest::newRow("python, upload instead") << "c.py" << true << int(QMessageBox::No) << execute << "upload";
    QTest::newRow("python, cancel") << "d.py" << true << int(QMessageBox::Cancel) << execute << "";
}

void tst_Panes::pcDoubleClick()
{
    QFETCH(QString, file);
    QFETCH(bool, suggestExecute);
    QFETCH(int, answer);
    QFETCH(QString, question);
    QFETCH(QString, outcome);
    Session *s = menuSession();
    QVERIFY(s);
    MorvexWindow &w = s->window;
    const QString path = s->local.filePath(file);
    QVERIFY(writeLocalFile(path, "print('ran here')\n"));
    QSettings().setValue(QStringLiteral("MC/SuggestExecute"), suggestExecute);
    const QModelIndex index = MorvexWindowProbe::pcModel(w).index(path);
    QVERIFY(index.isValid());

    const int logBefore = syslogMessages(w).size();
    QScopedPointer<DialogAnswerer> answerer(
        DialogAnswerer::messageBox(answer ? QMessageBox::StandardButton(answer) : QMessageBox::Cancel));
    doubleClick(w.findChild<QTreeView *>(QStringLiteral("pcFileList")), index);
    QCOMPARE(answerer->texts(), question.isEmpty() ? QStringList() : QStringList{question});
    const QStringList log = syslogMessages(w).mid(logBefore);
    if (outcome == QLatin1String("upload"))
        QCOMPARE(s->board.readFile(file), QByteArray("print('ran here')\n"));
    else if (outcome.isEmpty())
        QVERIFY(!s->board.exists(file) && log.filter(QStringLiteral("Script ")).isEmpty());
    else
        QVERIFY2(log.contains(outcome.arg(path)), qPrintable(log.join('\n')));
    if (outcome.startsWith(QLatin1String("Script")))
        QVERIFY(log.contains(QStringLiteral(">>ran here")));
}

// Editing by double click, the default, is run by the editing suite.
void tst_Panes::boardDoubleClick_data()
{
    QTest::addColumn<QString>("clickAction");
    QTest::addColumn<bool>("downloads");

    QTest::newRow("download") << "download" << true;
    QTest::newRow("Download is not download") << "Download" << false;
}

void tst_Panes::boardDoubleClick()
{
    QFETCH(QString, clickAction);
    QFETCH(bool, downloads);
    Session *s = menuSession();
    QVERIFY(s);
    MorvexWindow &w = s->window;
    QSettings().setValue(QStringLiteral("MC/ClickAction"), clickAction);
    const QString local = s->local.filePath(QStringLiteral("down.txt"));
    QFile::remove(local);
    auto *view = w.findChild<QTableView *>(QStringLiteral("mcFileList"));
    const QModelIndex row = boardRow(w, QStringLiteral("down.txt"));
    QVERIFY(row.isValid());
    view->setCurrentIndex(row);
    doubleClick(view, row);
    QCOMPARE(QFile::exists(local), downloads);
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
