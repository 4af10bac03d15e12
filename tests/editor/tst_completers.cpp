#include "qglslcompleter.h"
#include "qluacompleter.h"
#include "qpythoncompleter.h"
#include "testsupport.h"
#include "wordlists.h"

#include <QStringListModel>
#include <QTest>

class tst_Completers : public QObject
{
    Q_OBJECT

private slots:
    void wordLists_data();
    void wordLists();

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

void tst_Completers::wordLists_data()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<int>("count");

    QTest::newRow("python") << "python" << 30;
    QTest::newRow("lua") << "lua" << 41;
    QTest::newRow("glsl") << "glsl" << 345;
}

void tst_Completers::wordLists()
{
    QFETCH(QString, language);
    QFETCH(int, count);

    QObject owner;
    QCompleter *completer = makeCompleter(language, &owner);
    QCOMPARE(completer->parent(), &owner);
    auto *model = qobject_cast<QStringListModel *>(completer->model());
    QVERIFY(model);
    QCOMPARE(model->parent(), completer);

    // All sections in name order, each as it stands, duplicates kept.
    QStringList words;
    for (const auto &section : shippedWordLists(language))
        words << section.second;
    QCOMPARE(words.size(), count);
    QCOMPARE(model->stringList(), words);

    QCOMPARE(completer->completionColumn(), 0);
    QCOMPARE(completer->modelSorting(), QCompleter::CaseInsensitivelySortedModel);
    QCOMPARE(completer->caseSensitivity(), Qt::CaseSensitive);
    QVERIFY(completer->wrapAround());
}

QTEST_MAIN(tst_Completers)
#include "tst_completers.moc"
