#include "highlighterprobe.h"
#include "qpythonhighlighter.h"
#include "testsupport.h"

#include <QTest>

class tst_QPythonHighlighter : public QObject
{
    Q_OBJECT

private slots:
    void formats_data();
    void formats();
    void blockStates_data();
    void blockStates();
    void editsCarryStateToLaterLines();
    void styleChangeNeedsRehighlight();

private:
    SettingsSandbox sandbox;
};

void tst_QPythonHighlighter::formats_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("line");
    QTest::addColumn<int>("column");
    QTest::addColumn<QString>("style");

    // Words and calls.
    QTest::newRow("def keyword") << "def f(x):" << 0 << 0 << "Keyword";
    QTest::newRow("name behind def") << "def f(x):" << 0 << 4 << "Function";
    QTest::newRow("argument plain") << "def f(x):" << 0 << 6 << "";
    QTest::newRow("blank before bracket") << "foo (x)" << 0 << 0 << "";
    QTest::newRow("print call") << "print(x)" << 0 << 0 << "Function";
    QTest::newRow("qualifiers are Type") << "a.b.c(1)" << 0 << 2 << "Type";
    QTest::newRow("qualified call name") << "a.b.c(1)" << 0 << 4 << "Function";
    QTest::newRow("True") << "x = True" << 0 << 4 << "PrimitiveType";
    QTest::newRow("None plain") << "x = None" << 0 << 4 << "";
    QTest::newRow("keyword needs word bounds") << "formats = 1" << 0 << 0 << "";
    QTest::newRow("import keyword") << "import os" << 0 << 0 << "Keyword";
    QTest::newRow("imported name plain") << "import os" << 0 << 7 << "";
    QTest::newRow("elif not a keyword") << "elif x:" << 0 << 0 << "";
    QTest::newRow("listed function word") << "n = len" << 0 << 4 << "Function";
    QTest::newRow("keyword rule runs after calls") << "if(x)" << 0 << 0 << "Keyword";
    QTest::newRow("declared type not marked") << "int x = 5" << 0 << 4 << "";

    // Numbers.
    QTest::newRow("hex letters") << "x = 0xFF" << 0 << 4 << "";
    QTest::newRow("hex digits") << "x = 0x10" << 0 << 5 << "Number";
    QTest::newRow("float") << "3.14" << 0 << 3 << "Number";
    QTest::newRow("binary") << "0b101" << 0 << 1 << "Number";
    QTest::newRow("digit separator") << "1'000" << 0 << 4 << "Number";
    QTest::newRow("digits in a name") << "x1 = 2" << 0 << 1 << "";

    // Strings and comments.
    QTest::newRow("double quoted") << "s = \"a b\"" << 0 << 5 << "String";
    QTest::newRow("keyword in string") << "s = \"if\"" << 0 << 5 << "String";
    QTest::newRow("two single-quoted are one match") << "s = 'a' 'b'" << 0 << 7 << "String";
    QTest::newRow("single quotes around double") << "x = 'say \"hi\"'" << 0 << 5 << "";
    QTest::newRow("inner double quotes") << "x = 'say \"hi\"'" << 0 << 10 << "String";
    QTest::newRow("hash in string comments") << "s = \"a#b\"" << 0 << 8 << "Comment";
    QTest::newRow("string before hash") << "s = \"a#b\"" << 0 << 4 << "String";
    QTest::newRow("comment") << "x = 1 # note" << 0 << 8 << "Comment";
    QTest::newRow("number before comment") << "x = 1 # note" << 0 << 4 << "Number";
    QTest::newRow("keyword in comment") << "# for" << 0 << 2 << "Comment";

    // Triple quotes.
    QTest::newRow("doc string on one line") << "'''doc'''\nx = 1" << 0 << 3 << "String";
    QTest::newRow("after one-line doc string") << "'''doc'''\nx = 1" << 1 << 4 << "Number";
    QTest::newRow("block wins over keyword") << "x = '''start\nmiddle if\nend''' + 1" << 1 << 7 << "String";
    QTest::newRow("block start line") << "x = '''start\nmiddle if\nend''' + 1" << 0 << 7 << "String";
    QTest::newRow("before block start") << "x = '''start\nmiddle if\nend''' + 1" << 0 << 0 << "";
    QTest::newRow("closing line") << "x = '''start\nmiddle if\nend''' + 1" << 2 << 5 << "String";
    QTest::newRow("behind closing delimiter") << "x = '''start\nmiddle if\nend''' + 1" << 2 << 9 << "Number";
    QTest::newRow("closing at column 0 unseen") << "'''\n'''\nx = 1" << 2 << 4 << "String";
    QTest::newRow("indented closing seen") << "'''\n '''\nx = 1" << 2 << 4 << "Number";
    QTest::newRow("double triple quotes") << "\"\"\"\nif\n \"\"\"" << 1 << 0 << "String";
    QTest::newRow("rule order, not position") << "\"\"\" and '''" << 0 << 4 << "Keyword";
    QTest::newRow("span from the first rule's start") << "\"\"\" and '''" << 0 << 9 << "String";
    QTest::newRow("opened behind a comment sign") << "# '''\nx = 1" << 1 << 4 << "String";
    QTest::newRow("comment sign before block") << "# '''\nx = 1" << 0 << 0 << "Comment";
    QTest::newRow("empty line inside block") << "'''\n\nx = 1" << 2 << 0 << "String";
}

