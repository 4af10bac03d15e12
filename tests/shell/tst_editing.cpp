// Editing board files through the real window: guards, questions and failures.
#include "codeeditor.h"
#include "morvexwindowprobe.h"
#include "qcodeeditor.h"
#include "testsupport.h"
#include "virtualboard.h"

#include <QAction>
#include <QFileDialog>
#include <QMenu>
#include <QPointer>
#include <QPushButton>
#include <QSettings>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace {
const QString alreadyEdited = QStringLiteral("A file is already being edited");
const QString cannotUpload = QStringLiteral("The file cannot be uploaded. Save it?");

QList<CodeEditor *> shownEditors(MorvexWindow &w)
{
    QList<CodeEditor *> shown;
    for (CodeEditor *editor : w.findChildren<CodeEditor *>())
        if (editor->isVisible())
            shown << editor;
    return shown;
}

QCodeEditor *textOf(CodeEditor *editor) { return editor->findChild<QCodeEditor *>(QStringLiteral("editor")); }

void append(CodeEditor *editor, const QString &text)
{
    textOf(editor)->moveCursor(QTextCursor::End);
    textOf(editor)->insertPlainText(text);
}

void press(CodeEditor *editor, const char *name) { editor->findChild<QPushButton *>(QLatin1String(name))->click(); }

bool connectTo(VirtualBoard &board, MorvexWindow &w, const QStringList &args, const QMap<QString, QByteArray> &files)
{
    if (!board.start(args))
        return false;
    for (auto it = files.cbegin(); it != files.cend(); ++it)
        if (!board.writeFile(it.key(), it.value()))
            return false;
    return connectBoard(w, board, 0);
}

bool doubleClickRow(MorvexWindow &w, const QString &name)
{
    const QModelIndex row = boardRow(w, name);
    auto *view = w.findChild<QTableView *>(QStringLiteral("mcFileList"));
    view->setCurrentIndex(row);
    return doubleClick(view, row);
}

// The one editor a double click on the row opened, or null.
QPointer<CodeEditor> openOne(MorvexWindow &w, const QString &name)
{
    const bool clicked = doubleClickRow(w, name);
    const QList<CodeEditor *> shown = shownEditors(w);
    return clicked && shown.size() == 1 ? shown.constFirst() : nullptr;
}

// Every download ends in a 0x01 to the board; after it, what the board received is complete.
bool downloadEnded(const VirtualBoard &board) { return waitFor([&] { return board.received().endsWith("\x01"); }, 5000); }

bool waitDeleted(const QPointer<CodeEditor> &editor) { return waitFor([&] { return editor.isNull(); }, 5000); }
} // namespace

class tst_Editing : public QObject
{
    Q_OBJECT

private slots:
    void init() { sandbox.clear(); }
    void cleanupTestCase() { shared.reset(); }
    void opening_data()
    {
        QTest::addColumn<QString>("way");
        QTest::addColumn<QString>("name"); // the row made current, or the new file's name (null: the input cancelled)
        QTest::addColumn<QString>("warning"); // for a download replaced by a hollow or a missing script: the log line
        QTest::addColumn<QString>("button");  // how the editor is left; empty: none opens
        const QString noFile = QStringLiteral("Select a MC file to edit");
        const QString invalid = QStringLiteral("The file name is invalid");
        QTest::newRow("double click, no click action set") << "double click" << "main.py" << "" << "closeButton";
        QTest::newRow("context menu Edit") << "menu" << "main.py" << "" << "closeButton";
        QTest::newRow("Edit action") << "action" << "a.txt" << "" << "closeButton";
        QTest::newRow("Edit action on a directory") << "action" << "lib" << noFile << "";
        QTest::newRow("Edit action without a current row") << "action" << "" << noFile << "";
        QTest::newRow("new file accepted") << "new" << "fresh.py" << "" << "applyButton";
        QTest::newRow("new file rejected") << "new" << "other.py" << "" << "closeButton";
        QTest::newRow("new file named as a directory") << "new" << "lib" << "" << "closeButton";
        QTest::newRow("new file, backslash") << "new" << "lib\\x.py" << invalid << "";
        QTest::newRow("new file existing") << "new" << "a.txt" << "A file with the same name already exists" << "";
        QTest::newRow("new file cancelled") << "new" << QString() << "" << "";
        QTest::newRow("empty copy of a file with content") << "hollow" << "main.py"
            << "Nothing of /flash/main.py was downloaded although the file is not empty; it is not opened for editing" << "";
        QTest::newRow("empty copy of an empty file") << "hollow" << "empty.txt" << "" << "closeButton";
        QTest::newRow("download script missing") << "no script" << "a.txt" << "" << "";
    }

