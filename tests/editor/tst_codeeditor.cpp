// The editor dialog on its own: form, settings, type detection and the bytes it hands back.
#include "codeeditor.h"
#include "qcodeeditor.h"
#include "qpythoncompleter.h"
#include "qstylesyntaxhighlighter.h"
#include "testsupport.h"

#include <QFileDialog>
#include <QLineEdit>
#include <QMetaEnum>
#include <QPushButton>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

static QCodeEditor *textOf(CodeEditor &dialog)
{
    return dialog.findChild<QCodeEditor *>(QStringLiteral("editor"));
}

static QPushButton *button(CodeEditor &dialog, const char *name)
{
    return dialog.findChild<QPushButton *>(QLatin1String(name));
}

class tst_CodeEditor : public QObject
{
    Q_OBJECT

private slots:
    void init() { sandbox.clear(); }

    void settings_data()
    {
        QTest::addColumn<QVariantMap>("stored");
        QTest::addColumn<QString>("expected"); // pairs, spaces for tab, tab size, indent, wrap, show spaces
        // Without keys: brackets are not closed and indentation is on, unlike the preferences' defaults.
        QTest::newRow("fresh store") << QVariantMap() << "0 1 4 1 0 0";
        QTest::newRow("every key set") << QVariantMap{{"Code/Parenth", true}, {"Code/Tabs", false},
                                                      {"Code/TabSize", 2},    {"Code/Indent", false},
                                                      {"Code/Wrap", true},    {"Code/ShowSpaces", true}}
                                       << "1 0 2 0 1 1";
    }

    void settings()
    {
        QFETCH(QVariantMap, stored);
        QFETCH(QString, expected);
        QSettings settings;
        for (auto it = stored.cbegin(); it != stored.cend(); ++it)
            settings.setValue(it.key(), it.value());
        CodeEditor dialog;
        dialog.applySettings(QStringLiteral("Code"));
        const QCodeEditor *e = textOf(dialog);
        QCOMPARE(QStringLiteral("%1 %2 %3 %4 %5 %6")
                     .arg(e->autoPairs()).arg(e->spacesForTab()).arg(e->tabReplacementSize()).arg(e->autoIndent())
                     .arg(e->wordWrapMode() == QTextOption::WordWrap)
                     .arg(bool(e->document()->defaultTextOption().flags() & QTextOption::ShowTabsAndSpaces)),
                 expected);
    }

