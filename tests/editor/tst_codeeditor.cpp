// The editor dialog on its own: form, settings, type detection and the bytes it hands back.
#include "codeeditor.h"
#include "qcodeeditor.h"
#include "qpythoncompleter.h"
#include "qstylesyntaxhighlighter.h"
#include "testsupport.h"

#include <QFile>
#include <QFileDialog>
#include <QLineEdit>
#include <QPushButton>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

namespace {
QCodeEditor *textOf(CodeEditor &dialog)
{
    return dialog.findChild<QCodeEditor *>(QStringLiteral("editor"));
}

QPushButton *button(CodeEditor &dialog, const char *name)
{
    return dialog.findChild<QPushButton *>(QLatin1String(name));
}

QByteArray counting(int size)
{
    QByteArray data(size, '\0');
    for (int i = 0; i < size; ++i)
        data[i] = char(0x80 + i % 0x40); // continuation bytes only: binary at once
    return data;
}
} // namespace

class tst_CodeEditor : public QObject
{
    Q_OBJECT

private slots:
    void init() { sandbox.clear(); }
    void form();
    void settings_data();
    void settings();
    void isBinary_data();
    void isBinary();
    void hexPreview_data();
    void hexPreview();
    void content_data();
    void content();
    void binaryIsReadOnly_data();
    void binaryIsReadOnly();
    void localFiles();
    void saveAs_data();
    void saveAs();

private:
    SettingsSandbox sandbox;
};

void tst_CodeEditor::form()
{
    CodeEditor dialog(nullptr, Qt::Dialog);
    QCOMPARE(dialog.objectName(), QStringLiteral("CodeEditor"));
    QCOMPARE(dialog.size(), QSize(792, 617));
    QCOMPARE(dialog.windowTitle(), QStringLiteral("Dialog"));
    QVERIFY(textOf(dialog));
    const QStringList texts{"Save As", "Close without Saving", "Save && Upload"};
    const QStringList icons{"save", "cancel", "done_outline"};
    const char *names[] = {"saveButton", "closeButton", "applyButton"};
    for (int i = 0; i < 3; ++i) {
        QPushButton *b = button(dialog, names[i]);
        QVERIFY2(b, names[i]);
        QCOMPARE(b->text(), texts.at(i));
        QVERIFY2(showsIcon(b->icon(), icons.at(i)), names[i]);
    }
    QVERIFY(button(dialog, "applyButton")->isDefault());
    QCOMPARE(dialog.fileType(), CodeEditor::Other);

    // Close without Saving rejects; the dialog only hides, it never deletes itself.
    QSignalSpy rejected(&dialog, &QDialog::rejected);
    dialog.show();
    button(dialog, "closeButton")->click();
    QCOMPARE(rejected.count(), 1);
    QVERIFY(!dialog.isVisible());
    QVERIFY(!dialog.testAttribute(Qt::WA_DeleteOnClose));
}

void tst_CodeEditor::settings_data()
{
    QTest::addColumn<QVariantMap>("stored");
    QTest::addColumn<bool>("autoPairs");
    QTest::addColumn<bool>("spacesForTab");
    QTest::addColumn<int>("tabSize");
    QTest::addColumn<bool>("autoIndent");
    QTest::addColumn<bool>("wrap");
    QTest::addColumn<bool>("showSpaces");

    // Without keys: brackets are not closed and indentation is on, unlike the preferences' defaults.
    QTest::newRow("fresh store") << QVariantMap() << false << true << 4 << true << false << false;
    QTest::newRow("every key set") << QVariantMap{{"Code/Parenth", true}, {"Code/Tabs", false},
                                                  {"Code/TabSize", 2},    {"Code/Indent", false},
                                                  {"Code/Wrap", true},    {"Code/ShowSpaces", true}}
                                   << true << false << 2 << false << true << true;
    QTest::newRow("other group is not read") << QVariantMap{{"Editor/Parenth", true}, {"Editor/TabSize", 8}}
                                             << false << true << 4 << true << false << false;
}

