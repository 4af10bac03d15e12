// Editing board files through the real window and the virtual board: open, save back, new files.
#include "codeeditor.h"
#include "morvexwindowprobe.h"
#include "qcodeeditor.h"
#include "testsupport.h"
#include "virtualboard.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QFile>
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

// A python file of some length, so that the download takes several blocks.
QByteArray pythonFile()
{
    QByteArray text;
    for (int i = 0; i < 24; ++i)
        text += "def step_" + QByteArray::number(i) + "(x):\n    return x * " + QByteArray::number(i) + "\n";
    return text;
}

QList<CodeEditor *> shownEditors(MorvexWindow &w)
{
    QList<CodeEditor *> shown;
    const auto editors = w.findChildren<CodeEditor *>();
    for (CodeEditor *editor : editors) {
        if (editor->isVisible())
            shown << editor;
    }
    return shown;
}

QCodeEditor *textOf(CodeEditor *editor)
{
    return editor->findChild<QCodeEditor *>(QStringLiteral("editor"));
}

void append(CodeEditor *editor, const QString &text)
{
    textOf(editor)->moveCursor(QTextCursor::End);
    textOf(editor)->insertPlainText(text);
}

void press(CodeEditor *editor, const char *name)
{
    editor->findChild<QPushButton *>(QLatin1String(name))->click();
}

using Files = QMap<QString, QByteArray>;

// Starts the board with these options and files and connects the window to it.
bool connectTo(VirtualBoard &board, MorvexWindow &w, const QStringList &args, const Files &files)
{
    if (!board.start(args))
        return false;
    for (auto it = files.cbegin(); it != files.cend(); ++it) {
        if (!board.writeFile(it.key(), it.value()))
            return false;
    }
    return connectBoard(w, board, 0);
}

QStringList delivered(const QString &delivery)
{
    return {QStringLiteral("--delivery"), delivery};
}

// Makes the row current and double clicks it, as a user opens a file; false without such a row.
bool doubleClickRow(MorvexWindow &w, const QString &name)
{
    const QModelIndex row = boardRow(w, name);
    if (!row.isValid())
        return false;
    auto *view = w.findChild<QTableView *>(QStringLiteral("mcFileList"));
    view->setCurrentIndex(row);
    QMetaObject::invokeMethod(view, "doubleClicked", Q_ARG(QModelIndex, row));
    return true;
}

// The board has taken in the 0x01 that ends every download; what it received is complete.
bool downloadEnded(const VirtualBoard &board)
{
    return waitFor([&] { return board.received().endsWith("\x01"); }, 5000);
}

bool waitDeleted(const QPointer<CodeEditor> &editor)
{
    return waitFor([&] { return editor.isNull(); }, 5000);
}
} // namespace

class tst_Editing : public QObject
{
    Q_OBJECT

private slots:
    void init() { sandbox.clear(); }
    void cleanupTestCase() { shared.reset(); }
    void opensFrom_data();
    void opensFrom();
    void editAndUpload_data();
    void editAndUpload();
    void oneEditAtATime_data();
    void oneEditAtATime();
    void failedUpload_data();
    void failedUpload();
    void newFile_data();
    void newFile();
    void newFileRefused_data();
    void newFileRefused();
    void linkClosesWhileOpen_data();
    void linkClosesWhileOpen();
    void closeQuestion_data();
    void closeQuestion();
    void failedDownload();
    void emptyCopyRefused_data();
    void emptyCopyRefused();

private:
    struct Session {
        VirtualBoard board;
        std::unique_ptr<MorvexWindow> window;
    };
    // One usb board with main.py, a.txt and lib/ for the tests that leave it as they found it.
    Session *sharedSession();
    // Adds the "delivery" column, first, and a row set for each delivery of the board's output.
    static void deliveryRows(const std::function<void()> &columns, const std::function<void(const QString &)> &rows);

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
        || !connectTo(shared->board, *shared->window, {},
                      {{"main.py", pythonFile()}, {"a.txt", "alpha\n"}, {"lib/util.py", "pass\n"}}))
        return nullptr;
    return shared.get();
}

