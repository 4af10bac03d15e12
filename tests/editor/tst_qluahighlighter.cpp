#include "highlighterprobe.h"
#include "qluahighlighter.h"
#include "testsupport.h"

#include <QTest>

class tst_QLuaHighlighter : public QObject
{
    Q_OBJECT

private slots:
    void formats_data();
    void formats();
    void blockStates_data();
    void blockStates();

private:
    SettingsSandbox sandbox;
};

static void addColumns()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("line");
    QTest::addColumn<int>("column");
    QTest::addColumn<QString>("style");
}

void tst_QLuaHighlighter::formats()
{
    QFETCH(QString, text);
    QFETCH(int, line);
    QFETCH(int, column);
    QFETCH(QString, style);

    HighlighterProbe<QLuaHighlighter> probe(text);
    QCOMPARE(probe.styleAt(line, column), style);
}

void tst_QLuaHighlighter::blockStates()
{
    QFETCH(QString, text);
    QFETCH(QList<int>, states);

    HighlighterProbe<QLuaHighlighter> probe(text);
    QCOMPARE(probe.states(), states);
}

void tst_QLuaHighlighter::formats_data()
{
    addColumns();

    QTest::newRow("local") << "local x = 1" << 0 << 0 << "Type";
    QTest::newRow("blank behind a word") << "local x = 1" << 0 << 5 << "Type";
    QTest::newRow("number") << "local x = 1" << 0 << 10 << "Number";
    QTest::newRow("keyword") << "if a == b then" << 0 << 0 << "Keyword";
    QTest::newRow("comparison operator") << "if a == b then" << 0 << 5 << "Operator";
    QTest::newRow("blank before operator") << "if a == b then" << 0 << 4 << "Operator";
    QTest::newRow("escaped operator") << "a = b + c" << 0 << 6 << "Operator";
    QTest::newRow("concatenation") << "x = 10 .. y" << 0 << 8 << "Operator";
    QTest::newRow("function is a Type") << "function f(x)" << 0 << 0 << "Type";
    QTest::newRow("blank behind function") << "function f(x)" << 0 << 8 << "Type";
    QTest::newRow("defined name") << "function f(x)" << 0 << 9 << "Function";
    QTest::newRow("call") << "print(\"hi\")" << 0 << 0 << "Function";
    QTest::newRow("double quoted") << "print(\"hi\")" << 0 << 7 << "String";
    QTest::newRow("single quoted") << "s = 'it'" << 0 << 5 << "String";
    QTest::newRow("require") << "require \"mod\"" << 0 << 2 << "Preprocessor";
    QTest::newRow("required name") << "require \"mod\"" << 0 << 9 << "String";
    QTest::newRow("require as a call") << "require(\"mod\")" << 0 << 0 << "Function";
    QTest::newRow("shebang") << "#!lua" << 0 << 3 << "Preprocessor";
    QTest::newRow("line comment") << "x = 1 -- note" << 0 << 9 << "Comment";
    QTest::newRow("declared type") << "Vec vv = 1" << 0 << 0 << "Type";
    QTest::newRow("declared name of one letter") << "Vec v = 1" << 0 << 0 << "";

    QTest::newRow("comment block, first") << "--[[ a\nif b\n--]] c" << 0 << 5 << "Comment";
    QTest::newRow("comment block, middle") << "--[[ a\nif b\n--]] c" << 1 << 0 << "Comment";
    QTest::newRow("comment block, closing at column 0") << "--[[ a\nb\n--]]\nx = 1" << 3 << 4 << "Number";
    QTest::newRow("string block") << "x = [[\nif\n]] y" << 1 << 0 << "String";
    QTest::newRow("before string block") << "x = [[\nif\n]] y" << 0 << 0 << "";
    QTest::newRow("string block closing at column 0") << "x = [[\n]] 5" << 1 << 0 << "String";
    QTest::newRow("behind string block") << "x = [[\n]] 5" << 1 << 3 << "Number";
    QTest::newRow("comment rule tried first") << "--[[ a ]] b\nc" << 1 << 0 << "Comment";
}

void tst_QLuaHighlighter::blockStates_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QList<int>>("states");

    QTest::newRow("no block") << "a = 1\nb = 2" << QList<int>{0, 0};
    QTest::newRow("comment block") << "--[[ a\nb\n--]] c\nd" << QList<int>{1, 1, 0, 0};
    QTest::newRow("string block") << "x = [[\ny\n]]\nz" << QList<int>{2, 2, 0, 0};
    QTest::newRow("comment start holds a string start") << "--[[ a ]] b\nc" << QList<int>{1, 1};
    QTest::newRow("string end doesn't close a comment") << "--[[\n]]\n--]]" << QList<int>{1, 1, 0};
    QTest::newRow("reopened by the same rule") << "[[a]] [[b\nc" << QList<int>{2, 2};
    QTest::newRow("open and close on one line") << "s = [[a]]\nt" << QList<int>{0, 0};
}

QTEST_MAIN(tst_QLuaHighlighter)
#include "tst_qluahighlighter.moc"