void tst_CodeEditor::settings()
{
    QFETCH(QVariantMap, stored);
    QFETCH(bool, autoPairs);
    QFETCH(bool, spacesForTab);
    QFETCH(int, tabSize);
    QFETCH(bool, autoIndent);
    QFETCH(bool, wrap);
    QFETCH(bool, showSpaces);

    QSettings settings;
    for (auto it = stored.cbegin(); it != stored.cend(); ++it)
        settings.setValue(it.key(), it.value());
    CodeEditor dialog;
    dialog.applySettings(QStringLiteral("Code"));
    QCodeEditor *editor = textOf(dialog);
    QCOMPARE(editor->autoPairs(), autoPairs);
    QCOMPARE(editor->spacesForTab(), spacesForTab);
    QCOMPARE(editor->tabReplacementSize(), tabSize);
    QCOMPARE(editor->autoIndent(), autoIndent);
    QCOMPARE(editor->wordWrapMode(), wrap ? QTextOption::WordWrap : QTextOption::NoWrap);
    QCOMPARE(editor->showSpaces(), showSpaces);
}

void tst_CodeEditor::isBinary_data()
{
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<bool>("binary");

    QTest::newRow("empty") << QByteArray() << false;
    QTest::newRow("two-byte sequence") << QByteArray("caf\xC3\xA9") << false;
    QTest::newRow("four-byte sequence") << QByteArray("\xF0\x9F\x98\x80!") << false;
    QTest::newRow("skipped bytes are not looked at") << QByteArray("\xC3\xFF" "a") << false;
    QTest::newRow("sequence cut off by the end") << QByteArray("ab\xF0\x9F") << false;
    QTest::newRow("stray continuation after text") << QByteArray("ab\xBF") << true;
    QTest::newRow("stray byte behind a skipped sequence") << QByteArray("\xE9" "ab\x80") << true;
    QTest::newRow("0xF8 lead") << QByteArray("\xF8\x88\x80\x80\x80") << true;
    QTest::newRow("0xFF") << QByteArray("a\xFF") << true;
}

void tst_CodeEditor::isBinary()
{
    QFETCH(QByteArray, data);
    QFETCH(bool, binary);
    QCOMPARE(CodeEditor::isBinary(data), binary);
}

void tst_CodeEditor::hexPreview_data()
{
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<int>("lines");
    QTest::addColumn<QString>("first");
    QTest::addColumn<QString>("last");

    QByteArray ordered(513, '\0');
    for (int i = 0; i < ordered.size(); ++i)
        ordered[i] = char(i);
    const QString firstLine = QStringLiteral("0000: 00 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F");
    QTest::newRow("empty") << QByteArray() << 1 << "" << "";
    QTest::newRow("one byte") << QByteArray("\xAB") << 1 << "0000: AB" << "0000: AB";
    QTest::newRow("sixteen bytes") << ordered.left(16) << 1 << firstLine << firstLine;
    QTest::newRow("seventeen bytes") << ordered.left(17) << 2 << firstLine << "0010: 10";
    QTest::newRow("512 bytes") << ordered.left(512) << 32 << firstLine
                               << "01F0: F0 F1 F2 F3 F4 F5 F6 F7 F8 F9 FA FB FC FD FE FF";
    QTest::newRow("513 bytes") << ordered << 33 << firstLine << "0200: <...>";
}

void tst_CodeEditor::hexPreview()
{
    QFETCH(QByteArray, data);
    QFETCH(int, lines);
    QFETCH(QString, first);
    QFETCH(QString, last);
    const QStringList text = CodeEditor::hexPreview(data).split(QLatin1Char('\n'));
    QCOMPARE(text.size(), lines);
    QCOMPARE(text.constFirst(), first);
    QCOMPARE(text.constLast(), last);
}