    void opening()
    {
        QFETCH(QString, way);
        QFETCH(QString, name);
        QFETCH(QString, warning);
        QFETCH(QString, button);
        Session *s = sharedSession();
        QVERIFY(s);
        MorvexWindow &w = *s->window;
        auto *view = w.findChild<QTableView *>(QStringLiteral("mcFileList"));
        const QModelIndex index = way == "new" || name.isEmpty() ? QModelIndex() : boardRow(w, name);
        view->setCurrentIndex(index);
        const QByteArray content = way == "new" ? QByteArray() : s->board.readFile(name);
        const bool download = way == "hollow" || way == "no script";
        if (download) {
            const QString script = local.filePath(way);
            QVERIFY(way == "no script"
                    || writeLocalFile(script, "import sys\ndef _download(filename):\n    sys.stdout.write('>0#7>')\n"));
            QSettings().setValue(QStringLiteral("Scripts/Download"), script);
        }
        const int before = s->board.received().size();
        const int logged = syslogMessages(w).size();
        QScopedPointer<DialogAnswerer> boxes(DialogAnswerer::messageBox(QMessageBox::Ok));
        QScopedPointer<DialogAnswerer> input(DialogAnswerer::inputText(name));
        DialogAnswerer menuAnswer([](QWidget *widget) {
            auto *menu = qobject_cast<QMenu *>(widget);
            if (menu) {
                menu->setActiveAction(menu->actions().value(0)); // "Edit"
                QTest::keyClick(menu, Qt::Key_Return);
            }
            return menu != nullptr;
        });
        if (way == "double click" || download)
            doubleClick(view, index);
        else if (way == "menu")
            emit view->customContextMenuRequested(view->visualRect(index).center());
        else
            windowAction(w, way == "new" ? "actionNew_File" : "actionEdit")->trigger();
        const bool asked = !warning.isEmpty() && !download;
        QCOMPARE(boxes->texts(), asked ? QStringList{warning} : QStringList());
        QCOMPARE(boxes->titles(), asked ? QStringList{way == "new" ? "New File" : "Edit"} : QStringList());
        QCOMPARE(syslogMessages(w).mid(logged).filter(QStringLiteral("Nothing of")).join(QString()), asked ? "" : warning);
        QCOMPARE(shownEditors(w).size(), button.isEmpty() ? 0 : 1);
        if (!button.isEmpty()) {
            QPointer<CodeEditor> editor = shownEditors(w).constFirst();
            QCOMPARE(editor->windowModality(), way == "new" ? Qt::ApplicationModal : Qt::NonModal);
            QCOMPARE(editor->windowTitle(), name);
            QCOMPARE(textOf(editor)->toPlainText(), QString::fromUtf8(content));
            append(editor, QStringLiteral("x = 1\n"));
            press(editor, qPrintable(button));
            QVERIFY(waitDeleted(editor));
            QVERIFY(way == "new" || downloadEnded(s->board)); // what the board received is complete
        }
        const bool stored = button == "applyButton";
        if (stored)
            QCOMPARE(s->board.readFile(name), QByteArray("x = 1\n"));
        else if (way == "new")
            QCOMPARE(s->board.received().size(), before); // nothing reaches the board until accepted
        const QStringList onBoard{"main.py", "a.txt", "empty.txt", "lib"};
        QCOMPARE(boardRow(w, name).isValid(), stored || onBoard.contains(name));
        if (!download || !button.isEmpty())
            return;
        // The file counts as edited until the link closes; New File is called as its slot, whose action may be off.
        QSettings().remove(QStringLiteral("Scripts/Download"));
        boxes.reset(DialogAnswerer::messageBox(QMessageBox::Ok));
        QVERIFY(doubleClickRow(w, name));
        QMetaObject::invokeMethod(&w, "on_actionNew_File_triggered");
        QCOMPARE(boxes->texts(), (QStringList{alreadyEdited, alreadyEdited}));
        windowAction(w, "actionConnect")->trigger();
        QVERIFY(connectBoard(w, s->board, 0));
        QPointer<CodeEditor> editor = openOne(w, name);
        QVERIFY(editor);
        press(editor, "closeButton");
        QVERIFY(waitDeleted(editor) && downloadEnded(s->board));
    }

    void edit_data()
    {
        QTest::addColumn<QString>("delivery");
        QTest::addColumn<QString>("cause"); // why the upload is refused; empty: it is not
        QTest::addColumn<bool>("save");     // the answer to the save question
        QTest::newRow("usb: uploaded") << "usb" << "" << false;
        QTest::newRow("usb: upload fails, saved locally") << "usb" << "corrupt" << true;
        QTest::newRow("uart: upload fails, not saved") << "uart" << "corrupt" << false;
        QTest::newRow("uart: link closed, saved locally") << "uart" << "closed" << true;
    }

