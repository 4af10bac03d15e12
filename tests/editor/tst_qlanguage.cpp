#include "appresources.h"
#include "qglslcompleter.h"
#include "qlanguage.h"
#include "qluacompleter.h"
#include "qpythoncompleter.h"
#include "testsupport.h"

#include <QBuffer>
#include <QCryptographicHash>
#include <QFile>
#include <QStringListModel>
#include <QTest>

// A word list as it is read: sections in name order, each with its words in document order.
using Sections = QList<QPair<QString, QStringList>>;
Q_DECLARE_METATYPE(Sections)

// Names are asked for first, as asking for a section's words enters it.
static Sections sectionsOf(QLanguage &language)
{
    Sections sections;
    for (const QString &name : language.sectionNames())
        sections.append({name, language.wordsOf(name)});
    return sections;
}

// "Section: words", or for a long section "Section: N words, md5 of them joined by blanks".
static QStringList describe(const Sections &sections)
{
    QStringList lines;
    for (const auto &section : sections) {
        const QString words = section.second.join(QLatin1Char(' '));
        const QString md5 = QCryptographicHash::hash(words.toUtf8(), QCryptographicHash::Md5).toHex();
        lines << section.first + QStringLiteral(": ")
                     + (section.second.size() <= 20 ? words : QStringLiteral("%1 words, md5 %2").arg(section.second.size()).arg(md5));
    }
    return lines;
}

class tst_QLanguage : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { initResources(); }
    void shippedLists_data();
    void shippedLists();
    void documents_data();
    void documents();

private:
    SettingsSandbox sandbox;
};

void tst_QLanguage::shippedLists_data()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<QCompleter *>("completer");
    QTest::addColumn<QStringList>("sections");
    auto *owner = new QObject(this);
    // The oddities are meant: Python lacks elif, None and the like but has "do" and "enumerate"; C++ has
    // "register(2)"; GLSL repeats "EndStreamPrimitive" and has a second "sampler1D" where isampler1D would be.
    QTest::newRow("python") << "python" << static_cast<QCompleter *>(new QPythonCompleter(owner))
        << QStringList{"Function: min max len",
                       "Keyword: break continue do for while if else def import return class in is not or and enumerate",
                       "PrimitiveType: float int bool True False str unicode byte set dict"};
    // Lua's operators are escaped patterns, and entities arrive decoded.
    QTest::newRow("lua") << "lua" << static_cast<QCompleter *>(new QLuaCompleter(owner))
        << QStringList{"Keyword: break do else elseif end false for function if in repeat return then until while",
                       R"(Operator: \+ \- \* \/ \% \^ == ~= > < >= <= and or not \.\. \#)",
                       "Type: local nil boolean number string function userdata thread table"};
    QTest::newRow("glsl") << "glsl" << static_cast<QCompleter *>(new QGLSLCompleter(owner))
        << QStringList{"Function: 183 words, md5 5cc557324b987e1fcad83071feadf996",
                       "Keyword: 41 words, md5 2459bb9388e2b611b29d198167d397c7",
                       "PrimitiveType: 121 words, md5 c9d303c7bfdc0e68bafa2d3d7bcce3a3"};
    QTest::newRow("cpp") << "cpp" << static_cast<QCompleter *>(nullptr)
        << QStringList{"Keyword: 83 words, md5 9c7d455f7370caf4604ea3ea22101d80",
                       "PrimitiveType: bool char char16_t char32_t double float int long short signed unsigned void wchar_t"};
}

// Sections come back sorted by name; a completer offers all their words in that order, duplicates kept.
void tst_QLanguage::shippedLists()
{
    QFETCH(QString, language);
    QFETCH(QCompleter *, completer);
    QFETCH(QStringList, sections);
    QFile file(QStringLiteral(":/languages/%1.xml").arg(language));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QLanguage reader(&file);
    QVERIFY(reader.isLoaded());
    const Sections read = sectionsOf(reader);
    QCOMPARE(describe(read), sections);
    if (!completer)
        return;
    QStringList words;
    for (const auto &section : read)
        words << section.second;
    auto *model = qobject_cast<QStringListModel *>(completer->model());
    QVERIFY(model && model->parent() == completer);
    QCOMPARE(model->stringList(), words);
    QCOMPARE(completer->modelSorting(), QCompleter::CaseInsensitivelySortedModel);
    QCOMPARE(completer->caseSensitivity(), Qt::CaseSensitive);
}

void tst_QLanguage::documents_data()
{
    QTest::addColumn<QString>("document");
    QTest::addColumn<bool>("loaded");
    QTest::addColumn<Sections>("sections");
    const auto row = [](const char *name, const char *document, bool loaded, const Sections &sections) {
        QTest::newRow(name) << QStringLiteral("<root>%1").arg(QLatin1String(document)) << loaded << sections;
    };
    row("sorted sections", "<section name='b'><name>x</name></section><section name='a'><name>y</name>"
        "<name>z</name></section></root>", true, {{"a", {"y", "z"}}, {"b", {"x"}}});
    row("broken halfway keeps finished sections", "<section name='A'><name>one</name></section><section name='B'>"
        "<name>two</name><name", false, {{"A", {"one"}}, {"B", {"two"}}});
    QTest::newRow("empty document") << QString() << false << Sections{};
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
}

QTEST_MAIN(tst_QLanguage)
#include "tst_qlanguage.moc"
