#include "testsupport.h"
#include "translations.h"

#include <QApplication>
#include <QComboBox>
#include <QCommandLineParser>
#include <QDir>
#include <QSettings>
#include <QTranslator>
#include <QtTest>

namespace {
const QString languageKey = QStringLiteral("UI/Language");
}

class TestTranslations : public QObject
{
    Q_OBJECT

private slots:
    void init() { sandbox.clear(); }
    void settleLanguage_data();
    void settleLanguage();
    void availableLocales();
    void fillLanguageCombo_data();
    void fillLanguageCombo();
    void installTranslators_data();
    void installTranslators();

private:
    SettingsSandbox sandbox;
};

void TestTranslations::settleLanguage_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("stored"); // null: key absent
    QTest::addColumn<QString>("language");

    const QString system = QString::number(int(QLocale::system().language()));
    QTest::newRow("empty store gets the system language") << QStringList{} << QString() << system;
    QTest::newRow("stored value kept") << QStringList{} << "de_DE" << "de_DE";
    QTest::newRow("--lang stored") << QStringList{"--lang", "ru_RU"} << "de_DE" << "ru_RU";
    QTest::newRow("--reset beats --lang") << QStringList{"--reset", "--lang", "ru_RU"} << "de_DE" << system;
}

void TestTranslations::settleLanguage()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, stored);
    QFETCH(QString, language);

    QSettings settings;
    settings.setValue(QStringLiteral("MC/MonOnly"), true);
    if (!stored.isNull())
        settings.setValue(languageKey, stored);
    QCommandLineParser parser;
    parser.addOption(QCommandLineOption(QStringLiteral("reset")));
    parser.addOption(QCommandLineOption(QStringLiteral("lang"), QString(), QStringLiteral("lang")));
    QVERIFY(parser.parse(QStringList{QStringLiteral("morvex")} + arguments));
    settleLanguageSetting(settings, parser);

    QCOMPARE(settings.value(languageKey).toString(), language);
    QCOMPARE(settings.contains(QStringLiteral("MC/MonOnly")), !arguments.contains(QStringLiteral("--reset")));
}

void TestTranslations::availableLocales()
{
    const QList<QLocale> locales = ::availableLocales();
    QCOMPARE(locales.value(0), QLocale(QStringLiteral("en_US")));
    QVERIFY(locales.contains(QLocale(QStringLiteral("ru_RU"))));
    QCOMPARE(locales.size(), 1 + QDir(QStringLiteral(":/lang/")).entryList({QStringLiteral("*.qm")}).size());
}

void TestTranslations::fillLanguageCombo_data()
{
    QTest::addColumn<QVariant>("stored"); // invalid: key absent
    QTest::addColumn<QString>("selected");

    QTest::newRow("absent: System") << QVariant() << "System";
    QTest::newRow("a language number: System") << QVariant(31) << "System";
    QTest::newRow("Russian") << QVariant("ru_RU") << "Russian (Russia)";
}

void TestTranslations::fillLanguageCombo()
{
    QFETCH(QVariant, stored);
    QFETCH(QString, selected);

    QSettings settings;
    if (stored.isValid())
        settings.setValue(languageKey, stored);
    QComboBox combo;
    combo.addItem(QStringLiteral("left over"));
    ::fillLanguageCombo(settings, &combo);

    QCOMPARE(combo.count(), 1 + ::availableLocales().size());
    QCOMPARE(combo.itemData(0).value<QLocale>(), QLocale(QLocale::C));
    QCOMPARE(combo.itemData(combo.findText(QStringLiteral("Russian (Russia)"))).value<QLocale>(),
             QLocale(QStringLiteral("ru_RU")));
    QCOMPARE(combo.currentText(), selected);
}

void TestTranslations::installTranslators_data()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<bool>("passStore"); // false: the default store is read
    QTest::addColumn<bool>("appCatalogue");

    QTest::newRow("ru_RU") << "ru_RU" << true << true;
    QTest::newRow("ru_RU from the default store") << "ru_RU" << false << true;
    QTest::newRow("ru alone") << "ru" << true << true;
    QTest::newRow("en_US has no catalogue") << "en_US" << true << false;
}

void TestTranslations::installTranslators()
{
    QFETCH(QString, language);
    QFETCH(bool, passStore);
    QFETCH(bool, appCatalogue);

    QSettings settings;
    settings.setValue(languageKey, language);
    settings.sync();
    const QList<QTranslator *> translators =
        ::installTranslators(*qApp, passStore ? &settings : nullptr, QStringLiteral("lang"));
    QStringList files;
    for (QTranslator *translator : translators) {
        files << translator->filePath();
        QVERIFY(QCoreApplication::removeTranslator(translator));
        delete translator;
    }
    // The application's catalogue comes last, so it is searched first.
    QCOMPARE(files.value(files.size() - 1) == QStringLiteral(":/lang/Morvex_ru_RU.qm"), appCatalogue);
}

QTEST_MAIN(TestTranslations)
#include "tst_translations.moc"