void tst_CodeEditor::content_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<CodeEditor::Type>("type");
    QTest::addColumn<QString>("highlighter"); // class name, empty for none
    QTest::addColumn<QString>("shown");
    QTest::addColumn<QByteArray>("stored");
    QTest::addColumn<bool>("jsonQuestion");

    const QString py = QStringLiteral("QPythonHighlighter");
    const QString cxx = QStringLiteral("QCXXHighlighter");
    const QString xml = QStringLiteral("QXMLHighlighter");
    const QString json = QStringLiteral("QJSONHighlighter");
    auto row = [](const char *title, const char *name, const QByteArray &data, CodeEditor::Type type,
                  const QString &highlighter, const QString &shown, const QByteArray &stored, bool question) {
        QTest::newRow(title) << QString::fromUtf8(name) << data << type << highlighter << shown << stored << question;
    };
    row("empty, no known ending", "notes", "", CodeEditor::Other, "", "", "", false);
    row("empty python", "boot.py", "", CodeEditor::Python, py, "", "", false);
    row("MAIN.PY", "MAIN.PY", "print(1)\n", CodeEditor::Python, py, "print(1)\n", "print(1)\n", false);
    row("C++ source, upper case", "drv.CPP", "int x;", CodeEditor::CXX_Source, cxx, "int x;", "int x;", false);
    row("cxx", "a.cxx", "", CodeEditor::CXX_Source, cxx, "", "", false);
    row("header", "a.h", "", CodeEditor::CXX_Header, cxx, "", "", false);
    row("hpp", "b.Hpp", "", CodeEditor::CXX_Header, cxx, "", "", false);
    row("xml by name", "conf.xml", "<a/>", CodeEditor::XML, xml, "<a/>", "<a/>", false);
    row("xml declaration after blanks, upper case", "page.txt", " \n\t<?XML version=\"1.0\"?>",
        CodeEditor::XML, xml, " \n\t<?XML version=\"1.0\"?>", " \n\t<?XML version=\"1.0\"?>", false);
    row("xml declaration, mixed case, blank before xml", "x", "<? XmL ?>", CodeEditor::XML, xml, "<? XmL ?>",
        "<? XmL ?>", false);
    row("xml declaration behind text", "x", "a<?xml?>", CodeEditor::Other, "", "a<?xml?>", "a<?xml?>", false);
    row("html", "index.HTML", "<p>", CodeEditor::HTML, xml, "<p>", "<p>", false);
    row("xml declaration before html ending", "index.html", "<?xml?>", CodeEditor::XML, xml, "<?xml?>",
        "<?xml?>", false);
    row("python name before json content", "cfg.py", "{\"a\":1}", CodeEditor::Python, py, "{\"a\":1}",
        "{\"a\":1}", false);
    row("data.bin holding json", "data.bin", "{\"a\":1}", CodeEditor::JSON, json, "{\n    \"a\": 1\n}\n",
        "{\"a\":1}", false);
    row("json shown indented, stored compact", "cfg.json", "{ \"b\": [1, 2],\n \"a\": true }", CodeEditor::JSON,
        json, "{\n    \"a\": true,\n    \"b\": [\n        1,\n        2\n    ]\n}\n", "{\"a\":true,\"b\":[1,2]}",
        false);
    row("config.json with a syntax error", "config.json", "{\"a\":1,}", CodeEditor::Other, "", "{\"a\":1,}",
        "{\"a\":1,}", false);
    row(".jsonrc with a syntax error", ".jsonrc", "{\"a\":}", CodeEditor::JSON, json, "{\"a\":}", "{\"a\":}", true);
    row(".JSON start, valid", ".JSON.txt", "[1]", CodeEditor::JSON, json, "[\n    1\n]\n", "[1]", false);
    row("latin-1 bytes pass the scan", "latin.txt", "\xE9" "ab", CodeEditor::Other, "",
        QString::fromUtf8("\xE9" "ab"), QString::fromUtf8("\xE9" "ab").toUtf8(), false);
    row("ascii with a NUL is cut there", "nul.txt", QByteArray("abc\0def", 7), CodeEditor::Other, "", "abc", "abc",
        false);
}

