#include "appresources.h"
#include "qlanguage.h"
#include "testsupport.h"

#include <QBuffer>
#include <QFile>
#include <QTest>

class tst_QLanguage : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void resources_data();
    void resources();
    void resourceQuirks();
    void documents_data();
    void documents();
    void wordsOfUnknownSectionEntersIt();
    void nullDevice();

private:
    SettingsSandbox sandbox;
};

using Sections = QList<QPair<QString, QStringList>>;
Q_DECLARE_METATYPE(Sections)

void tst_QLanguage::initTestCase()
{
    initResources();
}

void tst_QLanguage::resources_data()
{
    QTest::addColumn<QString>("resource");
    QTest::addColumn<QStringList>("sections");
    QTest::addColumn<QList<int>>("counts");
    QTest::addColumn<QStringList>("firstWords");
    QTest::addColumn<QStringList>("lastWords");

    // Sections come back sorted by name, not in document order.
    QTest::newRow("python") << ":/languages/python.xml" << QStringList{"Function", "Keyword", "PrimitiveType"}
                            << QList<int>{3, 17, 10} << QStringList{"min", "break", "float"}
                            << QStringList{"len", "enumerate", "dict"};
    QTest::newRow("lua") << ":/languages/lua.xml" << QStringList{"Keyword", "Operator", "Type"}
                         << QList<int>{15, 17, 9} << QStringList{"break", "\\+", "local"}
                         << QStringList{"while", "\\#", "table"};
    QTest::newRow("cpp") << ":/languages/cpp.xml" << QStringList{"Keyword", "PrimitiveType"} << QList<int>{83, 13}
                         << QStringList{"alignas", "bool"} << QStringList{"xor_eq", "wchar_t"};
    QTest::newRow("glsl") << ":/languages/glsl.xml" << QStringList{"Function", "Keyword", "PrimitiveType"}
                          << QList<int>{183, 41, 121} << QStringList{"radians", "attribute", "float"}
                          << QStringList{"groupMemoryBarrier", "struct", "uimage2DMSArray"};
}

void tst_QLanguage::resources()
{
    QFETCH(QString, resource);
    QFETCH(QStringList, sections);
    QFETCH(QList<int>, counts);
    QFETCH(QStringList, firstWords);
    QFETCH(QStringList, lastWords);

    QFile file(resource);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QLanguage language(&file);
    QVERIFY(language.isLoaded());
    QCOMPARE(language.sectionNames(), sections);

    for (int i = 0; i < sections.size(); ++i) {
        const QStringList words = language.wordsOf(sections.at(i));
        QCOMPARE(words.size(), counts.at(i));
        QCOMPARE(words.first(), firstWords.at(i));
        QCOMPARE(words.last(), lastWords.at(i));
        for (const QString &word : words)
            QVERIFY2(!word.trimmed().isEmpty() && word == word.trimmed(), qPrintable(word));
    }
}

static QStringList wordsIn(const QString &resource, const QString &section)
{
    QFile file(resource);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QLanguage language(&file);
    return language.wordsOf(section);
}

void tst_QLanguage::resourceQuirks()
{
    QCOMPARE(wordsIn(QStringLiteral(":/languages/python.xml"), QStringLiteral("Keyword")),
             QStringList({"break", "continue", "do", "for", "while", "if", "else", "def", "import", "return",
                          "class", "in", "is", "not", "or", "and", "enumerate"}));
    QCOMPARE(wordsIn(QStringLiteral(":/languages/python.xml"), QStringLiteral("PrimitiveType")),
             QStringList({"float", "int", "bool", "True", "False", "str", "unicode", "byte", "set", "dict"}));
    QCOMPARE(wordsIn(QStringLiteral(":/languages/lua.xml"), QStringLiteral("Operator")),
             QStringList({"\\+", "\\-", "\\*", "\\/", "\\%", "\\^", "==", "~=", ">", "<", ">=", "<=", "and", "or",
                          "not", "\\.\\.", "\\#"}));

    const QStringList cppKeywords = wordsIn(QStringLiteral(":/languages/cpp.xml"), QStringLiteral("Keyword"));
    QVERIFY(cppKeywords.contains(QStringLiteral("register(2)")));
    QVERIFY(!cppKeywords.contains(QStringLiteral("register")));

    const QStringList glslFunctions = wordsIn(QStringLiteral(":/languages/glsl.xml"), QStringLiteral("Function"));
    QCOMPARE(glslFunctions.count(QStringLiteral("EndStreamPrimitive")), 3);
    const QStringList glslTypes = wordsIn(QStringLiteral(":/languages/glsl.xml"), QStringLiteral("PrimitiveType"));
    QCOMPARE(glslTypes.count(QStringLiteral("sampler1D")), 2);
    QVERIFY(!glslTypes.contains(QStringLiteral("isampler1D")));
}