void tst_Editing::deliveryRows(const std::function<void()> &columns, const std::function<void(const QString &)> &rows)
{
    QTest::addColumn<QString>("delivery");
    columns();
    for (const char *delivery : {"usb", "uart"})
        rows(QLatin1String(delivery));
}

void tst_Editing::opensFrom_data()
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

void tst_Editing::opensFrom()
{
    QFETCH(QString, way);
    QFETCH(QString, row);
    QFETCH(bool, opens);
    Session *s = sharedSession();
    QVERIFY(s);
    MorvexWindow &w = *s->window;
    auto *view = w.findChild<QTableView *>(QStringLiteral("mcFileList"));
    const QModelIndex index = row.isEmpty() ? QModelIndex() : boardRow(w, row);
    QVERIFY(row.isEmpty() || index.isValid());
    view->setCurrentIndex(index);
    if (way == QLatin1String("double click edit"))
        QSettings().setValue(QStringLiteral("MC/ClickAction"), QStringLiteral("edit"));

    QScopedPointer<DialogAnswerer> boxes(DialogAnswerer::messageBox(QMessageBox::Ok));
    if (way.startsWith(QLatin1String("double click"))) {
        QMetaObject::invokeMethod(view, "doubleClicked", Q_ARG(QModelIndex, index));
    } else if (way == QLatin1String("menu")) {
        DialogAnswerer menuAnswer([](QWidget *widget) {
            auto *menu = qobject_cast<QMenu *>(widget);
            if (!menu)
                return false;
            menu->setActiveAction(menu->actions().value(0)); // "Edit"
            QTest::keyClick(menu, Qt::Key_Return);
            return true;
        });
        QMetaObject::invokeMethod(view, "customContextMenuRequested",
                                  Q_ARG(QPoint, view->visualRect(index).center()));
        QCOMPARE(menuAnswer.answered(), 1);
    } else {
        windowAction(w, "actionEdit")->trigger();
    }

    const QList<CodeEditor *> editors = shownEditors(w);
    if (!opens) {
        QVERIFY(editors.isEmpty());
        QCOMPARE(boxes->texts(), QStringList{QStringLiteral("Select a MC file to edit")});
        QCOMPARE(boxes->titles(), QStringList{QStringLiteral("Edit")});
        return;
    }
    QCOMPARE(boxes->texts(), QStringList());
    QCOMPARE(editors.size(), 1);
    QCOMPARE(editors.constFirst()->windowTitle(), row);
    QCOMPARE(textOf(editors.constFirst())->toPlainText(), QString::fromUtf8(s->board.readFile(row)));
    QPointer<CodeEditor> editor = editors.constFirst();
    press(editor, "closeButton");
    QVERIFY(waitDeleted(editor));
    QVERIFY(downloadEnded(s->board)); // later rows count what the board receives
}

void tst_Editing::editAndUpload_data()
{
    QTest::addColumn<QString>("delivery");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("shown");
    QTest::addColumn<QString>("added");
    QTest::addColumn<QByteArray>("stored");

    // An empty file, and the upload in the other modes, are run by the download and delivery suites.
    const QByteArray python = pythonFile();
    for (const char *delivery : {"usb", "uart"})
        QTest::addRow("%s: python file", delivery) << delivery << "main.py" << python << QString::fromUtf8(python)
                                                   << "print('edited')\n" << python + "print('edited')\n";
    QTest::newRow("usb: json shown indented, stored compact")
        << "usb" << "conf.json" << QByteArray("{\"b\": 1, \"a\": [true]}")
        << "{\n    \"a\": [\n        true\n    ],\n    \"b\": 1\n}\n" << "" << QByteArray("{\"a\":[true],\"b\":1}");
}

