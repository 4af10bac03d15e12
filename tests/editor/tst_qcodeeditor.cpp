#include "qcodeeditor.h"
#include "qframedtextattribute.h"
#include "qglslcompleter.h"
#include "qlinenumberarea.h"
#include "qpythoncompleter.h"
#include "qpythonhighlighter.h"
#include "qsyntaxstyle.h"
#include "testsupport.h"

#include <QAbstractItemView>
#include <QAbstractTextDocumentLayout>
#include <QApplication>
#include <QClipboard>
#include <QMimeData>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QTextBlock>

using Marks = QList<int>;

class tst_QCodeEditor : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void defaults();
    void keys_data();
    void keys();
    void completionGoesToOwnWidgetFromCurrentCompleter();
    void styleGoesEverywhere();
    void pasteGivesPlainText();
    void currentLineBand();
    void pairMarks_data();
    void pairMarks();
    void framesOccurrences_data();
    void framesOccurrences();

private:
    void setText(const QString &textWithCursor);
    QString textWithCursor() const;
    void typeKeys(const QString &keys);
    void select(int from, int to);

    SettingsSandbox sandbox;
    QCodeEditor *editor = nullptr;
    QCompleter *completer = nullptr;
};

// In the texts of these tests "|" is the cursor and "#" a frame.
static QString shown(QString text, int cursor)
{
    text.insert(cursor, QLatin1Char('|'));
    return text.replace(QChar(QChar::ObjectReplacementCharacter), QLatin1Char('#'));
}

void tst_QCodeEditor::init()
{
    editor = new QCodeEditor;
    completer = new QPythonCompleter(editor);
    editor->resize(400, 300);
    editor->show();
    QApplication::setActiveWindow(editor);
    editor->setFocus();
    QVERIFY(QTest::qWaitForWindowActive(editor));
}

void tst_QCodeEditor::cleanup()
{
    delete editor;
    editor = nullptr;
}

void tst_QCodeEditor::setText(const QString &textWithCursor)
{
    editor->setPlainText(QString(textWithCursor).remove(QLatin1Char('|')));
    QTextCursor c = editor->textCursor();
    c.setPosition(textWithCursor.indexOf(QLatin1Char('|')));
    editor->setTextCursor(c);
}

QString tst_QCodeEditor::textWithCursor() const
{
    return shown(editor->toPlainText(), editor->textCursor().position());
}

// Types characters; a name in angle brackets is one key of the table.
void tst_QCodeEditor::typeKeys(const QString &keys)
{
    static const QHash<QString, QPair<Qt::Key, Qt::KeyboardModifiers>> named = {
        {"Return", {Qt::Key_Return, Qt::NoModifier}},        {"Enter", {Qt::Key_Enter, Qt::KeypadModifier}},
        {"Tab", {Qt::Key_Tab, Qt::NoModifier}},              {"Ctrl+Tab", {Qt::Key_Tab, Qt::ControlModifier}},
        {"Shift+Tab", {Qt::Key_Backtab, Qt::ShiftModifier}}, {"Backspace", {Qt::Key_Backspace, Qt::NoModifier}},
        {"Delete", {Qt::Key_Delete, Qt::NoModifier}},        {"Left", {Qt::Key_Left, Qt::NoModifier}},
        {"Shift", {Qt::Key_Shift, Qt::NoModifier}},          {"Ctrl", {Qt::Key_Control, Qt::NoModifier}},
        {"Ctrl+Space", {Qt::Key_Space, Qt::ControlModifier}}};
    for (int i = 0; i < keys.size(); ++i) {
        const int end = keys.at(i) == QLatin1Char('<') ? keys.indexOf(QLatin1Char('>'), i) : -1;
        if (end < 0) {
            QTest::keyClick(editor, keys.at(i).toLatin1());
            continue;
        }
        const QString name = keys.mid(i + 1, end - i - 1);
        QVERIFY2(named.contains(name), qPrintable(name));
        QTest::keyClick(editor, named.value(name).first, named.value(name).second);
        i = end;
    }
}

