// Editing board files through the real window: guards, questions and failures (the plain edit runs in every delivery mode elsewhere).
#include "codeeditor.h"
#include "morvexwindowprobe.h"
#include "qcodeeditor.h"
#include "testsupport.h"
#include "virtualboard.h"

#include <QAction>
#include <QApplication>
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

const QByteArray pythonFile = QByteArray("def step(x):\n    return x * 2\n").repeated(30); // several download blocks

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
    return row.isValid() && QMetaObject::invokeMethod(view, "doubleClicked", Q_ARG(QModelIndex, row));
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
    void opensFrom_data()
    {
        QTest::addColumn<QString>("way");
        QTest::addColumn<QString>("row"); // empty: no current row
        QTest::addColumn<bool>("opens");
        QTest::newRow("double click, no click action set") << "double click" << "main.py" << true;
        QTest::newRow("double click, edit") << "double click edit" << "a.txt" << true;
        QTest::newRow("context menu Edit") << "menu" << "main.py" << true;
        QTest::newRow("Edit action") << "action" << "a.txt" << true;
        QTest::newRow("Edit action on a directory") << "action" << "lib" << false;
        QTest::newRow("Edit action without a current row") << "action" << "" << false;
    }

    void opensFrom()
    {
        QFETCH(QString, way);
        QFETCH(QString, row);
        QFETCH(bool, opens);
        Session *s = sharedSession();
        QVERIFY(s);
        MorvexWindow &w = *s->window;
        auto *view = w.findChild<QTableView *>(QStringLiteral("mcFileList"));
        const QModelIndex index = row.isEmpty() ? QModelIndex() : boardRow(w, row);
        view->setCurrentIndex(index);
        if (way.endsWith(QLatin1String("edit")))
            QSettings().setValue(QStringLiteral("MC/ClickAction"), QStringLiteral("edit"));

        QScopedPointer<DialogAnswerer> boxes(DialogAnswerer::messageBox(QMessageBox::Ok));
        if (way.startsWith(QLatin1String("double click"))) {
            QMetaObject::invokeMethod(view, "doubleClicked", Q_ARG(QModelIndex, index));
        } else if (way == QLatin1String("menu")) {
            DialogAnswerer menuAnswer([](QWidget *widget) {
                auto *menu = qobject_cast<QMenu *>(widget);
                if (menu) {
                    menu->setActiveAction(menu->actions().value(0)); // "Edit"
                    QTest::keyClick(menu, Qt::Key_Return);
                }
                return menu != nullptr;
            });
            emit view->customContextMenuRequested(view->visualRect(index).center());
            QCOMPARE(menuAnswer.answered(), 1);
        } else {
            windowAction(w, "actionEdit")->trigger();
        }

        const QList<CodeEditor *> editors = shownEditors(w);
        QCOMPARE(boxes->texts(), opens ? QStringList() : QStringList{"Select a MC file to edit"});
        QCOMPARE(boxes->titles(), opens ? QStringList() : QStringList{"Edit"});
        QCOMPARE(editors.size(), opens ? 1 : 0);
        if (!opens)
            return;
        QCOMPARE(editors.constFirst()->windowTitle(), row);
        QCOMPARE(textOf(editors.constFirst())->toPlainText(), QString::fromUtf8(s->board.readFile(row)));
        QPointer<CodeEditor> editor = editors.constFirst();
        press(editor, "closeButton");
        QVERIFY(waitDeleted(editor));
        QVERIFY(downloadEnded(s->board)); // later rows count what the board receives
    }

    void newFile_data()
    {
        QTest::addColumn<QString>("name"); // null: the input is cancelled
        QTest::addColumn<QString>("warning");
        QTest::addColumn<QString>("button"); // how the editor is left; empty: none opens
        QTest::newRow("accepted") << "fresh.py" << "" << "applyButton";
        QTest::newRow("rejected") << "other.py" << "" << "closeButton";
        QTest::newRow("name of a directory passes") << "lib" << "" << "closeButton";
        QTest::newRow("backslash") << "lib\\x.py" << "The file name is invalid" << "";
        QTest::newRow("slash") << "a/b.py" << "The file name is invalid" << "";
        QTest::newRow("existing file") << "a.txt" << "A file with the same name already exists" << "";
        QTest::newRow("empty name") << "" << "" << "";
        QTest::newRow("cancelled") << QString() << "" << "";
    }

    void newFile()
    {
        QFETCH(QString, name);
        QFETCH(QString, warning);
        QFETCH(QString, button);
        Session *s = sharedSession();
        QVERIFY(s);
        MorvexWindow &w = *s->window;
        const int before = s->board.received().size();
        QScopedPointer<DialogAnswerer> boxes(DialogAnswerer::messageBox(QMessageBox::Ok));
        QScopedPointer<DialogAnswerer> input(DialogAnswerer::inputText(name));
        windowAction(w, "actionNew_File")->trigger();
        QCOMPARE(input->answered(), 1);
        QCOMPARE(boxes->texts(), warning.isEmpty() ? QStringList() : QStringList{warning});
        QCOMPARE(boxes->titles(), warning.isEmpty() ? QStringList() : QStringList{"New File"});
        QCOMPARE(shownEditors(w).size(), button.isEmpty() ? 0 : 1);
        if (!button.isEmpty()) {
            QPointer<CodeEditor> editor = shownEditors(w).constFirst();
            QCOMPARE(editor->windowModality(), Qt::ApplicationModal);
            QCOMPARE(editor->windowTitle(), name);
            QCOMPARE(textOf(editor)->toPlainText(), QString());
            append(editor, QStringLiteral("x = 1\n"));
            press(editor, qPrintable(button));
            QVERIFY(waitDeleted(editor));
        }
        const bool stored = button == QLatin1String("applyButton");
        if (stored)
            QCOMPARE(s->board.readFile(name), QByteArray("x = 1\n"));
        else
            QCOMPARE(s->board.received().size(), before); // nothing reaches the board until accepted
        QCOMPARE(boardRow(w, name).isValid(), stored || name == QLatin1String("lib") || name == QLatin1String("a.txt"));
    }

    void editAndUpload_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("shown");
        QTest::addColumn<QString>("added");
        QTest::addColumn<QByteArray>("stored");
        const QByteArray python = pythonFile;
        QTest::newRow("python file") << "main.py" << python << QString::fromUtf8(python) << "print('edited')\n"
                                     << python + "print('edited')\n";
        QTest::newRow("json shown indented, stored compact")
            << "conf.json" << QByteArray("{\"b\": 1, \"a\": [true]}") << "{\n    \"a\": [\n        true\n    ],\n    \"b\": 1\n}\n"
            << "" << QByteArray("{\"a\":[true],\"b\":1}");
    }

    // One edit start to end: the link works behind it, a second edit is refused, and the close question goes with the edit.
    void editAndUpload()
    {
        QFETCH(QString, name);
        QFETCH(QByteArray, content);
        QFETCH(QString, shown);
        QFETCH(QString, added);
        QFETCH(QByteArray, stored);
        VirtualBoard board;
        MorvexWindow w;
        w.show();
        QVERIFY(connectTo(board, w, {}, {{name, content}, {"other.txt", "other"}}));
        QPointer<CodeEditor> editor = openOne(w, name);
        QVERIFY(editor);
        QCOMPARE(textOf(editor)->toPlainText(), shown);
        QCOMPARE(editor->windowModality(), Qt::NonModal);
        QVERIFY(!QApplication::activeModalWidget());
        {
            QScopedPointer<DialogAnswerer> boxes(DialogAnswerer::messageBox(QMessageBox::No));
            QVERIFY(!w.close());
            QCOMPARE(boxes->texts(), QStringList{"An MC operation is in progress. Abort and quit?"});
        }

        QVERIFY(downloadEnded(board));
        int before = board.received().size();
        {
            QScopedPointer<DialogAnswerer> boxes(DialogAnswerer::messageBox(QMessageBox::Ok));
            QVERIFY(doubleClickRow(w, QStringLiteral("other.txt")));
            windowAction(w, "actionNew_File")->trigger();
            QCOMPARE(boxes->texts(), (QStringList{alreadyEdited, alreadyEdited}));
            QCOMPARE(boxes->titles(), (QStringList{"Edit", "New File"}));
        }
        QCOMPARE(shownEditors(w), QList<CodeEditor *>{editor});
        QCOMPARE(board.received().size(), before);
        w.changeBoardDir(QStringLiteral("/flash"));
        QVERIFY(board.received().mid(before).contains("os.chdir('/flash')"));

        append(editor, added);
        before = board.received().size();
        press(editor, "applyButton");
        QCOMPARE(board.readFile(name), stored);
        QVERIFY(syslogMessages(w).contains(QStringLiteral("Finished uploading to /flash/%1").arg(name)));
        QVERIFY(board.received().mid(before).contains("os.chdir('/flash')")); // listed again
        QVERIFY(waitDeleted(editor));
        QScopedPointer<DialogAnswerer> boxes(DialogAnswerer::messageBox(QMessageBox::No));
        QVERIFY(w.close()); // no edit open: no question
        QCOMPARE(boxes->answered(), 0);
    }

    void failedUpload_data()
    {
        QTest::addColumn<QString>("delivery");
        QTest::addColumn<bool>("save");
        QTest::newRow("usb: saved locally") << "usb" << true;
        QTest::newRow("uart: not saved") << "uart" << false;
    }

    void failedUpload()
    {
        QFETCH(QString, delivery);
        QFETCH(bool, save);
        VirtualBoard board;
        MorvexWindow w;
        // A byte of the upload is corrupted on the line, so its checksum fails.
        QVERIFY(connectTo(board, w, {"--delivery", delivery, "--corrupt-rx", "_upload:20"}, {{"conf.txt", "speed = 1\n"}}));
        QTemporaryDir saveDir;
        w.setPcFolder(saveDir.path());
        QPointer<CodeEditor> editor = openOne(w, QStringLiteral("conf.txt"));
        QVERIFY(editor);
        append(editor, QStringLiteral("speed = 2\n"));

        QString proposal;
        DialogAnswerer files([&](QWidget *widget) {
            auto *dialog = qobject_cast<QFileDialog *>(widget);
            if (dialog) {
                proposal = dialog->selectedFiles().value(0);
                QMetaObject::invokeMethod(dialog, "accept", Qt::DirectConnection);
            }
            return dialog != nullptr;
        });
        QScopedPointer<DialogAnswerer> boxes(DialogAnswerer::messageBox(save ? QMessageBox::Yes : QMessageBox::No));
        press(editor, "applyButton");
        QCOMPARE(boxes->titles().value(boxes->texts().indexOf(cannotUpload)), QStringLiteral("Edit"));
        QVERIFY(syslogMessages(w).filter(QStringLiteral("Finished uploading")).isEmpty());
        const QString localCopy = saveDir.filePath(QStringLiteral("conf.txt"));
        QCOMPARE(proposal, save ? localCopy : QString());
        QCOMPARE(readLocalFile(localCopy), save ? QByteArray("speed = 1\nspeed = 2\n") : QByteArray());
        QVERIFY(waitDeleted(editor));
    }

    void linkClosesWhileOpen_data()
    {
        QTest::addColumn<QString>("delivery");
        QTest::addColumn<bool>("reconnect");
        QTest::newRow("uart") << "uart" << false;
        QTest::newRow("usb: link back before the upload") << "usb" << true;
    }

    void linkClosesWhileOpen()
    {
        QFETCH(QString, delivery);
        QFETCH(bool, reconnect);
        VirtualBoard board;
        MorvexWindow w;
        QVERIFY(connectTo(board, w, {"--delivery", delivery}, {{"main.py", pythonFile}, {"b.txt", "beta\n"}}));
        QPointer<CodeEditor> editor = openOne(w, QStringLiteral("main.py"));
        QVERIFY(editor);

        windowAction(w, "actionConnect")->trigger(); // disconnects
        QVERIFY(!MorvexWindowProbe::port(w).isOpen());
        QVERIFY(editor && editor->isVisible()); // a lost link leaves the editor open, and frees the edit
        QPointer<CodeEditor> current;
        if (reconnect) {
            QVERIFY(connectBoard(w, board, 0));
            QVERIFY(doubleClickRow(w, QStringLiteral("b.txt")));
            QCOMPARE(shownEditors(w).size(), 2);
            current = shownEditors(w).at(shownEditors(w).at(0) == editor ? 1 : 0);
        }
        append(editor, QStringLiteral("# offline\n"));
        QVERIFY(downloadEnded(board));
        const int before = board.received().size();
        const int logged = syslogMessages(w).size();
        {
            QScopedPointer<DialogAnswerer> boxes(DialogAnswerer::messageBox(QMessageBox::No));
            press(editor, "applyButton");
            QCOMPARE(boxes->texts(), QStringList{cannotUpload});
        }
        QVERIFY(waitDeleted(editor));
        QCOMPARE(board.received().size(), before);
        QCOMPARE(board.readFile(QStringLiteral("main.py")), pythonFile);
        QCOMPARE(syslogMessages(w).size(), logged);
        if (!reconnect)
            return;
        // The later edit holds the edit until it ends.
        {
            QScopedPointer<DialogAnswerer> boxes(DialogAnswerer::messageBox(QMessageBox::Ok));
            QVERIFY(doubleClickRow(w, QStringLiteral("main.py")));
            QCOMPARE(boxes->texts(), QStringList{alreadyEdited});
        }
        append(current, QStringLiteral("current\n"));
        press(current, "applyButton");
        QCOMPARE(board.readFile(QStringLiteral("b.txt")), QByteArray("beta\ncurrent\n"));
    }

    void downloadFails_data()
    {
        QTest::addColumn<QByteArray>("script"); // replaces the download script; null: a missing one
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("logged");
        const QByteArray hollow = "import sys\ndef _download(filename):\n    sys.stdout.write('>')\n    sys.stdout.write('0#7>')\n";
        QTest::newRow("script missing") << QByteArray() << QByteArray("x = 1\n") << "";
        QTest::newRow("empty copy of a file with content") << hollow << QByteArray("x = 1\n")
            << "Nothing of /flash/main.py was downloaded although the file is not empty; it is not opened for editing";
        QTest::newRow("empty copy of an empty file") << hollow << QByteArray() << "";
    }

    void downloadFails()
    {
        QFETCH(QByteArray, script);
        QFETCH(QByteArray, content);
        QFETCH(QString, logged);
        const QString path = local.filePath(QString::fromLatin1(QTest::currentDataTag()));
        QVERIFY(script.isNull() || writeLocalFile(path, script));
        VirtualBoard board;
        MorvexWindow w;
        QVERIFY(connectTo(board, w, {}, {{"main.py", content}}));
        QSettings().setValue(QStringLiteral("Scripts/Download"), path);
        QVERIFY(doubleClickRow(w, QStringLiteral("main.py")));
        QCOMPARE(syslogMessages(w).filter(QStringLiteral("Nothing of")), logged.isEmpty() ? QStringList() : QStringList{logged});
        QCOMPARE(shownEditors(w).size(), !script.isNull() && content.isEmpty() ? 1 : 0);
        QCOMPARE(board.readFile(QStringLiteral("main.py")), content);
        if (!script.isNull())
            return;
        // The file counts as edited until the link closes; the board actions are off, so New File is called as its slot.
        QSettings().remove(QStringLiteral("Scripts/Download"));
        {
            QScopedPointer<DialogAnswerer> boxes(DialogAnswerer::messageBox(QMessageBox::Ok));
            QVERIFY(doubleClickRow(w, QStringLiteral("main.py")));
            QMetaObject::invokeMethod(&w, "on_actionNew_File_triggered");
            QCOMPARE(boxes->texts(), (QStringList{alreadyEdited, alreadyEdited}));
        }
        QVERIFY(shownEditors(w).isEmpty());
        windowAction(w, "actionConnect")->trigger();
        QVERIFY(connectBoard(w, board, 0));
        QPointer<CodeEditor> editor = openOne(w, QStringLiteral("main.py"));
        QVERIFY(editor);
        QCOMPARE(textOf(editor)->toPlainText(), QString::fromUtf8(content));
    }

private:
    struct Session {
        VirtualBoard board;
        std::unique_ptr<MorvexWindow> window;
    };
    // One usb board with main.py, a.txt and lib/, for rows that leave no edit open.
    Session *sharedSession();

    SettingsSandbox sandbox;
    QTemporaryDir local;
    std::unique_ptr<Session> shared;
};

tst_Editing::Session *tst_Editing::sharedSession()
{
    if (shared && MorvexWindowProbe::port(*shared->window).isOpen())
        return shared.get();
    shared.reset(new Session);
    shared->window.reset(new MorvexWindow);
    shared->window->show();
    if (!QTest::qWaitForWindowExposed(shared->window.get())
        || !connectTo(shared->board, *shared->window, {}, {{"main.py", pythonFile}, {"a.txt", "alpha\n"}, {"lib/util.py", "pass\n"}}))
        return nullptr;
    return shared.get();
}

QTEST_MAIN(tst_Editing)
#include "tst_editing.moc"