void tst_Editing::editAndUpload()
{
    QFETCH(QString, delivery);
    QFETCH(QString, name);
    QFETCH(QByteArray, content);
    QFETCH(QString, shown);
    QFETCH(QString, added);
    QFETCH(QByteArray, stored);

    VirtualBoard board;
    MorvexWindow w;
    QVERIFY(connectTo(board, w, delivered(delivery), {{name, content}, {"other.txt", "other"}}));

    QVERIFY(doubleClickRow(w, name));
    const QList<CodeEditor *> editors = shownEditors(w);
    QVERIFY2(editors.size() == 1, qPrintable(syslogMessages(w).join('\n')));
    QPointer<CodeEditor> editor = editors.constFirst();
    // The editor holds the board's file, never an empty or partial copy.
    QCOMPARE(textOf(editor)->toPlainText(), shown);
    QCOMPARE(editor->windowModality(), Qt::NonModal);
    QVERIFY(!QApplication::activeModalWidget());

    // The link goes on working behind the open editor.
    const int before = board.received().size();
    w.changeBoardDir(QStringLiteral("/flash"));
    QVERIFY(board.received().mid(before).contains("os.chdir('/flash')"));
    QVERIFY(boardRow(w, QStringLiteral("other.txt")).isValid());

    append(editor, added);
    const int beforeUpload = board.received().size();
    press(editor, "applyButton");
    QCOMPARE(board.readFile(name), stored);
    QVERIFY(syslogMessages(w).contains(QStringLiteral("Finished uploading to /flash/%1").arg(name)));
    // The pane is listed again after the upload.
    QVERIFY(board.received().mid(beforeUpload).contains("os.chdir('/flash')"));
    QVERIFY(waitDeleted(editor));

    // The edit is over: the file opens again.
    QVERIFY(doubleClickRow(w, name));
    QCOMPARE(shownEditors(w).size(), 1);
    press(shownEditors(w).constFirst(), "closeButton");
}

void tst_Editing::oneEditAtATime_data()
{
    deliveryRows([] {}, [](const QString &delivery) { QTest::newRow(qPrintable(delivery)) << delivery; });
}

void tst_Editing::oneEditAtATime()
{
    QFETCH(QString, delivery);
    VirtualBoard board;
    MorvexWindow w;
    QVERIFY(connectTo(board, w, delivered(delivery), {{"a.txt", "alpha\n"}, {"b.txt", "beta\n"}}));
    QVERIFY(doubleClickRow(w, QStringLiteral("a.txt")));
    QCOMPARE(shownEditors(w).size(), 1);
    QPointer<CodeEditor> first = shownEditors(w).constFirst();
    append(first, QStringLiteral("changed\n"));

    QVERIFY(downloadEnded(board));
    const int before = board.received().size();
    {
        QScopedPointer<DialogAnswerer> boxes(DialogAnswerer::messageBox(QMessageBox::Ok));
        QVERIFY(doubleClickRow(w, QStringLiteral("b.txt")));
        windowAction(w, "actionNew_File")->trigger();
        QCOMPARE(boxes->texts(), (QStringList{alreadyEdited, alreadyEdited}));
        QCOMPARE(boxes->titles(), (QStringList{QStringLiteral("Edit"), QStringLiteral("New File")}));
    }
    QCOMPARE(shownEditors(w), QList<CodeEditor *>{first});
    QCOMPARE(board.received().size(), before);

    // Closing without saving sends nothing and frees the edit.
    press(first, "closeButton");
    QVERIFY(waitDeleted(first));
    QCOMPARE(board.received().size(), before);
    QCOMPARE(board.readFile(QStringLiteral("a.txt")), QByteArray("alpha\n"));
    QVERIFY(doubleClickRow(w, QStringLiteral("b.txt")));
    QCOMPARE(shownEditors(w).size(), 1);
    QCOMPARE(textOf(shownEditors(w).constFirst())->toPlainText(), QStringLiteral("beta\n"));
    press(shownEditors(w).constFirst(), "closeButton");
}

void tst_Editing::failedUpload_data()
{
    deliveryRows([] { QTest::addColumn<bool>("save"); }, [](const QString &delivery) {
        QTest::addRow("%s: saved locally", qPrintable(delivery)) << delivery << true;
        QTest::addRow("%s: not saved", qPrintable(delivery)) << delivery << false;
    });
}