void tst_QCodeEditor::select(int from, int to)
{
    QTextCursor selection(editor->document());
    selection.setPosition(from);
    selection.setPosition(to, QTextCursor::KeepAnchor);
    editor->setTextCursor(selection);
}

void tst_QCodeEditor::defaults()
{
    QVERIFY(editor->autoIndent());
    QVERIFY(!editor->showSpaces());
    QVERIFY(editor->autoPairs());
    QVERIFY(editor->spacesForTab());
    QCOMPARE(editor->tabReplacementSize(), 4);
    QCOMPARE(editor->syntaxStyle(), QSyntaxStyle::defaultScheme());
    QVERIFY(editor->font().fixedPitch());
    QCOMPARE(editor->font().pointSize(), 10);
    QCOMPARE(editor->palette().color(QPalette::Base), QColor("#ffffff"));

    // Frames are drawn only once their handler is registered with the layout.
    auto *frames = editor->findChild<QFramedTextAttribute *>();
    QVERIFY(frames);
    QCOMPARE(editor->document()->documentLayout()->handlerForObject(QFramedTextAttribute::objectType()),
             static_cast<QTextObjectInterface *>(frames));

    editor->setShowSpaces(true);
    QVERIFY(editor->document()->defaultTextOption().flags() & QTextOption::ShowTabsAndSpaces);
    editor->setShowSpaces(false);
    QVERIFY(!(editor->document()->defaultTextOption().flags() & QTextOption::ShowTabsAndSpaces));
}

// Rows: text and cursor before, keys typed, text and cursor after ("`" is one
// tab stop distance in blanks), the settings that differ from the defaults
// ("tabs" is spacesForTab off; "glsl completer" offers the GLSL words instead
// of the Python ones), and the completion popup then: "" when hidden, else the
// prefix and the word of the current row.
void tst_QCodeEditor::keys_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("keys");
    QTest::addColumn<QString>("after");
    QTest::addColumn<QString>("settings");
    QTest::addColumn<QString>("popup");

    const auto row = [](const char *name, const char *before, const char *keys, const char *after,
                        const char *settings = "", const char *popup = "") {
        QTest::newRow(name) << before << keys << after << settings << popup;
    };

    row("brackets insert partners", "|", "([{", "([{|}])");
    row("closings step over partners", "|", "(())", "(())|");
    row("closing without partner", "|x", ")", ")|x");
    row("double quotes never stepped over", "|", "\"\"", "\"\"|\"\"");
    row("single quotes never stepped over", "|", "''", "''|''");
    row("other closer isn't stepped over", "(|]", ")", "()|]");
    row("backspace leaves the partner", "|", "(<Backspace>", "|)");
    row("no pairs when off", "|", "(", "(|", "no pairs");
    row("no stepping over when off", "(|)", ")", "()|)", "no pairs");

    row("return repeats the line's indent", "    ab|cd", "<Return>", "    ab\n    |cd");
    row("enter repeats the line's indent", "    ab|cd", "<Enter>", "    ab\n    |cd");
    row("return on a line without indent", "x|", "<Return>", "x\n|");
    row("return without auto indent", "  x|", "<Return>", "  x\n|", "no indent");
    row("braces without auto indent", "{|}", "<Return>", "{\n|}", "no indent");
    // The middle line goes in by the tab stop distance, not the tab replacement.
    row("braces with spaces", "    {|}", "<Return>", "    {\n    `|\n    }");
    row("braces with tabs", "{|}", "<Return>", "{\n\t|\n}", "tabs");
    row("braces opened by enter", "{|}", "<Enter>", "{\n`|\n}");
    row("ctrl+space types nothing without a completer", "f|", "<Ctrl+Space>", "f|");

    row("tab inserts the replacement", "x|", "<Tab>", "x    |");
    row("tab of two blanks", "|", "<Tab>", "  |", "size 2");
    row("tab of no blanks", "|", "<Tab>", "|", "size 0");
    row("tab character without spaces", "x|", "<Tab>", "x\t|", "tabs");
    row("ctrl+tab goes to the base", "x|", "<Ctrl+Tab>", "x|");
    row("shift+tab removes two blanks", "  x|", "<Shift+Tab>", "x|");
    row("shift+tab removes at most the replacement", "        x|", "<Shift+Tab>", "    x|");
    row("shift+tab works from the line start", "    ab|cd", "<Shift+Tab>", "ab|cd");
    row("shift+tab counts columns as characters", "\tabcdef|", "<Shift+Tab>", "def|");
    row("shift+tab removes nothing at size 0", "  x|", "<Shift+Tab>", "  x|", "size 0");
    row("shift+tab without spaces goes to the base", "  x|", "<Shift+Tab>", "  x|", "tabs");

    row("popup not at the first letter", "|", "m", "m|", "completer");
    row("popup at the second letter", "|", "mi", "mi|", "completer", "mi: min");
    row("popup left open by bare modifiers", "|", "mi<Shift><Ctrl>", "mi|", "completer", "mi: min");
    row("popup closed by a separator", "|", "mi ", "mi |", "completer");
    row("popup closed by a key without text", "|", "mi<Left>", "m|i", "completer");
    row("popup never opened by Delete", "max|x", "<Delete>", "max|", "completer");
    row("popup for one letter by ctrl+space", "|", "f<Ctrl+Space>", "f|", "completer", "f: for");
    row("return left to the popup", "|", "le<Return>", "le|", "completer", "le: len");
    row("enter left to the popup", "|", "le<Enter>", "le|", "completer", "le: len");
    row("tab left to the popup", "|", "le<Tab>", "le|", "completer", "le: len");
    row("shift+tab left to the popup", "  |", "le<Shift+Tab>", "  le|", "completer", "le: len");

    // Each stop character closes the popup, typed just before a word that
    // would be offered otherwise.
    for (const QChar stop : QStringLiteral("~!@#$%^&*()+{}|:\"<>?,./;'[]\\-="))
        QTest::addRow("popup closed by %c", stop.toLatin1())
            << "|le" << QString(stop) << QString(stop) + QLatin1String("|le") << "completer no pairs" << "";
    row("popup closed by _", "atomic|uint", "_", "atomic_|uint", "glsl completer");
}