    // Rows: bytes, whether they are binary, and the end of their hex preview.
    void scan_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<bool>("binary");
        QTest::addColumn<QString>("preview");
        QTest::newRow("empty") << QByteArray() << false << "";
        QTest::newRow("two-byte sequence") << QByteArray("caf\xC3\xA9") << false << "0000: 63 61 66 C3 A9";
        QTest::newRow("skipped bytes are not looked at") << QByteArray("\xC3\xFF" "a") << false << "C3 FF 61";
        QTest::newRow("sequence cut off by the end") << QByteArray("ab\xF0\x9F") << false << "F0 9F";
        QTest::newRow("stray continuation after text") << QByteArray("ab\xBF") << true << "BF";
        QTest::newRow("0xFF") << QByteArray("a\xFF") << true << "0000: 61 FF";
    }

    void scan()
    {
        QFETCH(QByteArray, data);
        QFETCH(bool, binary);
        QFETCH(QString, preview);
        QCOMPARE(CodeEditor::isBinary(data), binary);
        QCOMPARE(CodeEditor::hexPreview(data).right(preview.size()), preview);
    }

    // Rows: file name, bytes, type, text shown and bytes stored ("=" for the bytes
    // as they came), and whether Save && Upload asks about broken JSON.
    void content_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QString>("type");
        QTest::addColumn<QString>("shown");
        QTest::addColumn<QByteArray>("stored");
        QTest::addColumn<bool>("jsonQuestion");
        const auto row = [](const char *name, const QByteArray &data, const char *type, const char *shown = "=",
                            const char *stored = "=", bool question = false) {
            QTest::newRow(name) << QString::fromUtf8(name) << data << type << QString::fromUtf8(shown)
                                << QByteArray(stored) << question;
        };
        row("notes", "", "Other");
        row("MAIN.PY", "print(1)\n", "Python");
        row("drv.CPP", "int x;", "CXX_Source");
        row("a.h", "", "CXX_Header");
        row("conf.xml", "<a/>", "XML");
        row("page.txt", " \n\t<?XML version=\"1.0\"?>", "XML");
        row("index.HTML", "<p>", "HTML");
        row("cfg.py", "{\"a\":1}", "Python");
        row("data.bin", "{\"a\":1}", "JSON", "{\n    \"a\": 1\n}\n");
        row("config.json", "{\"a\":1,}", "Other");
        row(".jsonrc", "{\"a\":}", "JSON", "=", "=", true);
        row(".JSON.txt", "[1]", "JSON", "[\n    1\n]\n", "[1]");
        row("latin.txt", "\xE9" "ab", "Other", "\xE9" "ab", "\xEF\xBF\xBD" "ab");
        row("nul.txt", QByteArray("abc\0def", 7), "Other", "abc", "abc");
    }

    void content()
    {
        QFETCH(QString, name);
        QFETCH(QByteArray, data);
        QFETCH(QString, type);
        QFETCH(QString, shown);
        QFETCH(QByteArray, stored);
        QFETCH(bool, jsonQuestion);
        static const QHash<QString, QString> highlighterOf = {
            {"Python", "QPythonHighlighter"}, {"CXX_Source", "QCXXHighlighter"}, {"CXX_Header", "QCXXHighlighter"},
            {"XML", "QXMLHighlighter"},       {"HTML", "QXMLHighlighter"},       {"JSON", "QJSONHighlighter"}};

        CodeEditor dialog;
        QVERIFY(dialog.setContent(name, data));
        QCOMPARE(dialog.windowTitle(), name);
        QCOMPARE(QMetaEnum::fromType<CodeEditor::Type>().valueToKey(dialog.fileType()), qPrintable(type));
        QCodeEditor *editor = textOf(dialog);
        QCOMPARE(editor->toPlainText(), shown == QLatin1String("=") ? QString::fromUtf8(data) : shown);
        QStringList highlighters;
        for (const QStyleSyntaxHighlighter *h : dialog.findChildren<QStyleSyntaxHighlighter *>())
            highlighters << h->metaObject()->className() + QString(h->document() == editor->document() ? "" : "?");
        QCOMPARE(highlighters.join(QLatin1Char(' ')), highlighterOf.value(type));
        QCOMPARE(qobject_cast<QPythonCompleter *>(editor->completer()) != nullptr, type == QLatin1String("Python"));

        // A JSON type that no longer parses asks first; No keeps the dialog open.
        QSignalSpy accepted(&dialog, &QDialog::accepted);
        dialog.show();
        for (const QMessageBox::StandardButton answer : {QMessageBox::No, QMessageBox::Yes}) {
            QScopedPointer<DialogAnswerer> boxes(DialogAnswerer::messageBox(answer));
            if (accepted.isEmpty())
                button(dialog, "applyButton")->click();
            QCOMPARE(boxes->answered(), jsonQuestion ? 1 : 0);
            if (jsonQuestion && answer == QMessageBox::No)
                QVERIFY(accepted.isEmpty() && dialog.isVisible() && boxes->texts().value(0).startsWith(
                    QStringLiteral("The edited data is not a valid JSON document. Proceed?<br>Error: "))
                    && boxes->titles() + boxes->buttons() == QStringList({"Code Editor", "Yes No"}));
        }
        QCOMPARE(accepted.count(), 1);
        QCOMPARE(dialog.editedData(), stored == "=" ? data : stored);
    }

    // Continuation bytes only, binary at once: read only and shown as hex, 16 bytes a line, up to 512 bytes.
    void binaryIsReadOnly_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("size");
        QTest::addColumn<int>("lines");
        QTest::addColumn<QString>("tail");
        const QString last = "01F0: B0 B1 B2 B3 B4 B5 B6 B7 B8 B9 BA BB BC BD BE";
        QTest::newRow("lone 0x80") << "x.py" << 1 << 1 << "0000: 80";
        QTest::newRow("511 bytes") << "fw.bin" << 511 << 32 << last;
        QTest::newRow("512 bytes, json name") << "a.json" << 512 << 32 << last + " BF";
        QTest::newRow("513 bytes, cut") << "fw.bin" << 513 << 33 << "BE BF\n0200: <...>";
    }

    void binaryIsReadOnly()
    {
        QFETCH(QString, name);
        QFETCH(int, size);
        QFETCH(int, lines);
        QFETCH(QString, tail);
        QByteArray data(size, '\0');
        for (int i = 0; i < size; ++i)
            data[i] = char(0x80 + i % 0x40);
        CodeEditor dialog;
        QScopedPointer<DialogAnswerer> boxes(DialogAnswerer::messageBox(QMessageBox::Ok));
        QVERIFY(dialog.setContent(name, data));
        QCOMPARE(boxes->texts(), QStringList{"Looks like this is a binary file. Switching to read-only mode."});
        const QString shown = textOf(dialog)->toPlainText();
        QCOMPARE(shown.count('\n') + 1, lines);
        QCOMPARE(shown.right(tail.size()), tail);
        QVERIFY(!button(dialog, "saveButton")->isEnabled() && !button(dialog, "applyButton")->isEnabled());
        QVERIFY(button(dialog, "closeButton")->isEnabled() && !textOf(dialog)->isReadOnly());
        QVERIFY(dialog.fileType() == CodeEditor::Other && dialog.findChildren<QStyleSyntaxHighlighter *>().isEmpty());
    }

    // Save As proposes the name under the root and writes what would be uploaded: JSON compact.
    // Unwritable or written, the dialog stays open.
    void saveAs()
    {
        QTemporaryDir dir;
        CodeEditor dialog;
        dialog.rootPath = dir.path();
        dialog.setContent(QStringLiteral("out.json"), "{ \"k\" : [ 1 ] }");
        dialog.show();
        QScopedPointer<DialogAnswerer> boxes(DialogAnswerer::messageBox(QMessageBox::Ok));
        QSignalSpy accepted(&dialog, &QDialog::accepted);
        for (const char *answer : {"missing/copy.json", "copy.json"}) {
            QString asked;
            DialogAnswerer files([&](QWidget *widget) {
                auto *fileDialog = qobject_cast<QFileDialog *>(widget);
                if (!fileDialog)
                    return false;
                asked = fileDialog->windowTitle() + QLatin1Char(' ') + fileDialog->selectedFiles().value(0);
                fileDialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"))->setText(dir.filePath(answer));
                QMetaObject::invokeMethod(fileDialog, "accept", Qt::DirectConnection);
                return true;
            });
            button(dialog, "saveButton")->click();
            QCOMPARE(asked, QStringLiteral("Save As ") + dir.filePath(QStringLiteral("out.json")));
        }
        QCOMPARE(readLocalFile(dir.filePath("copy.json")), QByteArray("{\"k\":[1]}"));
        QCOMPARE(boxes->texts(),
                 QStringList{QStringLiteral("File %1 cannot be written").arg(dir.filePath("missing/copy.json"))});
        QVERIFY(dialog.isVisible() && accepted.isEmpty());
    }

private:
    SettingsSandbox sandbox;
};

QTEST_MAIN(tst_CodeEditor)
#include "tst_codeeditor.moc"
