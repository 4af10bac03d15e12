#include "qcodeeditor.h"
#include "qframedtextattribute.h"
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
    void returnBetweenBracesWithSpaces();
    void completerPopupOpensAtSecondLetter();
    void ctrlSpaceOpensPopupForOneLetter();
    void returnIsLeftToOpenPopup();
    void popupKeysThatDontUpdate();
    void completionOnlyForOwnWidget();
    void replacingTheCompleterDisconnectsTheOld();
    void styleGoesEverywhere();
    void highlighterGetsStyleBeforeDocument();
    void showSpaces();
    void pasteGivesPlainText();
    void currentLineBand();
    void pairMarks_data();
    void pairMarks();
    void framesOccurrences_data();
    void framesOccurrences();
    void framesGoWhenSelectionChanges();

private:
    void setText(const QString &textWithCursor);
    QString textWithCursor() const;
    void typeKeys(const QString &keys);

    SettingsSandbox sandbox;
    QCodeEditor *editor = nullptr;
};

// The cursor is written as "|" in texts of these tests, frames as "#".
static QString shown(QString text, int cursor)
{
    text.insert(cursor, QLatin1Char('|'));
    return text.replace(QChar(QChar::ObjectReplacementCharacter), QLatin1Char('#'));
}

void tst_QCodeEditor::init()
{
    editor = new QCodeEditor;
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
    const int cursor = textWithCursor.indexOf(QLatin1Char('|'));
    editor->setPlainText(QString(textWithCursor).remove(QLatin1Char('|')));
    QTextCursor c = editor->textCursor();
    c.setPosition(cursor);
    editor->setTextCursor(c);
}

QString tst_QCodeEditor::textWithCursor() const
{
    return shown(editor->toPlainText(), editor->textCursor().position());
}

// Types characters; "\n" is Return, "\t" Tab, "\b" Shift+Tab (Backtab),
// "\x7f" Delete and "\x01" Backspace.
void tst_QCodeEditor::typeKeys(const QString &keys)
{
    for (const QChar c : keys) {
        switch (c.unicode()) {
        case '\n':
            QTest::keyClick(editor, Qt::Key_Return);
            break;
        case '\t':
            QTest::keyClick(editor, Qt::Key_Tab);
            break;
        case '\b':
            QTest::keyClick(editor, Qt::Key_Backtab, Qt::ShiftModifier);
            break;
        case 0x7f:
            QTest::keyClick(editor, Qt::Key_Delete);
            break;
        case 0x01:
            QTest::keyClick(editor, Qt::Key_Backspace);
            break;
        default:
            QTest::keyClick(editor, c.toLatin1());
            break;
        }
    }
}

void tst_QCodeEditor::defaults()
{
    QVERIFY(editor->autoIndent());
    QVERIFY(!editor->showSpaces());
    QVERIFY(editor->autoPairs());
    QVERIFY(editor->spacesForTab());
    QCOMPARE(editor->tabReplacementSize(), 4);
    QVERIFY(!editor->completer());
    QCOMPARE(editor->syntaxStyle(), QSyntaxStyle::defaultScheme());
    QVERIFY(editor->font().fixedPitch());
    QCOMPARE(editor->font().pointSize(), 10);

    const QPalette pal = editor->palette();
    QCOMPARE(pal.color(QPalette::Active, QPalette::Base), QColor("#ffffff"));
    QCOMPARE(pal.color(QPalette::Inactive, QPalette::Text), QColor("#000000"));
    QCOMPARE(pal.color(QPalette::Disabled, QPalette::Highlight), QColor("#3daee9"));

    auto *frames = editor->findChild<QFramedTextAttribute *>();
    QVERIFY(frames);
    QCOMPARE(editor->document()->documentLayout()->handlerForObject(QFramedTextAttribute::objectType()),
             static_cast<QTextObjectInterface *>(frames));
}

