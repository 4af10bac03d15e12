#include "appresources.h"
#include "qglslcompleter.h"
#include "qlanguage.h"
#include "qluacompleter.h"
#include "qpythoncompleter.h"
#include "testsupport.h"

#include <QAbstractItemView>
#include <QFile>
#include <QLineEdit>
#include <QStringListModel>
#include <QTest>

#include <memory>

class tst_Completers : public QObject
{
    Q_OBJECT

private slots:
    void wordLists_data();
    void wordLists();
    void matchingIsCaseSensitive_data();
    void matchingIsCaseSensitive();
    void popupWrapsAround();

private:
    SettingsSandbox sandbox;
};

static QCompleter *makeCompleter(const QString &language, QObject *parent)
{
    if (language == QLatin1String("python"))
        return new QPythonCompleter(parent);
    if (language == QLatin1String("lua"))
        return new QLuaCompleter(parent);
    return new QGLSLCompleter(parent);
}

// What the completer must offer: all sections in name order, as they stand.
static QStringList resourceWords(const QString &language)
{
    initResources();
    QFile file(QStringLiteral(":/languages/%1.xml").arg(language));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QLanguage reader(&file);
    QStringList words;
    for (const QString &section : reader.sectionNames())
        words << reader.wordsOf(section);
    return words;
}

void tst_Completers::wordLists_data()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<int>("count");
    QTest::addColumn<QString>("first");
    QTest::addColumn<QString>("sample");

    QTest::newRow("python") << "python" << 30 << "min" << "True";
    QTest::newRow("lua") << "lua" << 41 << "break" << "\\+";
    QTest::newRow("glsl") << "glsl" << 345 << "radians" << "EndStreamPrimitive";
}

void tst_Completers::wordLists()
{
    QFETCH(QString, language);
    QFETCH(int, count);
    QFETCH(QString, first);
    QFETCH(QString, sample);

    QObject owner;
    QCompleter *completer = makeCompleter(language, &owner);
    QCOMPARE(completer->parent(), &owner);

    auto *model = qobject_cast<QStringListModel *>(completer->model());
    QVERIFY(model);
    QCOMPARE(model->parent(), completer);
    const QStringList words = model->stringList();
    QCOMPARE(words.size(), count);
    QCOMPARE(words.first(), first);
    QVERIFY(words.contains(sample));
    QCOMPARE(words, resourceWords(language));

    QCOMPARE(completer->completionColumn(), 0);
    QCOMPARE(completer->modelSorting(), QCompleter::CaseInsensitivelySortedModel);
    QCOMPARE(completer->caseSensitivity(), Qt::CaseSensitive);
    QVERIFY(completer->wrapAround());
}

void tst_Completers::matchingIsCaseSensitive_data()
{
    QTest::addColumn<QString>("prefix");
    QTest::addColumn<QString>("offered");

    QTest::newRow("Tr offers True") << "Tr" << "True";
    QTest::newRow("tr offers nothing") << "tr" << "";
    QTest::newRow("le offers len") << "le" << "len";
    QTest::newRow("LE offers nothing") << "LE" << "";
}

void tst_Completers::matchingIsCaseSensitive()
{
    QFETCH(QString, prefix);
    QFETCH(QString, offered);

    QPythonCompleter completer;
    completer.setCompletionPrefix(prefix);

    QStringList found;
    for (int row = 0; row < completer.completionModel()->rowCount(); ++row)
        found << completer.completionModel()->index(row, 0).data().toString();
    QCOMPARE(found, offered.isEmpty() ? QStringList() : QStringList{offered});
}

void tst_Completers::popupWrapsAround()
{
    QLineEdit edit;
    QPythonCompleter completer;
    completer.setWidget(&edit);
    edit.show();
    QVERIFY(QTest::qWaitForWindowExposed(&edit));

    completer.setCompletionPrefix(QStringLiteral("f"));
    completer.complete();
    QAbstractItemView *popup = completer.popup();
    QTRY_VERIFY(popup->isVisible());

    const int rows = completer.completionModel()->rowCount();
    QVERIFY(rows >= 2);
    popup->setCurrentIndex(completer.completionModel()->index(rows - 1, 0));
    // Past the last row the selection goes round, through "no row", to the
    // first; without wrap-around it would stay on the last.
    QTest::keyClick(popup, Qt::Key_Down);
    QVERIFY(!popup->currentIndex().isValid());
    QTest::keyClick(popup, Qt::Key_Down);
    QCOMPARE(popup->currentIndex().row(), 0);
}

QTEST_MAIN(tst_Completers)
#include "tst_completers.moc"