void tst_QCodeEditor::keys()
{
    QFETCH(QString, before);
    QFETCH(QString, keys);
    QFETCH(QString, after);
    QFETCH(QString, settings);
    QFETCH(QString, popup);

    if (settings.contains(QLatin1String("glsl")))
        completer = new QGLSLCompleter(editor);
    if (settings.contains(QLatin1String("completer")))
        editor->setCompleter(completer);
    editor->setAutoIndent(!settings.contains(QLatin1String("no indent")));
    editor->setAutoPairs(!settings.contains(QLatin1String("no pairs")));
    editor->setSpacesForTab(!settings.contains(QLatin1String("tabs")));
    if (settings.startsWith(QLatin1String("size ")))
        editor->setTabReplacementSize(settings.mid(5).toInt());
    setText(before);

    typeKeys(keys);
    // Unlike 4, the tab replacement, so that "`" tells the two apart.
    const int tabStop = int(editor->tabStopDistance() / editor->fontMetrics().averageCharWidth());
    QVERIFY(tabStop != 4);
    QCOMPARE(textWithCursor(), after.replace(QLatin1Char('`'), QString(tabStop, QLatin1Char(' '))));
    if (popup.isEmpty()) {
        QVERIFY(!completer->popup()->isVisible());
    } else {
        QTRY_VERIFY(completer->popup()->isVisible());
        QCOMPARE(completer->completionPrefix() + QLatin1String(": ") +
                     completer->popup()->currentIndex().data().toString(), popup);
        // As wide as its widest word and a scroll bar.
        QAbstractItemView *list = completer->popup();
        QCOMPARE(list->width(), list->sizeHintForColumn(0) + list->verticalScrollBar()->sizeHint().width());
    }
}

