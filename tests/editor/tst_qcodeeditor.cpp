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
#include <QScrollBar>
#include <QTest>
#include <QTextBlock>

#include <algorithm>

// In the texts of these tests "|" is the cursor and "#" a frame.
static QString shown(QString text, int cursor)
{
    text.insert(cursor, QLatin1Char('|'));
    return text.replace(QChar(QChar::ObjectReplacementCharacter), QLatin1Char('#'));
}

// Shows an editor of so many lines and waits until the viewport leaves the gutter its room.
static bool showLines(QCodeEditor &editor, int lineCount)
{
    QStringList lines;
    for (int i = 0; i < lineCount; ++i)
        lines << QStringLiteral("line %1").arg(i + 1);
    editor.setPlainText(lines.join(QLatin1Char('\n')));
    editor.resize(300, 200);
    editor.show();
    auto *gutter = editor.findChild<QLineNumberArea *>();
    return QTest::qWaitForWindowExposed(&editor) && QTest::qWaitFor([&] {
        return editor.viewport()->geometry().left() - editor.contentsRect().left() == gutter->sizeHint().width();
    });
}

class tst_QCodeEditor : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        editor = new QCodeEditor;
        completer = new QPythonCompleter(editor);
        editor->resize(400, 300);
        editor->show();
        QApplication::setActiveWindow(editor);
        editor->setFocus();
        QVERIFY(QTest::qWaitForWindowActive(editor));
    }
    void cleanup() { delete editor; }

    // Rows: text before, keys, text after ("`" is one tab stop in blanks), settings other than the
    // defaults, and the popup then: "" when hidden, else the prefix and the word of the current row.
    void keys_data()
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
        row("quotes never stepped over", "|", "''\"\"", "''\"\"|\"\"''");
        row("backspace leaves the partner", "|", "(<Backspace>", "|)");
        row("no pairs when off", "(|)", ")(", "()(|)", "no pairs");
        row("return repeats the line's indent", "    ab|cd", "<Return>", "    ab\n    |cd");
        // The middle line goes in by the tab stop distance, not the tab replacement.
        row("braces with spaces", "    {|}", "<Return>", "    {\n    `|\n    }");
        row("braces with tabs", "{|}", "<Return>", "{\n\t|\n}", "tabs");
        row("braces opened by enter", "{|}", "<Enter>", "{\n`|\n}");
        row("tab inserts the replacement", "x|", "<Tab>", "x    |");
        row("tab character without spaces", "x|", "<Tab>", "x\t|", "tabs");
        row("ctrl+tab goes to the base", "x|", "<Ctrl+Tab>", "x|");
        row("shift+tab works from the line start", "  ab|cd", "<Shift+Tab>", "ab|cd");
        row("shift+tab removes at most the replacement", "        x|", "<Shift+Tab>", "    x|");
        row("popup not at the first letter", "|", "m", "m|", "completer");
        row("popup left open by bare modifiers", "|", "mi<Shift><Ctrl>", "mi|", "completer", "mi: min");
        row("popup closed by a separator", "|", "mi ", "mi |", "completer");
        row("popup for one letter by ctrl+space", "|", "f<Ctrl+Space>", "f|", "completer", "f: for");
        row("return left to the popup", "|", "le<Return>", "le|", "completer", "le: len");
        row("enter left to the popup", "|", "le<Enter>", "le|", "completer", "le: len");
        row("tab left to the popup", "|", "le<Tab>", "le|", "completer", "le: len");
        row("shift+tab left to the popup", "  |", "le<Shift+Tab>", "  le|", "completer", "le: len");
        // Each stop character, typed just before a word that would be offered.
        for (const QChar stop : QStringLiteral("~!@#$%^&*()+{}|:\"<>?,./;'[]\\-="))
            QTest::addRow("popup closed by %c", stop.toLatin1())
                << "|le" << QString(stop) << QString(stop) + QLatin1String("|le") << "completer no pairs" << "";
        row("popup closed by _", "atomic|uint", "_", "atomic_|uint", "glsl completer");
    }

    void keys()
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
        editor->setAutoPairs(!settings.contains(QLatin1String("no pairs")));
        editor->setSpacesForTab(!settings.contains(QLatin1String("tabs")));
        setText(before);
        typeKeys(keys);
        // Unlike 4, the tab replacement, so that "`" tells the two apart.
        const int tabStop = int(editor->tabStopDistance() / editor->fontMetrics().averageCharWidth());
        QVERIFY(tabStop != 4);
        QCOMPARE(textWithCursor(), after.replace(QLatin1Char('`'), QString(tabStop, QLatin1Char(' '))));
        QAbstractItemView *list = completer->popup();
        if (popup.isEmpty()) {
            QVERIFY(!list->isVisible());
            return;
        }
        QTRY_VERIFY(list->isVisible());
        QCOMPARE(completer->completionPrefix() + QLatin1String(": ") + list->currentIndex().data().toString(), popup);
        // As wide as its widest word and a scroll bar.
        QCOMPARE(list->width(), list->sizeHintForColumn(0) + list->verticalScrollBar()->sizeHint().width());
    }

    void completion()
    {
        editor->setCompleter(completer);
        typeKeys(QStringLiteral("le"));
        QTRY_VERIFY(completer->popup()->isVisible());
        QTest::keyClick(completer->popup(), Qt::Key_Return);
        QCOMPARE(textWithCursor(), QStringLiteral("len|"));
    }

    void styleGoesEverywhere()
    {
        QPythonHighlighter highlighter;
        editor->setHighlighter(&highlighter);
        QSyntaxStyle *dark = QSyntaxStyle::darkScheme();
        editor->setSyntaxStyle(dark);
        const QPalette pal = editor->palette();
        QCOMPARE(QStringList({pal.color(QPalette::Inactive, QPalette::Base).name(), pal.color(QPalette::Text).name(),
                              pal.color(QPalette::Disabled, QPalette::Highlight).name()}),
                 QStringList({"#282a36", "#f8f8f2", "#44475a"}));
        setText(QStringLiteral("def|"));
        const QVector<QTextLayout::FormatRange> ranges = editor->document()->firstBlock().layout()->formats();
        QCOMPARE(ranges.size(), 1);
        QCOMPARE(ranges.first().format, dark->formatFor(QStringLiteral("Keyword")));
    }

    // Rows: text with the cursor "|" and the selection's anchor "[", and what is then marked: "^" after
    // each character of a pair, "#" for a frame around each occurrence of a selected word.
    void marks_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("marked");
        QTest::newRow("pair forward") << " |(a)" << " (^a)^";
        QTest::newRow("pair backward") << "(a)|" << "(^a)^";
        QTest::newRow("opening under cursor wins") << " ()|(x)" << " ()(^x)^";
        QTest::newRow("pair over lines") << " |{\n}" << " {^\n}^";
        QTest::newRow("without partner") << " |(a" << " (a";
        QTest::newRow("other kind of closer") << " |(a]" << " (a]";
        QTest::newRow("bracket at document start") << "|(a)" << "(a)";
        QTest::newRow("one word, two places") << "[foo| bar foo" << "#foo bar #foo";
        QTest::newRow("any case, inside words") << "Foo food\n[foo|" << "#Foo #food\n#foo";
        QTest::newRow("part of a word") << "[fo|o bar foo" << "foo bar foo";
        QTest::newRow("one letter") << "[a| b a" << "a b a";
    }

    void marks()
    {
        QFETCH(QString, text);
        QFETCH(QString, marked);
        const QString plain = QString(text).remove(QLatin1Char('[')).remove(QLatin1Char('|'));
        const int cursor = QString(text).remove(QLatin1Char('[')).indexOf(QLatin1Char('|'));
        const QString withAnchor = QString(text).remove(QLatin1Char('|'));
        const int anchor = text.contains(QLatin1Char('[')) ? withAnchor.indexOf(QLatin1Char('[')) : cursor;
        editor->setPlainText(plain);
        select(anchor, cursor);
        QString seen = shown(editor->toPlainText(), 0).mid(1);
        QList<int> pairs;
        for (const QTextEdit::ExtraSelection &mark : editor->extraSelections().mid(1)) {
            QCOMPARE(mark.format, editor->syntaxStyle()->formatFor(QStringLiteral("Parentheses")));
            QCOMPARE(mark.cursor.selectionEnd(), mark.cursor.selectionStart() + 1);
            pairs << mark.cursor.selectionEnd();
        }
        std::sort(pairs.rbegin(), pairs.rend());
        for (const int end : pairs)
            seen.insert(end, QLatin1Char('^'));
        QCOMPARE(seen, marked);
        // Frames are drawn only once their handler is registered with the layout.
        QVERIFY(editor->document()->documentLayout()->handlerForObject(QFramedTextAttribute::objectType()));
        // The selection stays on the word.
        const QString word = plain.mid(qMin(anchor, cursor), qAbs(cursor - anchor));
        QCOMPARE(editor->textCursor().selectedText(), word);
        select(0, editor->document()->characterCount() - 1); // no word: all frames go
        QCOMPARE(editor->toPlainText(), plain);
    }

    void gutterWidth_data()
    {
        QTest::addColumn<int>("lineCount");
        QTest::addColumn<int>("digits");
        // Without a change of the line count only painting sets the margin.
        QTest::newRow("empty document") << 0 << 1;
        QTest::newRow("nine lines") << 9 << 1;
        QTest::newRow("ten lines") << 10 << 2;
    }

    void gutterWidth()
    {
        QFETCH(int, lineCount);
        QFETCH(int, digits);
        QCodeEditor editor;
        QVERIFY(showLines(editor, lineCount));
        auto *gutter = editor.findChild<QLineNumberArea *>();
        QCOMPARE(gutter->sizeHint(), QSize(13 + digits * editor.fontMetrics().horizontalAdvance(QLatin1Char('9')), 0));
        QCOMPARE(gutter->geometry(), QRect(editor.contentsRect().topLeft(),
                                           QSize(gutter->sizeHint().width(), editor.contentsRect().height())));
    }

    // The numbers end 5 pixels left of the gutter's right edge, where the glyph puts its ink.
    void gutterPaintsBesideTheViewport()
    {
        QSyntaxStyle scheme;
        QVERIFY(scheme.load(QStringLiteral("<style-scheme><style name='Text' background='#ffffff'/>"
                                           "<style name='LineNumber' foreground='#0000ff'/></style-scheme>")));
        QCodeEditor editor;
        editor.setSyntaxStyle(&scheme);
        QVERIFY(showLines(editor, 2));
        const QImage image = editor.findChild<QLineNumberArea *>()->grab().toImage();
        int inkRight = -1;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                if (image.pixelColor(x, y).name() != QLatin1String("#ffffff"))
                    inkRight = qMax(inkRight, x);
            }
        }
        const QFontMetrics metrics(editor.font());
        const auto bearing = [&metrics](char digit) {
            return metrics.boundingRect(QLatin1Char(digit)).right() - metrics.horizontalAdvance(QLatin1Char(digit));
        };
        QCOMPARE(inkRight, image.width() - 5 + qMax(bearing('1'), bearing('2')));
    }