void tst_QCodeEditor::keys_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("keys");
    QTest::addColumn<QString>("after");
    QTest::addColumn<bool>("autoIndent");
    QTest::addColumn<bool>("autoPairs");
    QTest::addColumn<bool>("spacesForTab");
    QTest::addColumn<int>("tabSize");

    auto row = [](const char *name, const char *before, const char *keys, const char *after) -> QTestData & {
        return QTest::newRow(name) << before << keys << after << true << true << true << 4;
    };

    // Pairs.
    row("bracket inserts its partner", "|", "(", "(|)");
    row("closing steps over partner", "|", "()", "()|");
    row("closing without partner", "|x", ")", ")|x");
    row("brace", "|", "{", "{|}");
    row("square bracket", "|", "[", "[|]");
    row("nested brackets", "|", "(())", "(())|");
    row("double quotes never stepped over", "|", "\"\"", "\"\"|\"\"");
    row("single quotes never stepped over", "|", "''", "''|''");
    row("other closer isn't stepped over", "(|]", ")", "()|]");
    row("backspace leaves the partner", "|", "(\x01", "|)");
    QTest::newRow("no pairs when off") << "|" << "(" << "(|" << true << false << true << 4;
    QTest::newRow("no stepping over when off") << "(|)" << ")" << "()|)" << true << false << true << 4;

    // Return.
    row("return repeats the line's indent", "    ab|cd", "\n", "    ab\n    |cd");
    row("return on a line without indent", "x|", "\n", "x\n|");
    QTest::newRow("return without auto indent") << "  x|" << "\n" << "  x\n|" << false << true << true << 4;
    QTest::newRow("braces without auto indent") << "{|}" << "\n" << "{\n|}" << false << true << true << 4;
    QTest::newRow("braces with tabs") << "{|}" << "\n" << "{\n\t|\n}" << true << true << false << 4;

    // Tab and Shift+Tab.
    row("tab inserts the replacement", "x|", "\t", "x    |");
    QTest::newRow("tab of two blanks") << "|" << "\t" << "  |" << true << true << true << 2;
    QTest::newRow("tab of no blanks") << "|" << "\t" << "|" << true << true << true << 0;
    QTest::newRow("tab character without spaces") << "x|" << "\t" << "x\t|" << true << true << false << 4;
    row("shift+tab removes two blanks", "  x|", "\b", "x|");
    row("shift+tab removes at most the replacement", "        x|", "\b", "    x|");
    row("shift+tab works from the line start", "    ab|cd", "\b", "ab|cd");
    row("shift+tab on a line without indent", "x|", "\b", "x|");
    row("shift+tab counts columns as characters", "\tabcdef|", "\b", "def|");
    QTest::newRow("shift+tab removes nothing at size 0") << "  x|" << "\b" << "  x|" << true << true << true << 0;
    QTest::newRow("shift+tab without spaces goes to the base") << "  x|" << "\b" << "  x|" << true << true << false
                                                               << 4;
}

void tst_QCodeEditor::keys()
{
    QFETCH(QString, before);
    QFETCH(QString, keys);
    QFETCH(QString, after);
    QFETCH(bool, autoIndent);
    QFETCH(bool, autoPairs);
    QFETCH(bool, spacesForTab);
    QFETCH(int, tabSize);

    editor->setAutoIndent(autoIndent);
    editor->setAutoPairs(autoPairs);
    editor->setSpacesForTab(spacesForTab);
    editor->setTabReplacementSize(tabSize);
    setText(before);

    typeKeys(keys);
    QCOMPARE(textWithCursor(), after);
}

void tst_QCodeEditor::returnBetweenBracesWithSpaces()
{
    // The middle line goes in by the tab stop distance in characters, not by
    // the size of the tab replacement.
    const int defaultIndent = int(editor->tabStopDistance() / editor->fontMetrics().averageCharWidth());
    QVERIFY(defaultIndent != 4);

    setText(QStringLiteral("    {|}"));
    typeKeys(QStringLiteral("\n"));

    const QString middle = QString(4 + defaultIndent, QLatin1Char(' '));
    QCOMPARE(textWithCursor(), QStringLiteral("    {\n%1|\n    }").arg(middle));
}

void tst_QCodeEditor::completerPopupOpensAtSecondLetter()
{
    QPythonCompleter completer;
    editor->setCompleter(&completer);
    QCOMPARE(editor->completer(), &completer);
    QCOMPARE(completer.widget(), editor);
    QCOMPARE(completer.completionMode(), QCompleter::PopupCompletion);

    typeKeys(QStringLiteral("m"));
    QVERIFY(!completer.popup()->isVisible());

    typeKeys(QStringLiteral("i"));
    QTRY_VERIFY(completer.popup()->isVisible());
    QCOMPARE(completer.completionPrefix(), QStringLiteral("mi"));
    QCOMPARE(completer.popup()->currentIndex().data().toString(), QStringLiteral("min"));

    // A word separator closes it, though the word before it is long enough.
    typeKeys(QStringLiteral(" "));
    QVERIFY(!completer.popup()->isVisible());

    // So does any character of the stop list.
    typeKeys(QStringLiteral("le"));
    QTRY_VERIFY(completer.popup()->isVisible());
    typeKeys(QStringLiteral("."));
    QVERIFY(!completer.popup()->isVisible());
}