    // One edit start to end: the link works behind it, a second edit and quitting are refused, and the save question
    // comes instead of an upload after a failed one, or at once when the editor's link has gone.
    void edit()
    {
        QFETCH(QString, delivery);
        QFETCH(QString, cause);
        QFETCH(bool, save);
        VirtualBoard board;
        MorvexWindow w;
        w.show();
        QStringList args{"--delivery", delivery};
        if (cause == "corrupt") // a byte of the upload corrupted on the line fails its checksum
            args << "--corrupt-rx" << "_upload:20";
        QVERIFY(connectTo(board, w, args, {{"conf.txt", "speed = 1\n"}, {"b.txt", "beta\n"}}));
        QTemporaryDir saveDir;
        w.setPcFolder(saveDir.path());
        QPointer<CodeEditor> editor = openOne(w, QStringLiteral("conf.txt"));
        QVERIFY(editor);
        QVERIFY(downloadEnded(board));
        int before = board.received().size();
        QScopedPointer<DialogAnswerer> boxes(DialogAnswerer::messageBox(QMessageBox::No));
        QVERIFY(!w.close());
        QVERIFY(doubleClickRow(w, QStringLiteral("b.txt")));
        windowAction(w, "actionNew_File")->trigger();
        QCOMPARE(boxes->texts(),
                 (QStringList{"An MC operation is in progress. Abort and quit?", alreadyEdited, alreadyEdited}));
        QCOMPARE(boxes->titles() + boxes->buttons(), (QStringList{"Exit", "Edit", "New File", "Yes No", "Ok*", "Ok*"}));
        QCOMPARE(shownEditors(w), QList<CodeEditor *>{editor});
        QCOMPARE(board.received().size(), before);
        w.changeBoardDir(QStringLiteral("/flash"));
        QVERIFY(board.received().mid(before).contains("os.chdir('/flash')"));

        if (cause == "closed") {
            windowAction(w, "actionConnect")->trigger(); // disconnects, and leaves the editor open
            QVERIFY(!MorvexWindowProbe::port(w).isOpen() && editor->isVisible());
        }
        append(editor, QStringLiteral("speed = 2\n"));
        before = board.received().size();
        const int logged = syslogMessages(w).size();
        QString proposal;
        DialogAnswerer files([&](QWidget *widget) {
            auto *dialog = qobject_cast<QFileDialog *>(widget);
            if (dialog) {
                proposal = dialog->selectedFiles().value(0);
                QMetaObject::invokeMethod(dialog, "accept", Qt::DirectConnection);
            }
            return dialog != nullptr;
        });
        boxes.reset(DialogAnswerer::messageBox(save ? QMessageBox::Yes : QMessageBox::No));
        press(editor, "applyButton");
        QVERIFY(waitDeleted(editor));
        const QString localCopy = saveDir.filePath(QStringLiteral("conf.txt"));
        QCOMPARE(proposal, save ? localCopy : QString());
        QCOMPARE(readLocalFile(localCopy), save ? QByteArray("speed = 1\nspeed = 2\n") : QByteArray());
        QCOMPARE(syslogMessages(w).contains(QStringLiteral("Finished uploading to /flash/conf.txt")), cause.isEmpty());
        if (cause.isEmpty()) {
            QCOMPARE(board.readFile(QStringLiteral("conf.txt")), QByteArray("speed = 1\nspeed = 2\n"));
            QVERIFY(board.received().mid(before).contains("os.chdir('/flash')")); // listed again
            QVERIFY(w.close()); // no edit open: no question
            QCOMPARE(boxes->answered(), 0);
            return;
        }
        QCOMPARE(boxes->texts().filter(QStringLiteral("Save it?")), QStringList{cannotUpload});
        const int question = boxes->texts().indexOf(cannotUpload);
        QCOMPARE(boxes->titles().value(question) + ' ' + boxes->buttons().value(question), QStringLiteral("Edit Yes* No"));
        if (cause == "corrupt")
            return;
        QCOMPARE(board.readFile(QStringLiteral("conf.txt")), QByteArray("speed = 1\n"));
        QCOMPARE(board.received().size(), before); // no upload, no listing
        QCOMPARE(syslogMessages(w).size(), logged);
    }

private:
    struct Session {
        VirtualBoard board;
        std::unique_ptr<MorvexWindow> window;
    };
    // One usb board with main.py, a.txt and lib/, for rows that leave no edit open.
    Session *sharedSession()
    {
        if (shared && MorvexWindowProbe::port(*shared->window).isOpen())
            return shared.get();
        shared.reset(new Session);
        shared->window.reset(new MorvexWindow);
        shared->window->show();
        const bool ok = QTest::qWaitForWindowExposed(shared->window.get())
                        && connectTo(shared->board, *shared->window, {},
                                     {{"main.py", "x = 2\n"}, {"a.txt", "alpha\n"}, {"empty.txt", ""}, {"lib/x.py", ""}});
        return ok ? shared.get() : nullptr;
    }

    SettingsSandbox sandbox;
    QTemporaryDir local;
    std::unique_ptr<Session> shared;
};

QTEST_MAIN(tst_Editing)
#include "tst_editing.moc"