void tst_QLanguage::documents_data()
{
    QTest::addColumn<QString>("document");
    QTest::addColumn<bool>("loaded");
    QTest::addColumn<Sections>("sections");

    QTest::newRow("sorted sections") << "<root><section name=\"b\"><name>x</name></section>"
                                        "<section name=\"a\"><name>y</name><name>z</name></section></root>"
                                     << true << Sections{{"a", {"y", "z"}}, {"b", {"x"}}};
    QTest::newRow("entities decoded") << "<root><section name=\"Op\"><name>&gt;=</name><name>&lt;</name>"
                                         "<name>a&amp;b</name></section></root>"
                                      << true << Sections{{"Op", {">=", "<", "a&b"}}};
    QTest::newRow("empty section left out") << "<root><section name=\"Empty\"></section>"
                                               "<section name=\"Full\"><name>w</name></section></root>"
                                            << true << Sections{{"Full", {"w"}}};
    QTest::newRow("repeated section replaces")
        << "<root><section name=\"S\"><name>old</name></section><section name=\"S\"><name>new</name></section></root>"
        << true << Sections{{"S", {"new"}}};
    QTest::newRow("words kept as written")
        << "<root><section name=\"S\"><name>b</name><name>a</name><name>b</name><name> pad </name></section></root>"
        << true << Sections{{"S", {"b", "a", "b", " pad "}}};
    QTest::newRow("root name not looked at") << "<anything><section name=\"S\"><name>w</name></section></anything>"
                                             << true << Sections{{"S", {"w"}}};
    QTest::newRow("other elements ignored")
        << "<root><section name=\"S\"><word>skip</word><name>w</name></section></root>" << true
        << Sections{{"S", {"w"}}};
    QTest::newRow("broken halfway keeps finished sections")
        << "<root><section name=\"A\"><name>one</name></section><section name=\"B\"><name>two</name><name"
        << false << Sections{{"A", {"one"}}, {"B", {"two"}}};
    QTest::newRow("mismatched tag") << "<root><section name=\"A\"><name>one</name></section></rot>" << false
                                    << Sections{{"A", {"one"}}};
    QTest::newRow("empty document") << "" << false << Sections{};
}

void tst_QLanguage::documents()
{
    QFETCH(QString, document);
    QFETCH(bool, loaded);
    QFETCH(Sections, sections);

    QByteArray bytes = document.toUtf8();
    QBuffer buffer(&bytes);
    QVERIFY(buffer.open(QIODevice::ReadOnly));

    QLanguage language(&buffer);
    QCOMPARE(language.isLoaded(), loaded);

    QStringList names;
    for (const auto &section : sections)
        names << section.first;
    QCOMPARE(language.sectionNames(), names);
    for (const auto &section : sections)
        QCOMPARE(language.wordsOf(section.first), section.second);
}

void tst_QLanguage::wordsOfUnknownSectionEntersIt()
{
    QByteArray bytes("<root><section name=\"K\"><name>w</name></section></root>");
    QBuffer buffer(&bytes);
    QVERIFY(buffer.open(QIODevice::ReadOnly));
    QLanguage language(&buffer);

    QVERIFY(language.wordsOf(QStringLiteral("Missing")).isEmpty());
    QCOMPARE(language.sectionNames(), QStringList({"K", "Missing"}));
}

void tst_QLanguage::nullDevice()
{
    QLanguage empty(nullptr);
    QVERIFY(!empty.isLoaded());
    QVERIFY(empty.sectionNames().isEmpty());

    QByteArray bytes("<root><section name=\"K\"><name>w</name></section></root>");
    QBuffer buffer(&bytes);
    QVERIFY(buffer.open(QIODevice::ReadOnly));
    QLanguage language(&buffer);
    QVERIFY(language.isLoaded());
    // A null device leaves the flag and the table alone.
    QVERIFY(!language.load(nullptr));
    QVERIFY(language.isLoaded());
    QCOMPARE(language.wordsOf(QStringLiteral("K")), QStringList{"w"});
}

QTEST_GUILESS_MAIN(tst_QLanguage)
#include "tst_qlanguage.moc"
