#include "appresources.h"
#include "qlanguage.h"
#include "testsupport.h"
#include "wordlists.h"

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
    void documents_data();
    void documents();
    void nullDevice();

private:
    SettingsSandbox sandbox;
};

Q_DECLARE_METATYPE(Sections)

namespace QTest {
// So that a failed comparison of sections shows their words.
template<> inline char *toString(const QStringList &words)
{
    return qstrdup(qPrintable(words.join(QLatin1Char(' '))));
}
} // namespace QTest

// All sections with their words. Names are asked for first, as asking for a
// section's words enters it.
static Sections sectionsOf(QLanguage &language)
{
    Sections sections;
    for (const QString &name : language.sectionNames())
        sections.append({name, language.wordsOf(name)});
    return sections;
}

void tst_QLanguage::initTestCase()
{
    initResources();
}

void tst_QLanguage::resources_data()
{
    QTest::addColumn<QString>("language");

    for (const char *language : {"python", "lua", "cpp", "glsl"})
        QTest::newRow(language) << language;
}

void tst_QLanguage::resources()
{
    QFETCH(QString, language);

    QFile file(QStringLiteral(":/languages/%1.xml").arg(language));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QLanguage reader(&file);
    QVERIFY(reader.isLoaded());

    // Sections come back sorted by name, not in document order.
    QCOMPARE(sectionsOf(reader), shippedWordLists(language));
}

void tst_QLanguage::documents_data()
{
    QTest::addColumn<QString>("document");
    QTest::addColumn<bool>("loaded");
    QTest::addColumn<Sections>("sections");

    QTest::newRow("sorted sections") << "<root><section name='b'><name>x</name></section>"
                                        "<section name='a'><name>y</name><name>z</name></section></root>"
                                     << true << Sections{{"a", {"y", "z"}}, {"b", {"x"}}};
    QTest::newRow("entities decoded") << "<root><section name='Op'><name>&gt;=</name><name>&lt;</name>"
                                         "<name>a&amp;b</name></section></root>"
                                      << true << Sections{{"Op", {">=", "<", "a&b"}}};
    QTest::newRow("empty section left out") << "<root><section name='Empty'></section>"
                                               "<section name='Full'><name>w</name></section></root>"
                                            << true << Sections{{"Full", {"w"}}};
    QTest::newRow("repeated section replaces")
        << "<root><section name='S'><name>old</name></section><section name='S'><name>new</name></section></root>"
        << true << Sections{{"S", {"new"}}};
    QTest::newRow("words kept as written")
        << "<root><section name='S'><name>b</name><name>a</name><name>b</name><name> pad </name></section></root>"
        << true << Sections{{"S", {"b", "a", "b", " pad "}}};
    QTest::newRow("root name not looked at") << "<anything><section name='S'><name>w</name></section></anything>"
                                             << true << Sections{{"S", {"w"}}};
    QTest::newRow("other elements ignored")
        << "<root><section name='S'><word>skip</word><name>w</name></section></root>" << true
        << Sections{{"S", {"w"}}};
    QTest::newRow("broken halfway keeps finished sections")
        << "<root><section name='A'><name>one</name></section><section name='B'><name>two</name><name"
        << false << Sections{{"A", {"one"}}, {"B", {"two"}}};
    QTest::newRow("mismatched tag") << "<root><section name='A'><name>one</name></section></rot>" << false
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

    QCOMPARE(sectionsOf(language), sections);

    // An unknown section comes back empty, and stays.
    QVERIFY(language.wordsOf(QStringLiteral("~unknown")).isEmpty());
    QCOMPARE(sectionsOf(language), sections << qMakePair(QStringLiteral("~unknown"), QStringList()));
}

void tst_QLanguage::nullDevice()
{
    QLanguage empty(nullptr);
    QVERIFY(!empty.isLoaded());
    QVERIFY(empty.sectionNames().isEmpty());

    // A null device leaves the flag and the table alone.
    QByteArray bytes("<root><section name='K'><name>w</name></section></root>");
    QBuffer buffer(&bytes);
    QVERIFY(buffer.open(QIODevice::ReadOnly));
    QLanguage language(&buffer);
    QVERIFY(!language.load(nullptr));
    QVERIFY(language.isLoaded());
    QCOMPARE(language.wordsOf(QStringLiteral("K")), QStringList{"w"});
}

QTEST_GUILESS_MAIN(tst_QLanguage)
#include "tst_qlanguage.moc"