void tst_Editing::failedUpload()
{
    QFETCH(QString, delivery);
    QFETCH(bool, save);
    VirtualBoard board;
    MorvexWindow w;
    // A byte of the upload is corrupted on the line, so its checksum fails.
    QVERIFY(connectTo(board, w, delivered(delivery) << QStringLiteral("--corrupt-rx") << QStringLiteral("_upload:20"),
                      {{"conf.txt", "speed = 1\n"}}));
    QTemporaryDir saveDir;
    w.setPcFolder(saveDir.path());
    QVERIFY(doubleClickRow(w, QStringLiteral("conf.txt")));
    QCOMPARE(shownEditors(w).size(), 1);
    QPointer<CodeEditor> editor = shownEditors(w).constFirst();
    append(editor, QStringLiteral("speed = 2\n"));

    const QString localCopy = saveDir.filePath(QStringLiteral("conf.txt"));
    QString proposal;
    DialogAnswerer files([&](QWidget *widget) {
        auto *dialog = qobject_cast<QFileDialog *>(widget);
        if (!dialog)
            return false;
        proposal = dialog->selectedFiles().value(0);
        QMetaObject::invokeMethod(dialog, "accept", Qt::DirectConnection);
        return true;
    });
    QScopedPointer<DialogAnswerer> boxes(DialogAnswerer::messageBox(save ? QMessageBox::Yes : QMessageBox::No));
    press(editor, "applyButton");
    QVERIFY(boxes->texts().contains(cannotUpload));
    QCOMPARE(boxes->titles().value(boxes->texts().indexOf(cannotUpload)), QStringLiteral("Edit"));
    QVERIFY(syslogMessages(w).filter(QStringLiteral("Finished uploading")).isEmpty());
    QCOMPARE(files.answered(), save ? 1 : 0);
    QCOMPARE(QFile::exists(localCopy), save);
    if (save) {
        QCOMPARE(proposal, localCopy);
        QCOMPARE(readLocalFile(localCopy), QByteArray("speed = 1\nspeed = 2\n"));
    }
    QVERIFY(waitDeleted(editor));
}

void tst_Editing::newFile_data()
{
    deliveryRows([] { QTest::addColumn<bool>("accept"); }, [](const QString &delivery) {
        QTest::addRow("%s: accepted", qPrintable(delivery)) << delivery << true;
        QTest::addRow("%s: rejected", qPrintable(delivery)) << delivery << false;
    });
}

void tst_Editing::newFile()
{
    QFETCH(QString, delivery);
    QFETCH(bool, accept);
    VirtualBoard board;
    MorvexWindow w;
    QVERIFY(connectTo(board, w, delivered(delivery), {{"keep.txt", "kept"}}));
    const QStringList filesBefore = QDir(board.fsPath()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);

    {
        QScopedPointer<DialogAnswerer> input(DialogAnswerer::inputText(QStringLiteral("fresh.py")));
        windowAction(w, "actionNew_File")->trigger();
        QCOMPARE(input->answered(), 1);
    }
    QCOMPARE(shownEditors(w).size(), 1);
    QPointer<CodeEditor> editor = shownEditors(w).constFirst();
    QCOMPARE(editor->windowModality(), Qt::ApplicationModal);
    QCOMPARE(editor->windowTitle(), QStringLiteral("fresh.py"));
    QCOMPARE(editor->fileType(), CodeEditor::Python);
    QCOMPARE(textOf(editor)->toPlainText(), QString());
    // Nothing reaches the board until the dialog is accepted.
    QVERIFY(!board.exists(QStringLiteral("fresh.py")));
    const int before = board.received().size();
    append(editor, QStringLiteral("x = 1\n"));
    press(editor, accept ? "applyButton" : "closeButton");
    QVERIFY(waitDeleted(editor));
    if (accept) {
        QCOMPARE(board.readFile(QStringLiteral("fresh.py")), QByteArray("x = 1\n"));
        QVERIFY(boardRow(w, QStringLiteral("fresh.py")).isValid());
    } else {
        QCOMPARE(board.received().size(), before);
        QCOMPARE(QDir(board.fsPath()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), filesBefore);
        QVERIFY(!boardRow(w, QStringLiteral("fresh.py")).isValid());
    }
}