void tst_CodeEditor::content()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, data);
    QFETCH(CodeEditor::Type, type);
    QFETCH(QString, highlighter);
    QFETCH(QString, shown);
    QFETCH(QByteArray, stored);
    QFETCH(bool, jsonQuestion);

    CodeEditor dialog;
    QVERIFY(dialog.setContent(name, data));
    QCOMPARE(dialog.windowTitle(), name);
    QCOMPARE(dialog.fileType(), type);
    QCodeEditor *editor = textOf(dialog);
    QCOMPARE(editor->toPlainText(), shown);
    QVERIFY(button(dialog, "saveButton")->isEnabled() && button(dialog, "applyButton")->isEnabled());

    const auto highlighters = dialog.findChildren<QStyleSyntaxHighlighter *>();
    if (highlighter.isEmpty()) {
        QVERIFY(highlighters.isEmpty());
    } else {
        QCOMPARE(highlighters.size(), 1);
        QCOMPARE(QString::fromLatin1(highlighters.constFirst()->metaObject()->className()), highlighter);
        QCOMPARE(highlighters.constFirst()->document(), editor->document());
    }
    QCOMPARE(qobject_cast<QPythonCompleter *>(editor->completer()) != nullptr, type == CodeEditor::Python);

    // "Save && Upload": a JSON type that no longer parses asks first; No keeps the dialog open.
    QSignalSpy accepted(&dialog, &QDialog::accepted);
    dialog.show();
    {
        QScopedPointer<DialogAnswerer> no(DialogAnswerer::messageBox(QMessageBox::No));
        button(dialog, "applyButton")->click();
        QCOMPARE(no->answered(), jsonQuestion ? 1 : 0);
        if (jsonQuestion) {
            QVERIFY(no->texts().value(0).startsWith(
                QStringLiteral("The edited data is not a valid JSON document. Proceed?<br>Error: ")));
            QCOMPARE(accepted.count(), 0);
            QVERIFY(dialog.isVisible());
        }
    }
    if (jsonQuestion) {
        QScopedPointer<DialogAnswerer> yes(DialogAnswerer::messageBox(QMessageBox::Yes));
        button(dialog, "applyButton")->click();
        QCOMPARE(yes->answered(), 1);
    }
    QCOMPARE(accepted.count(), 1);
    QCOMPARE(dialog.editedData(), stored);
}

void tst_CodeEditor::binaryIsReadOnly_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<bool>("withParent");

    QTest::newRow("lone 0x80") << "x.py" << QByteArray("\x80") << true;
    QTest::newRow("512-byte binary json name") << "a.json" << counting(512) << false;
    QTest::newRow("513-byte binary") << "fw.bin" << counting(513) << true;
}

void tst_CodeEditor::binaryIsReadOnly()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, data);
    QFETCH(bool, withParent);

    QWidget parent;
    CodeEditor dialog(withParent ? &parent : nullptr, Qt::Dialog);
    QWidget *boxParent = nullptr;
    QString title;
    DialogAnswerer answerer([&](QWidget *widget) {
        auto *box = qobject_cast<QMessageBox *>(widget);
        if (!box)
            return false;
        boxParent = box->parentWidget();
        title = box->windowTitle();
        box->accept();
        return true;
    });
    QVERIFY(dialog.setContent(name, data));
    QCOMPARE(answerer.texts(), QStringList{"Looks like this is a binary file. Switching to read-only mode."});
    QCOMPARE(title, QStringLiteral("Code Editor"));
    QCOMPARE(boxParent, withParent ? &parent : static_cast<QWidget *>(&dialog));
    QCOMPARE(textOf(dialog)->toPlainText(), CodeEditor::hexPreview(data));
    QVERIFY(!button(dialog, "saveButton")->isEnabled());
    QVERIFY(!button(dialog, "applyButton")->isEnabled());
    QVERIFY(button(dialog, "closeButton")->isEnabled());
    QVERIFY(!textOf(dialog)->isReadOnly());
    QCOMPARE(dialog.fileType(), CodeEditor::Other);
    QVERIFY(dialog.findChildren<QStyleSyntaxHighlighter *>().isEmpty());
    QCOMPARE(dialog.windowTitle(), name);
}

