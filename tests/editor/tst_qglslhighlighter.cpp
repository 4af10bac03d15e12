#include "highlighterprobe.h"
#include "qglslhighlighter.h"
#include "testsupport.h"

#include <QTest>

class tst_QGLSLHighlighter : public QObject
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

void tst_QGLSLHighlighter::formats()
{
    QFETCH(QString, text);
    QFETCH(int, line);
    QFETCH(int, column);
    QFETCH(QString, style);

    HighlighterProbe<QGLSLHighlighter> probe(text);
    QCOMPARE(probe.styleAt(line, column), style);
}

void tst_QGLSLHighlighter::blockStates()
{
    QFETCH(QString, text);
    QFETCH(QList<int>, states);

    HighlighterProbe<QGLSLHighlighter> probe(text);
    QCOMPARE(probe.states(), states);
}

void tst_QGLSLHighlighter::formats_data()
{
    addColumns();

    QTest::newRow("include directive") << "#include <lib.glsl>" << 0 << 1 << "Preprocessor";
    QTest::newRow("include path") << "#include <lib.glsl>" << 0 << 9 << "String";
    QTest::newRow("version directive") << "#version 330" << 0 << 3 << "Preprocessor";
    QTest::newRow("version number") << "#version 330" << 0 << 9 << "Number";

    QTest::newRow("primitive type") << "vec3 c = normalize(v);" << 0 << 0 << "PrimitiveType";
    QTest::newRow("builtin call") << "vec3 c = normalize(v);" << 0 << 9 << "Function";
    QTest::newRow("own function name") << "float shade(int a)" << 0 << 6 << "Function";
    QTest::newRow("type before own function") << "Light make(x)" << 0 << 0 << "Type";
    QTest::newRow("primitive before own function") << "float shade(int a)" << 0 << 0 << "PrimitiveType";
    QTest::newRow("declared type not marked") << "Light l;" << 0 << 0 << "";
    QTest::newRow("qualifier keyword") << "uniform float t;" << 0 << 0 << "Keyword";
    QTest::newRow("blank before bracket") << "shade (x)" << 0 << 0 << "";
    QTest::newRow("duplicated list entry") << "EndStreamPrimitive();" << 0 << 3 << "Function";

    QTest::newRow("no string rule") << "x = \"str\";" << 0 << 5 << "";
    QTest::newRow("float") << "x = 1.5;" << 0 << 6 << "Number";
    QTest::newRow("line comment") << "x = 1; // note" << 0 << 10 << "Comment";
    QTest::newRow("keyword in comment") << "// uniform" << 0 << 4 << "Comment";

    QTest::newRow("comment over lines, middle") << "/* a\nvec3 b\nc */ d" << 1 << 0 << "Comment";
    QTest::newRow("behind the comment end") << "/* a\nb\nc */ vec3" << 2 << 6 << "PrimitiveType";
    QTest::newRow("slash star slash") << "/*/ 1" << 0 << 4 << "Number";
}

void tst_QGLSLHighlighter::blockStates_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QList<int>>("states");

    QTest::newRow("no comment") << "float a;\nfloat b;" << QList<int>{0, 0};
    QTest::newRow("comment over lines") << "/* a\nb\nc */ d\ne" << QList<int>{1, 1, 0, 0};
    QTest::newRow("closing at column 0") << "/*\n*/\nx" << QList<int>{1, 0, 0};
    QTest::newRow("slash star slash closes") << "/*/\nx" << QList<int>{0, 0};
}

QTEST_MAIN(tst_QGLSLHighlighter)
#include "tst_qglslhighlighter.moc"
