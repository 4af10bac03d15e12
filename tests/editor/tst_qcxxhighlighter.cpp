#include "highlighterprobe.h"
#include "qcxxhighlighter.h"
#include "testsupport.h"

#include <QTest>

class tst_QCXXHighlighter : public QObject
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

void tst_QCXXHighlighter::formats()
{
    QFETCH(QString, text);
    QFETCH(int, line);
    QFETCH(int, column);
    QFETCH(QString, style);

    HighlighterProbe<QCXXHighlighter> probe(text);
    QCOMPARE(probe.styleAt(line, column), style);
}

void tst_QCXXHighlighter::blockStates()
{
    QFETCH(QString, text);
    QFETCH(QList<int>, states);

    HighlighterProbe<QCXXHighlighter> probe(text);
    QCOMPARE(probe.states(), states);
}

void tst_QCXXHighlighter::formats_data()
{
    addColumns();

    QTest::newRow("include directive") << "#include <a.h>" << 0 << 2 << "Preprocessor";
    QTest::newRow("include path bracket") << "#include <a.h>" << 0 << 9 << "String";
    QTest::newRow("include path end") << "#include <a.h>" << 0 << 13 << "String";
    QTest::newRow("include blank") << "#include <a.h>" << 0 << 8 << "Preprocessor";
    QTest::newRow("quoted include") << "  # include \"b.h\"" << 0 << 12 << "String";
    QTest::newRow("other directive") << "#define X 1" << 0 << 1 << "Preprocessor";
    QTest::newRow("directive argument") << "#define X 1" << 0 << 8 << "";

    QTest::newRow("return type of a call") << "Widget make(1);" << 0 << 0 << "Type";
    QTest::newRow("called name") << "Widget make(1);" << 0 << 7 << "Function";
    QTest::newRow("qualified call start") << "std::sort(v);" << 0 << 0 << "Function";
    QTest::newRow("qualified call name") << "std::sort(v);" << 0 << 5 << "Function";
    QTest::newRow("declared class type") << "Widget x;" << 0 << 0 << "Type";
    QTest::newRow("declared name plain") << "Widget x;" << 0 << 7 << "";
    QTest::newRow("primitive over declared") << "int x = 5;" << 0 << 0 << "PrimitiveType";
    QTest::newRow("keyword") << "return x;" << 0 << 0 << "Keyword";
    QTest::newRow("register(2) matches register2") << "register2 r;" << 0 << 0 << "Keyword";
    QTest::newRow("register(2) misses register") << "register int r;" << 0 << 0 << "";

    QTest::newRow("decimal") << "x = 42;" << 0 << 4 << "Number";
    QTest::newRow("hex with letters") << "x = 0x1F;" << 0 << 7 << "Number";
    QTest::newRow("separators and suffix") << "x = 1'000'000ul;" << 0 << 14 << "Number";
    QTest::newRow("float suffix") << "x = 3.14f;" << 0 << 8 << "Number";
    QTest::newRow("exponent") << "x = 1e10;" << 0 << 6 << "Number";
    QTest::newRow("binary") << "x = 0b1010;" << 0 << 5 << "Number";
    QTest::newRow("digits in a name") << "x2 = 1;" << 0 << 1 << "";

    QTest::newRow("string") << "s = \"a b\";" << 0 << 6 << "String";
    QTest::newRow("keyword in string") << "s = \"for\";" << 0 << 6 << "String";
    QTest::newRow("line comment") << "x = 1; // note" << 0 << 10 << "Comment";
    QTest::newRow("comment opened in a string") << "s = \"a /* b\";" << 0 << 12 << "Comment";
    QTest::newRow("string before that comment") << "s = \"a /* b\";" << 0 << 4 << "String";

    QTest::newRow("comment over lines, first") << "a /* b\nc\nd */ e" << 0 << 3 << "Comment";
    QTest::newRow("comment over lines, before") << "a /* b\nc\nd */ e" << 0 << 0 << "";
    QTest::newRow("comment over lines, middle") << "a /* b\nint c\nd */ e" << 1 << 0 << "Comment";
    QTest::newRow("comment over lines, last") << "a /* b\nc\nd */ e" << 2 << 3 << "Comment";
    QTest::newRow("behind the comment end") << "a /* b\nc\nd */ int" << 2 << 6 << "PrimitiveType";
    QTest::newRow("closing at column 0") << "/*\n*/ x" << 1 << 0 << "Comment";
    QTest::newRow("behind closing at column 0") << "/*\n*/ 1" << 1 << 3 << "Number";
    QTest::newRow("slash star slash") << "/*/ 1" << 0 << 4 << "Number";
    QTest::newRow("second comment on a line") << "/* a */ b /* c" << 0 << 8 << "";
}

void tst_QCXXHighlighter::blockStates_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QList<int>>("states");

    QTest::newRow("no comment") << "int a;\nint b;" << QList<int>{0, 0};
    QTest::newRow("comment over lines") << "a /* b\nc\nd */ e\nf" << QList<int>{1, 1, 0, 0};
    QTest::newRow("closing at column 0") << "/*\n*/\nx" << QList<int>{1, 0, 0};
    QTest::newRow("slash star slash closes") << "/*/\nx" << QList<int>{0, 0};
    QTest::newRow("reopened on the closing line") << "/* a */ b /* c\nd" << QList<int>{1, 1};
    QTest::newRow("line comment doesn't hide an opening") << "// /*\nx" << QList<int>{1, 1};
}

QTEST_MAIN(tst_QCXXHighlighter)
#include "tst_qcxxhighlighter.moc"