void tst_QCodeEditor::completionGoesToOwnWidgetFromCurrentCompleter()
{
    QPythonCompleter replaced;
    editor->setCompleter(&replaced);
    editor->setCompleter(completer);
    QCOMPARE(editor->completer(), completer);

    // Return in the popup takes the offered word.
    QSignalSpy activated(completer, QOverload<const QString &>::of(&QCompleter::activated));
    typeKeys(QStringLiteral("le"));
    QTRY_VERIFY(completer->popup()->isVisible());
    QTest::keyClick(completer->popup(), Qt::Key_Return);
    QCOMPARE(activated.count(), 1);
    QCOMPARE(textWithCursor(), QStringLiteral("len|"));
    QVERIFY(!completer->popup()->isVisible());

    emit replaced.activated(QStringLiteral("length"));
    QCOMPARE(textWithCursor(), QStringLiteral("len|"));

    QWidget other;
    completer->setWidget(&other);
    editor->insertCompletion(QStringLiteral("length"));
    QCOMPARE(textWithCursor(), QStringLiteral("len|"));

    // Focus brings the completer back to the editor.
    other.show();
    QApplication::setActiveWindow(&other);
    other.setFocus();
    QApplication::setActiveWindow(editor);
    editor->setFocus();
    QTRY_COMPARE(completer->widget(), editor);
}

void tst_QCodeEditor::styleGoesEverywhere()
{
    QPythonHighlighter first;
    QPythonHighlighter highlighter;
    editor->setHighlighter(&first);
    QCOMPARE(first.document(), editor->document());
    editor->setHighlighter(&highlighter);
    QVERIFY(!first.document());
    QCOMPARE(highlighter.document(), editor->document());
    QCOMPARE(highlighter.syntaxStyle(), QSyntaxStyle::defaultScheme());

    QSyntaxStyle *dark = QSyntaxStyle::darkScheme();
    editor->setSyntaxStyle(dark);
    QCOMPARE(editor->syntaxStyle(), dark);
    QCOMPARE(highlighter.syntaxStyle(), dark);
    QCOMPARE(editor->findChild<QLineNumberArea *>()->syntaxStyle(), dark);
    QCOMPARE(editor->findChild<QFramedTextAttribute *>()->syntaxStyle(), dark);

    const QPalette pal = editor->palette();
    for (const QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
        QCOMPARE(pal.color(group, QPalette::Base), QColor("#282a36"));
        QCOMPARE(pal.color(group, QPalette::Text), QColor("#f8f8f2"));
        QCOMPARE(pal.color(group, QPalette::Highlight), QColor("#44475a"));
    }

    setText(QStringLiteral("def|"));
    const QVector<QTextLayout::FormatRange> ranges = editor->document()->firstBlock().layout()->formats();
    QCOMPARE(ranges.size(), 1);
    QCOMPARE(ranges.first().format, dark->formatFor(QStringLiteral("Keyword")));

    editor->setHighlighter(nullptr);
    QVERIFY(!highlighter.document());
}

void tst_QCodeEditor::pasteGivesPlainText()
{
    auto *mime = new QMimeData;
    mime->setHtml(QStringLiteral("<b>bold</b> <i>it</i>"));
    mime->setText(QStringLiteral("bold it"));
    QApplication::clipboard()->setMimeData(mime);

    setText(QStringLiteral("x|"));
    editor->paste();
    QCOMPARE(textWithCursor(), QStringLiteral("xbold it|"));
    QTextCursor probe(editor->document());
    probe.setPosition(3);
    QVERIFY(probe.charFormat().fontWeight() != QFont::Bold);
    QVERIFY(!probe.charFormat().fontItalic());
}