void tst_Editing::newFileRefused_data()
{
    QTest::addColumn<QString>("name"); // null: the input is cancelled
    QTest::addColumn<QString>("warning");
    QTest::addColumn<bool>("opens");

    QTest::newRow("backslash") << "lib\\x.py" << "The file name is invalid" << false;
    QTest::newRow("slash") << "a/b.py" << "The file name is invalid" << false;
    QTest::newRow("existing file") << "a.txt" << "A file with the same name already exists" << false;
    QTest::newRow("name of a directory passes") << "lib" << "" << true;
    QTest::newRow("empty name") << "" << "" << false;
    QTest::newRow("cancelled") << QString() << "" << false;
}

void tst_Editing::newFileRefused()
{
    QFETCH(QString, name);
    QFETCH(QString, warning);
    QFETCH(bool, opens);
    Session *s = sharedSession();
    QVERIFY(s);
    MorvexWindow &w = *s->window;
    const int before = s->board.received().size();
    QScopedPointer<DialogAnswerer> boxes(DialogAnswerer::messageBox(QMessageBox::Ok));
    QScopedPointer<DialogAnswerer> input(DialogAnswerer::inputText(name.isNull() ? QString() : name));
    windowAction(w, "actionNew_File")->trigger();
    QCOMPARE(input->answered(), 1);
    QCOMPARE(boxes->texts(), warning.isEmpty() ? QStringList() : QStringList{warning});
    if (!warning.isEmpty())
        QCOMPARE(boxes->titles(), QStringList{QStringLiteral("New File")});
    QCOMPARE(s->board.received().size(), before);
    QCOMPARE(shownEditors(w).size(), opens ? 1 : 0);
    if (opens) {
        QPointer<CodeEditor> editor = shownEditors(w).constFirst();
        press(editor, "closeButton");
        QVERIFY(waitDeleted(editor));
    }
}

void tst_Editing::linkClosesWhileOpen_data()
{
    deliveryRows([] { QTest::addColumn<bool>("reconnect"); },
                  [](const QString &delivery) { QTest::newRow(qPrintable(delivery)) << delivery << false; });
    QTest::newRow("usb: link back before the upload") << "usb" << true;
}

void tst_Editing::linkClosesWhileOpen()
{
    QFETCH(QString, delivery);
    QFETCH(bool, reconnect);
    VirtualBoard board;
    MorvexWindow w;
    QVERIFY(connectTo(board, w, delivered(delivery), {{"main.py", pythonFile()}, {"b.txt", "beta\n"}}));
    QVERIFY(doubleClickRow(w, QStringLiteral("main.py")));
    QCOMPARE(shownEditors(w).size(), 1);
    QPointer<CodeEditor> editor = shownEditors(w).constFirst();

    windowAction(w, "actionConnect")->trigger(); // disconnects
    QVERIFY(!MorvexWindowProbe::port(w).isOpen());
    // A lost link does not close the editor, and it frees the edit for the next link.
    QVERIFY(editor && editor->isVisible());
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
    QCOMPARE(board.readFile(QStringLiteral("main.py")), pythonFile());
    QCOMPARE(syslogMessages(w).size(), logged);
    if (!reconnect)
        return;

    // The later edit goes on, and holds the edit until it ends.
    {
        QScopedPointer<DialogAnswerer> boxes(DialogAnswerer::messageBox(QMessageBox::Ok));
        QVERIFY(doubleClickRow(w, QStringLiteral("main.py")));
        QCOMPARE(boxes->texts(), QStringList{alreadyEdited});
    }
    append(current, QStringLiteral("current\n"));
    press(current, "applyButton");
    QCOMPARE(board.readFile(QStringLiteral("b.txt")), QByteArray("beta\ncurrent\n"));
}

