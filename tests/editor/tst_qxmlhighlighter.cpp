#include "highlighterprobe.h"
#include "qxmlhighlighter.h"
#include "testsupport.h"

#include <QTest>

class tst_QXMLHighlighter : public QObject
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

void tst_QXMLHighlighter::formats()
{
    QFETCH(QString, text);
    QFETCH(int, line);
    QFETCH(int, column);
    QFETCH(QString, style);

    HighlighterProbe<QXMLHighlighter> probe(text);
    QCOMPARE(probe.styleAt(line, column), style);
}

void tst_QXMLHighlighter::blockStates()
{
    QFETCH(QString, text);
    QFETCH(QList<int>, states);

    HighlighterProbe<QXMLHighlighter> probe(text);
    QCOMPARE(probe.states(), states);
}

void tst_QXMLHighlighter::formats_data()
{
    addColumns();

    QTest::newRow("element opening") << "<tag attr=\"v\">" << 0 << 0 << "Keyword";
    QTest::newRow("element name") << "<tag attr=\"v\">" << 0 << 2 << "Keyword";
    QTest::newRow("attribute name") << "<tag attr=\"v\">" << 0 << 5 << "Text";
    QTest::newRow("equals sign") << "<tag attr=\"v\">" << 0 << 9 << "";
    QTest::newRow("value") << "<tag attr=\"v\">" << 0 << 11 << "String";
    QTest::newRow("closing bracket") << "<tag attr=\"v\">" << 0 << 13 << "Keyword";
    QTest::newRow("value needs a separator behind") << "<a x=\"v\"y>" << 0 << 6 << "";
    QTest::newRow("value before a slash") << "<a x=\"v\"/>" << 0 << 6 << "String";
    QTest::newRow("value before question mark") << "<?xml version=\"1.0\"?>" << 0 << 16 << "String";
    QTest::newRow("declaration opening") << "<?xml version=\"1.0\"?>" << 0 << 1 << "Keyword";
    QTest::newRow("declaration closing") << "<?xml version=\"1.0\"?>" << 0 << 19 << "Keyword";
    QTest::newRow("end tag") << "</tag>" << 0 << 1 << "Keyword";
    QTest::newRow("end tag name") << "</tag>" << 0 << 3 << "Keyword";
    QTest::newRow("empty element end") << "<br/>" << 0 << 3 << "Keyword";
    QTest::newRow("character data") << "<a>text</a>" << 0 << 4 << "";

    QTest::newRow("comment") << "<!-- <b attr=\"x\" > -->" << 0 << 8 << "Comment";
    QTest::newRow("value inside a comment") << "<!-- <b attr=\"x\" > -->" << 0 << 14 << "String";
    QTest::newRow("comment over lines") << "<!-- a\n<b>\nc --> <d>" << 1 << 1 << "Comment";
    QTest::newRow("behind comment end") << "<!-- a\nb\nc --> <d>" << 2 << 7 << "Keyword";
    QTest::newRow("comment end itself") << "<!-- a\nb\nc --> <d>" << 2 << 4 << "Comment";
}

void tst_QXMLHighlighter::blockStates_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QList<int>>("states");

    QTest::newRow("no comment") << "<a>\n</a>" << QList<int>{0, 0};
    QTest::newRow("comment over lines") << "<!-- a\nb\nc --> <d>\n<e/>" << QList<int>{1, 1, 0, 0};
    QTest::newRow("comment on one line") << "<!-- a -->\n<b/>" << QList<int>{0, 0};
    QTest::newRow("closing at column 0") << "<!--\n-->\nx" << QList<int>{1, 0, 0};
}

QTEST_MAIN(tst_QXMLHighlighter)
#include "tst_qxmlhighlighter.moc"