void tst_QCodeEditor::currentLineBand()
{
    editor->setSyntaxStyle(QSyntaxStyle::darkScheme());
    setText(QStringLiteral("a\nb|c"));

    const QList<QTextEdit::ExtraSelection> extras = editor->extraSelections();
    QCOMPARE(extras.size(), 1);
    const QTextEdit::ExtraSelection &band = extras.first();
    QVERIFY(band.format.property(QTextFormat::FullWidthSelection).toBool());
    QCOMPARE(band.format.background().color(), QColor("#383b4c"));
    // The scheme gives the band a foreground; the band must not recolour text.
    QVERIFY(!band.format.hasProperty(QTextFormat::ForegroundBrush));
    QVERIFY(!band.cursor.hasSelection());
    QCOMPARE(band.cursor.blockNumber(), 1);

    editor->setReadOnly(true);
    editor->updateExtraSelection();
    QVERIFY(editor->extraSelections().isEmpty());
}

void tst_QCodeEditor::pairMarks_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<Marks>("marks"); // starts of the marked characters, partner first

    QTest::newRow("forward") << " |(a)" << Marks{3, 1};
    QTest::newRow("backward") << "(a)|" << Marks{0, 2};
    QTest::newRow("nested, outer") << " |((a))" << Marks{5, 1};
    QTest::newRow("nested, inner") << " (|(a))" << Marks{4, 2};
    QTest::newRow("square brackets backward") << "x[y]|" << Marks{1, 3};
    QTest::newRow("opening under cursor wins") << " ()|(x)" << Marks{5, 3};
    QTest::newRow("over lines") << " |{\n}" << Marks{3, 1};
    QTest::newRow("without partner") << " |(a" << Marks{};
    QTest::newRow("other kind of closer") << " |(a]" << Marks{};
    QTest::newRow("opening quote") << " |\"a\"" << Marks{};
    QTest::newRow("closing quote") << " \"a\"|" << Marks{};
    QTest::newRow("bracket at document start") << "|(a)" << Marks{};
}

void tst_QCodeEditor::pairMarks()
{
    QFETCH(QString, text);
    QFETCH(Marks, marks);

    setText(text);
    const QList<QTextEdit::ExtraSelection> extras = editor->extraSelections();
    QCOMPARE(extras.size(), 1 + marks.size());
    for (int i = 0; i < marks.size(); ++i) {
        const QTextEdit::ExtraSelection &mark = extras.at(1 + i);
        QCOMPARE(mark.format, editor->syntaxStyle()->formatFor(QStringLiteral("Parentheses")));
        QCOMPARE(mark.cursor.selectionStart(), marks.at(i));
        QCOMPARE(mark.cursor.selectionEnd(), marks.at(i) + 1);
    }
}

void tst_QCodeEditor::framesOccurrences_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("from");
    QTest::addColumn<int>("to");
    QTest::addColumn<QString>("framed");

    QTest::newRow("one word, two places") << "foo bar foo" << 0 << 3 << "#foo bar #foo";
    QTest::newRow("one word, one place") << "foo bar foo" << 4 << 7 << "foo #bar foo";
    QTest::newRow("any case, inside words") << "Foo food\nfoo" << 9 << 12 << "#Foo #food\n#foo";
    QTest::newRow("backward selection of the first word") << "foo bar foo" << 3 << 0 << "#foo bar #foo";
    QTest::newRow("part of a word") << "foo bar foo" << 0 << 2 << "foo bar foo";
    QTest::newRow("one letter") << "a b a" << 0 << 1 << "a b a";
}

void tst_QCodeEditor::framesOccurrences()
{
    QFETCH(QString, text);
    QFETCH(int, from);
    QFETCH(int, to);
    QFETCH(QString, framed);

    editor->setPlainText(text);
    const QString word = text.mid(qMin(from, to), qAbs(to - from));
    select(from, to);
    QCOMPARE(shown(editor->toPlainText(), 0).mid(1), framed);
    // The user's selection stays on the word.
    QCOMPARE(editor->textCursor().selectedText(), word);

    // Another selection, here of no word, takes all frames away.
    select(0, 4);
    QCOMPARE(editor->toPlainText(), text);
}

QTEST_MAIN(tst_QCodeEditor)
#include "tst_qcodeeditor.moc"