void tst_Editing::closeQuestion_data()
{
    QTest::addColumn<bool>("editOpen");
    QTest::addColumn<int>("answer");
    QTest::addColumn<bool>("closes");

    QTest::newRow("edit open, stay") << true << int(QMessageBox::No) << false;
    QTest::newRow("edit open, quit") << true << int(QMessageBox::Yes) << true;
    QTest::newRow("edit closed: no question") << false << int(QMessageBox::No) << true;
}

void tst_Editing::closeQuestion()
{
    QFETCH(bool, editOpen);
    QFETCH(int, answer);
    QFETCH(bool, closes);
    VirtualBoard board;
    MorvexWindow w;
    w.show();
    QVERIFY(connectTo(board, w, {}, {{"a.txt", "alpha\n"}}));
    QVERIFY(doubleClickRow(w, QStringLiteral("a.txt")));
    QPointer<CodeEditor> editor = shownEditors(w).value(0);
    QVERIFY(editor);
    if (!editOpen) {
        press(editor, "closeButton");
        QVERIFY(waitDeleted(editor));
    }
    QScopedPointer<DialogAnswerer> boxes(DialogAnswerer::messageBox(QMessageBox::StandardButton(answer)));
    QCOMPARE(w.close(), closes);
    QCOMPARE(boxes->texts(),
             editOpen ? QStringList{QStringLiteral("An MC operation is in progress. Abort and quit?")} : QStringList());
    QCOMPARE(w.isVisible(), !closes);
    if (editOpen && !closes)
        QVERIFY(editor && editor->isVisible());
}

void tst_Editing::failedDownload()
{
    VirtualBoard board;
    MorvexWindow w;
    QVERIFY(connectTo(board, w, {}, {{"main.py", pythonFile()}}));
    QSettings().setValue(QStringLiteral("Scripts/Download"), local.filePath(QStringLiteral("missing.py")));
    QVERIFY(doubleClickRow(w, QStringLiteral("main.py")));
    QVERIFY(shownEditors(w).isEmpty());

    // The file counts as being edited until the link closes, whichever way the edit is asked
    // for. The failed download left the board actions off, so New File is called as its slot.
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
    QVERIFY(doubleClickRow(w, QStringLiteral("main.py")));
    QCOMPARE(shownEditors(w).size(), 1);
    QCOMPARE(textOf(shownEditors(w).constFirst())->toPlainText(), QString::fromUtf8(pythonFile()));
    press(shownEditors(w).constFirst(), "closeButton");
}

void tst_Editing::emptyCopyRefused_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<bool>("opens");

    QTest::newRow("file with content") << QByteArray("x = 1\n") << false;
    QTest::newRow("empty file") << QByteArray() << true;
}

void tst_Editing::emptyCopyRefused()
{
    QFETCH(QByteArray, content);
    QFETCH(bool, opens);
    // A download script that reports a complete, empty file whatever the board holds.
    const QString script = local.filePath(QStringLiteral("hollow_download.py"));
    QVERIFY(writeLocalFile(script, "import sys\n"
                                   "def _download(filename):\n"
                                   "    sys.stdout.write('>')\n"
                                   "    sys.stdout.write('0#7>')\n"));
    VirtualBoard board;
    MorvexWindow w;
    QVERIFY(connectTo(board, w, {}, {{"main.py", content}}));
    QSettings().setValue(QStringLiteral("Scripts/Download"), script);
    QVERIFY(doubleClickRow(w, QStringLiteral("main.py")));
    QVERIFY(syslogMessages(w).contains(QStringLiteral("Download from /flash/main.py completed")));
    QCOMPARE(shownEditors(w).size(), opens ? 1 : 0);
    const QString refusal = QStringLiteral(
        "Nothing of /flash/main.py was downloaded although the file is not empty; it is not opened for editing");
    QCOMPARE(syslogMessages(w).contains(refusal), !opens);
    if (opens)
        press(shownEditors(w).constFirst(), "closeButton");
    QCOMPARE(board.readFile(QStringLiteral("main.py")), content);
}

QTEST_MAIN(tst_Editing)
#include "tst_editing.moc"