void tst_CodeEditor::localFiles()
{
    QTemporaryDir dir;
    const QString conf = dir.filePath(QStringLiteral("lib/Conf.PY"));
    CodeEditor dialog;
    QSignalSpy error(&dialog, &CodeEditor::error);
    QVERIFY(!dialog.loadFile(conf));
    QCOMPARE(dialog.windowTitle(), QStringLiteral("Dialog"));
    QCOMPARE(error.size(), 1);
    QVERIFY(error.takeFirst().at(0).toString().startsWith(QStringLiteral("Cannot read %1: ").arg(conf)));

    QVERIFY(writeLocalFile(conf, "x = 1\n"));
    QVERIFY(dialog.loadFile(conf));
    QCOMPARE(dialog.windowTitle(), QStringLiteral("Conf.PY"));
    QCOMPARE(dialog.fileType(), CodeEditor::Python);
    QCOMPARE(textOf(dialog)->toPlainText(), QStringLiteral("x = 1\n"));

    // Written as it would be uploaded: JSON compact.
    dialog.setContent(QStringLiteral("out.json"), "{ \"k\" : [ 1 ] }");
    QVERIFY(dialog.saveTo(dir.filePath(QStringLiteral("out.json"))));
    QCOMPARE(readLocalFile(dir.filePath(QStringLiteral("out.json"))), QByteArray("{\"k\":[1]}"));
    QCOMPARE(error.size(), 0);
    const QString nowhere = dir.filePath(QStringLiteral("nowhere/out.json"));
    QVERIFY(!dialog.saveTo(nowhere));
    QCOMPARE(error.size(), 1);
    const QString text = error.at(0).at(0).toString();
    QVERIFY2(text.startsWith(QStringLiteral("Cannot write to %1: ").arg(nowhere)) && !text.endsWith(QLatin1String(": ")),
             qPrintable(text));
}

void tst_CodeEditor::saveAs_data()
{
    QTest::addColumn<QString>("answer"); // relative to the folder; empty cancels
    QTest::addColumn<bool>("written");
    QTest::addColumn<bool>("warned");

    QTest::newRow("chosen path") << "copy.py" << true << false;
    QTest::newRow("cancelled") << "" << false << false;
    QTest::newRow("unwritable") << "missing/copy.py" << false << true;
}

void tst_CodeEditor::saveAs()
{
    QFETCH(QString, answer);
    QFETCH(bool, written);
    QFETCH(bool, warned);
    QTemporaryDir dir;
    CodeEditor dialog;
    dialog.rootPath = dir.path();
    dialog.setContent(QStringLiteral("main.py"), "print('x')\n");
    dialog.show();

    const QString path = answer.isEmpty() ? QString() : dir.filePath(answer);
    QString caption;
    QString proposal;
    DialogAnswerer files([&](QWidget *widget) {
        auto *fileDialog = qobject_cast<QFileDialog *>(widget);
        if (!fileDialog)
            return false;
        caption = fileDialog->windowTitle();
        proposal = fileDialog->selectedFiles().value(0);
        if (path.isEmpty()) {
            fileDialog->reject();
        } else {
            fileDialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"))->setText(path);
            QMetaObject::invokeMethod(fileDialog, "accept", Qt::DirectConnection);
        }
        return true;
    });
    QScopedPointer<DialogAnswerer> boxes(DialogAnswerer::messageBox(QMessageBox::Ok));
    QSignalSpy accepted(&dialog, &QDialog::accepted);
    button(dialog, "saveButton")->click();
    QCOMPARE(files.answered(), 1);
    QCOMPARE(caption, QStringLiteral("Save As"));
    QCOMPARE(proposal, dir.filePath(QStringLiteral("main.py")));
    QCOMPARE(QFile::exists(dir.filePath(answer)) && !answer.isEmpty(), written);
    if (written)
        QCOMPARE(readLocalFile(path), QByteArray("print('x')\n"));
    QCOMPARE(boxes->texts(), warned ? QStringList{QStringLiteral("File %1 cannot be written").arg(path)} : QStringList());
    // The dialog stays open whatever happened.
    QVERIFY(dialog.isVisible());
    QCOMPARE(accepted.count(), 0);
}

QTEST_MAIN(tst_CodeEditor)
#include "tst_codeeditor.moc"