private:
    void setText(const QString &textWithCursor)
    {
        editor->setPlainText(QString(textWithCursor).remove(QLatin1Char('|')));
        select(textWithCursor.indexOf(QLatin1Char('|')), textWithCursor.indexOf(QLatin1Char('|')));
    }
    QString textWithCursor() const { return shown(editor->toPlainText(), editor->textCursor().position()); }

    // Types characters; a name in angle brackets is one key of the table.
    void typeKeys(const QString &keys)
    {
        static const QHash<QString, QPair<Qt::Key, Qt::KeyboardModifiers>> named = {
            {"Return", {Qt::Key_Return, Qt::NoModifier}},        {"Enter", {Qt::Key_Enter, Qt::KeypadModifier}},
            {"Tab", {Qt::Key_Tab, Qt::NoModifier}},              {"Ctrl+Tab", {Qt::Key_Tab, Qt::ControlModifier}},
            {"Shift+Tab", {Qt::Key_Backtab, Qt::ShiftModifier}}, {"Backspace", {Qt::Key_Backspace, Qt::NoModifier}},
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
    void select(int from, int to)
    {
        QTextCursor selection(editor->document());
        selection.setPosition(from);
        selection.setPosition(to, QTextCursor::KeepAnchor);
        editor->setTextCursor(selection);
    }

    SettingsSandbox sandbox;
    QCodeEditor *editor = nullptr;
    QCompleter *completer = nullptr;
};

QTEST_MAIN(tst_QCodeEditor)
#include "tst_qcodeeditor.moc"