void tst_QCodeEditor::ctrlSpaceOpensPopupForOneLetter()
{
    QPythonCompleter completer;
    editor->setCompleter(&completer);

    typeKeys(QStringLiteral("f"));
    QVERIFY(!completer.popup()->isVisible());

    QTest::keyClick(editor, Qt::Key_Space, Qt::ControlModifier);
    QTRY_VERIFY(completer.popup()->isVisible());
    QCOMPARE(completer.completionPrefix(), QStringLiteral("f"));
    // The shortcut doesn't reach the text.
    QCOMPARE(textWithCursor(), QStringLiteral("f|"));

    // Without a completer the key goes to the text as usual.
    editor->setCompleter(nullptr);
    completer.popup()->hide();
    QTest::keyClick(editor, Qt::Key_Space, Qt::ControlModifier);
    QVERIFY(!completer.popup()->isVisible());
}

void tst_QCodeEditor::returnIsLeftToOpenPopup()
{
    QPythonCompleter completer;
    editor->setCompleter(&completer);
    QSignalSpy activated(&completer, QOverload<const QString &>::of(&QCompleter::activated));
    QVERIFY(activated.isValid());

    typeKeys(QStringLiteral("le"));
    QTRY_VERIFY(completer.popup()->isVisible());

    // The editor itself neither breaks the line nor indents.
    QTest::keyClick(editor, Qt::Key_Return);
    QCOMPARE(textWithCursor(), QStringLiteral("le|"));

    // Through the popup, Return takes the offered word.
    QTRY_VERIFY(completer.popup()->isVisible());
    QTest::keyClick(completer.popup(), Qt::Key_Return);
    QCOMPARE(activated.count(), 1);
    QCOMPARE(textWithCursor(), QStringLiteral("len|"));
    QVERIFY(!completer.popup()->isVisible());
}

void tst_QCodeEditor::popupKeysThatDontUpdate()
{
    QPythonCompleter completer;
    editor->setCompleter(&completer);

    typeKeys(QStringLiteral("mi"));
    QTRY_VERIFY(completer.popup()->isVisible());

    // A bare modifier press leaves the popup alone.
    QTest::keyClick(editor, Qt::Key_Shift);
    QVERIFY(completer.popup()->isVisible());
    QTest::keyClick(editor, Qt::Key_Control);
    QVERIFY(completer.popup()->isVisible());

    // An arrow key has no text and hides it.
    QTest::keyClick(editor, Qt::Key_Left);
    QVERIFY(!completer.popup()->isVisible());

    // Delete never opens it, even within a long enough word.
    setText(QStringLiteral("max|x"));
    QTest::keyClick(editor, Qt::Key_Delete);
    QCOMPARE(textWithCursor(), QStringLiteral("max|"));
    QVERIFY(!completer.popup()->isVisible());
}

void tst_QCodeEditor::completionOnlyForOwnWidget()
{
    QPythonCompleter completer;
    editor->setCompleter(&completer);
    setText(QStringLiteral("pri|"));

    editor->insertCompletion(QStringLiteral("print"));
    QCOMPARE(textWithCursor(), QStringLiteral("print|"));

    QWidget other;
    completer.setWidget(&other);
    editor->insertCompletion(QStringLiteral("printer"));
    QCOMPARE(textWithCursor(), QStringLiteral("print|"));

    // Focus brings the completer back to the editor.
    other.show();
    QApplication::setActiveWindow(&other);
    other.setFocus();
    QApplication::setActiveWindow(editor);
    editor->setFocus();
    QTRY_COMPARE(completer.widget(), editor);
}

void tst_QCodeEditor::replacingTheCompleterDisconnectsTheOld()
{
    QPythonCompleter first;
    QPythonCompleter second;
    editor->setCompleter(&first);
    editor->setCompleter(&second);
    setText(QStringLiteral("le|"));

    emit first.activated(QStringLiteral("len"));
    QCOMPARE(textWithCursor(), QStringLiteral("le|"));

    emit second.activated(QStringLiteral("len"));
    QCOMPARE(textWithCursor(), QStringLiteral("len|"));
}

void tst_QCodeEditor::styleGoesEverywhere()
{
    QPythonHighlighter highlighter;
    editor->setHighlighter(&highlighter);
    editor->setSyntaxStyle(QSyntaxStyle::darkScheme());

    QCOMPARE(editor->syntaxStyle(), QSyntaxStyle::darkScheme());
    QCOMPARE(highlighter.syntaxStyle(), QSyntaxStyle::darkScheme());
    QCOMPARE(editor->findChild<QLineNumberArea *>()->syntaxStyle(), QSyntaxStyle::darkScheme());
    QCOMPARE(editor->findChild<QFramedTextAttribute *>()->syntaxStyle(), QSyntaxStyle::darkScheme());

    const QPalette pal = editor->palette();
    for (const QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
        QCOMPARE(pal.color(group, QPalette::Base), QColor("#282a36"));
        QCOMPARE(pal.color(group, QPalette::Text), QColor("#f8f8f2"));
        QCOMPARE(pal.color(group, QPalette::Highlight), QColor("#44475a"));
    }

    // The highlighter drew again in the new scheme.
    setText(QStringLiteral("def|"));
    const QVector<QTextLayout::FormatRange> ranges = editor->document()->firstBlock().layout()->formats();
    QCOMPARE(ranges.size(), 1);
    QCOMPARE(ranges.first().format, QSyntaxStyle::darkScheme()->formatFor(QStringLiteral("Keyword")));
}