void tst_QPythonHighlighter::formats()
{
    QFETCH(QString, text);
    QFETCH(int, line);
    QFETCH(int, column);
    QFETCH(QString, style);

    HighlighterProbe<QPythonHighlighter> probe(text);
    QCOMPARE(probe.styleAt(line, column), style);
}

void tst_QPythonHighlighter::blockStates_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QList<int>>("states");

    QTest::newRow("no block") << "x = 1\ny = 2" << QList<int>{0, 0};
    QTest::newRow("open and close on one line") << "'''doc'''\nx" << QList<int>{0, 0};
    QTest::newRow("four quotes open and close") << "''''\nx" << QList<int>{0, 0};
    QTest::newRow("single quotes block") << "'''\na\n '''\nb" << QList<int>{1, 1, 0, 0};
    QTest::newRow("double quotes block") << "\"\"\"\na\n \"\"\"\nb" << QList<int>{2, 2, 0, 0};
    QTest::newRow("closing at column 0 unseen") << "'''\n'''\nx" << QList<int>{1, 1, 1};
    QTest::newRow("other delimiter doesn't close") << "\"\"\" and '''\n \"\"\" x\n ''' y"
                                                  << QList<int>{1, 1, 0};
    QTest::newRow("second opening unseen on its line") << "'''a''' \"\"\"b\nc" << QList<int>{0, 0};
    QTest::newRow("reopened by the same rule") << "'''a''' '''b\nc" << QList<int>{1, 1};
    QTest::newRow("behind a comment sign") << "# '''\nx" << QList<int>{1, 1};
    QTest::newRow("empty line keeps state") << "'''\n\n '''" << QList<int>{1, 1, 0};
}

void tst_QPythonHighlighter::blockStates()
{
    QFETCH(QString, text);
    QFETCH(QList<int>, states);

    HighlighterProbe<QPythonHighlighter> probe(text);
    QCOMPARE(probe.states(), states);
}

void tst_QPythonHighlighter::editsCarryStateToLaterLines()
{
    HighlighterProbe<QPythonHighlighter> probe(QStringLiteral("x = 1\ny = 2\n z = 3 '''"));
    QCOMPARE(probe.states(), QList<int>({0, 0, 1}));
    QCOMPARE(probe.styleAt(1, 4), QStringLiteral("Number"));

    QTextCursor cursor(&probe.document);
    cursor.insertText(QStringLiteral("'''"));
    QCOMPARE(probe.states(), QList<int>({1, 1, 0}));
    QCOMPARE(probe.styleAt(1, 4), QStringLiteral("String"));
    QCOMPARE(probe.styleAt(2, 4), QStringLiteral("String"));

    cursor.deletePreviousChar();
    QCOMPARE(probe.states(), QList<int>({0, 0, 1}));
    QCOMPARE(probe.styleAt(1, 4), QStringLiteral("Number"));
}

void tst_QPythonHighlighter::styleChangeNeedsRehighlight()
{
    HighlighterProbe<QPythonHighlighter> probe(QStringLiteral("def f():"));
    QCOMPARE(probe.highlighter.syntaxStyle(), probeScheme());

    QSyntaxStyle other;
    QVERIFY(other.load(QStringLiteral("<style-scheme><style name=\"Keyword\" bold=\"true\"/></style-scheme>")));
    probe.highlighter.setSyntaxStyle(&other);
    QCOMPARE(probe.styleAt(0, 0), QStringLiteral("Keyword"));

    probe.highlighter.rehighlight();
    QCOMPARE(probe.styleAt(0, 0), QStringLiteral("?"));
}

QTEST_MAIN(tst_QPythonHighlighter)
#include "tst_qpythonhighlighter.moc"
