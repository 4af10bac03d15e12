#include "highlighterprobe.h"
#include "qjsonhighlighter.h"
#include "testsupport.h"

#include <QTest>

class tst_QJSONHighlighter : public QObject
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

void tst_QJSONHighlighter::formats()
{
    QFETCH(QString, text);
    QFETCH(int, line);
    QFETCH(int, column);
    QFETCH(QString, style);

    HighlighterProbe<QJSONHighlighter> probe(text);
    QCOMPARE(probe.styleAt(line, column), style);
}

void tst_QJSONHighlighter::blockStates()
{
    QFETCH(QString, text);
    QFETCH(QList<int>, states);

    HighlighterProbe<QJSONHighlighter> probe(text);
    QCOMPARE(probe.states(), states);
}

void tst_QJSONHighlighter::formats_data()
{
    addColumns();

    QTest::newRow("key quote") << "{\"a\": \"b\"}" << 0 << 1 << "Keyword";
    QTest::newRow("key closing quote") << "{\"a\": \"b\"}" << 0 << 3 << "Keyword";
    QTest::newRow("colon") << "{\"a\": \"b\"}" << 0 << 4 << "";
    QTest::newRow("value") << "{\"a\": \"b\"}" << 0 << 7 << "String";
    QTest::newRow("string with a colon is no key") << "{\"x\": \"a:b\"}" << 0 << 7 << "String";
    QTest::newRow("number inside a key") << "{\"n1\": 5}" << 0 << 3 << "Keyword";
    QTest::newRow("number value") << "{\"n1\": 5}" << 0 << 7 << "Number";
    QTest::newRow("true") << "[true, \"true\", null, false]" << 0 << 1 << "Keyword";
    QTest::newRow("true inside a string") << "[true, \"true\", null, false]" << 0 << 8 << "String";
    QTest::newRow("null") << "[true, \"true\", null, false]" << 0 << 15 << "Keyword";
    QTest::newRow("false") << "[true, \"true\", null, false]" << 0 << 21 << "Keyword";
    QTest::newRow("key on a later line") << "{\n  \"k\" : 1.5\n}" << 1 << 2 << "Keyword";
    QTest::newRow("float on a later line") << "{\n  \"k\" : 1.5\n}" << 1 << 10 << "Number";
}

void tst_QJSONHighlighter::blockStates_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QList<int>>("states");

    QTest::newRow("never set") << "{\n\"a\": \"/*\",\n\"b\": 1\n}" << QList<int>{-1, -1, -1, -1};
}

QTEST_MAIN(tst_QJSONHighlighter)
#include "tst_qjsonhighlighter.moc"
