#include "appresources.h"
#include "qglslcompleter.h"
#include "qlanguage.h"
#include "qluacompleter.h"
#include "qpythoncompleter.h"
#include "testsupport.h"
#include "wordlists.h"

#include <QBuffer>
#include <QFile>
#include <QStringListModel>
#include <QTest>

Q_DECLARE_METATYPE(Sections)

// Names are asked for first, as asking for a section's words enters it.
static Sections sectionsOf(QLanguage &language)
{
    Sections sections;
    for (const QString &name : language.sectionNames())
        sections.append({name, language.wordsOf(name)});
    return sections;
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
    auto *owner = new QObject(this);
    QTest::newRow("python") << "python" << static_cast<QCompleter *>(new QPythonCompleter(owner));
    QTest::newRow("lua") << "lua" << static_cast<QCompleter *>(new QLuaCompleter(owner));
    QTest::newRow("glsl") << "glsl" << static_cast<QCompleter *>(new QGLSLCompleter(owner));
    QTest::newRow("cpp") << "cpp" << static_cast<QCompleter *>(nullptr);
}

// Sections come back sorted by name; a completer offers all their words in that order, duplicates kept.
void tst_QLanguage::shippedLists()
{
    QFETCH(QString, language);
    QFETCH(QCompleter *, completer);
    QFile file(QStringLiteral(":/languages/%1.xml").arg(language));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QLanguage reader(&file);
    QVERIFY(reader.isLoaded());
    QCOMPARE(sectionsOf(reader), shippedWordLists(language));
    if (!completer)
        return;
    QStringList words;
    for (const auto &section : shippedWordLists(language))
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