void tst_QCodeEditor::highlighterGetsStyleBeforeDocument()
{
    QPythonHighlighter first;
    QPythonHighlighter second;
    editor->setHighlighter(&first);
    QCOMPARE(first.document(), editor->document());
    QCOMPARE(first.syntaxStyle(), editor->syntaxStyle());

    editor->setHighlighter(&second);
    QVERIFY(!first.document());
    QCOMPARE(second.document(), editor->document());

    editor->setHighlighter(nullptr);
    QVERIFY(!second.document());
}

void tst_QCodeEditor::showSpaces()
{
    editor->setShowSpaces(true);
    QVERIFY(editor->showSpaces());
    QVERIFY(editor->document()->defaultTextOption().flags() & QTextOption::ShowTabsAndSpaces);

    editor->setShowSpaces(false);
    QVERIFY(!editor->showSpaces());
    QVERIFY(!(editor->document()->defaultTextOption().flags() & QTextOption::ShowTabsAndSpaces));
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
    QTest::newRow("braces") << " |{x}" << Marks{3, 1};
    QTest::newRow("square brackets backward") << "x[y]|" << Marks{1, 3};
    QTest::newRow("opening under cursor wins") << " ()|(x)" << Marks{5, 3};
    QTest::newRow("over lines") << " |(\n)" << Marks{3, 1};
    QTest::newRow("without partner") << " |(a" << Marks{};
    QTest::newRow("other kind of closer") << " |(a]" << Marks{};
    QTest::newRow("quotes are never marked") << " |\"a\"" << Marks{};
    QTest::newRow("closing quote") << " \"a\"|" << Marks{};
    QTest::newRow("bracket at document start") << "|(a)" << Marks{};
    QTest::newRow("no bracket") << "a|bc" << Marks{};
}

void tst_QCodeEditor::pairMarks()
{
    QFETCH(QString, text);
    QFETCH(Marks, marks);

    setText(text);

    const QList<QTextEdit::ExtraSelection> extras = editor->extraSelections();
    QCOMPARE(extras.size(), 1 + marks.size());

    const QTextCharFormat parentheses = editor->syntaxStyle()->formatFor(QStringLiteral("Parentheses"));
    for (int i = 0; i < marks.size(); ++i) {
        const QTextEdit::ExtraSelection &mark = extras.at(1 + i);
        QCOMPARE(mark.format, parentheses);
        QCOMPARE(mark.cursor.selectionStart(), marks.at(i));
        QCOMPARE(mark.cursor.selectionEnd(), marks.at(i) + 1);
    }
}

void tst_QCodeEditor::framesOccurrences_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("from");
    QTest::addColumn<int>("to");
    QTest::addColumn<QString>("framed"); // "#" stands for a frame

    QTest::newRow("one word, two places") << "foo bar foo" << 0 << 3 << "#foo bar #foo";
    QTest::newRow("any case, inside words") << "Foo food\nfoo" << 9 << 12 << "#Foo #food\n#foo";
    QTest::newRow("backward selection of the first word") << "foo bar foo" << 3 << 0 << "#foo bar #foo";
    QTest::newRow("several words") << "foo bar foo" << 0 << 7 << "foo bar foo";
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
    QTextCursor selection(editor->document());
    selection.setPosition(from);
    selection.setPosition(to, QTextCursor::KeepAnchor);
    const QString word = selection.selectedText();
    editor->setTextCursor(selection);

    QCOMPARE(shown(editor->toPlainText(), 0).mid(1), framed);
    // The user's selection stays on the word.
    QCOMPARE(editor->textCursor().selectedText(), word);
}

void tst_QCodeEditor::framesGoWhenSelectionChanges()
{
    editor->setPlainText(QStringLiteral("foo bar foo"));
    QTextCursor selection(editor->document());
    selection.setPosition(4);
    selection.setPosition(7, QTextCursor::KeepAnchor);
    editor->setTextCursor(selection);
    QCOMPARE(shown(editor->toPlainText(), 0).mid(1), QStringLiteral("foo #bar foo"));

    // Frames are edits like any other.
    QVERIFY(editor->document()->isUndoAvailable());

    QTextCursor other(editor->document());
    other.setPosition(0);
    other.setPosition(4, QTextCursor::KeepAnchor); // "foo " is no word
    editor->setTextCursor(other);
    QCOMPARE(editor->toPlainText(), QStringLiteral("foo bar foo"));
}

QTEST_MAIN(tst_QCodeEditor)
#include "tst_qcodeeditor.moc"
