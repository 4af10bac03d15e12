#include "testsupport.h"
#include "theme.h"
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

QString systemLanguageNumber()
{
    return QString::number(static_cast<int>(QLocale::system().language()));
}

} // namespace

class TestTranslations : public QObject
{
    Q_OBJECT

private slots:
    void init();

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

void TestTranslations::init()
{
    sandbox.clear();
}

void TestTranslations::settleLanguage_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("stored"); // null: key absent
    QTest::addColumn<QString>("language");
    QTest::addColumn<bool>("storeCleared");

    const QString absent;
    const QString number = systemLanguageNumber();
    QTest::newRow("empty store gets the system language") << QStringList{} << absent << number << false;
    QTest::newRow("stored value kept") << QStringList{} << "de_DE" << "de_DE" << false;
    QTest::newRow("--lang stored") << QStringList{"--lang", "ru_RU"} << "de_DE" << "ru_RU" << false;
    QTest::newRow("-l stored") << QStringList{"-l", "ru_RU"} << absent << "ru_RU" << false;
    QTest::newRow("--reset") << QStringList{"--reset"} << "de_DE" << number << true;
    QTest::newRow("--reset wins over --lang") << QStringList{"--reset", "--lang", "ru_RU"} << "de_DE" << number << true;
}

void TestTranslations::settleLanguage()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, stored);
    QFETCH(QString, language);
    QFETCH(bool, storeCleared);

    {
        QSettings settings;
        settings.setValue(QStringLiteral("MC/MonOnly"), true);
        if (!stored.isNull())
            settings.setValue(languageKey, stored);
    }

    QCommandLineParser parser;
    addThemeOption(parser);
    parser.addOption(QCommandLineOption(QStringLiteral("reset"), QStringLiteral("reset")));
    parser.addOption(QCommandLineOption({QStringLiteral("l"), QStringLiteral("lang")}, QStringLiteral("lang"),
                                        QStringLiteral("lang"), QString()));
    QVERIFY(parser.parse(QStringList{QStringLiteral("morvex")} + arguments));
    {
        QSettings settings;
        settleLanguageSetting(settings, parser);
    }

    QSettings settings;
    QCOMPARE(settings.value(languageKey).toString(), language);
    QCOMPARE(settings.contains(QStringLiteral("MC/MonOnly")), !storeCleared);
}

void TestTranslations::availableLocales()
{
    const QList<QLocale> locales = ::availableLocales();
    QVERIFY(!locales.isEmpty());
    QCOMPARE(locales.first(), QLocale(QStringLiteral("en_US")));
    QVERIFY(locales.contains(QLocale(QStringLiteral("ru_RU"))));
    QCOMPARE(locales.size(), 1 + QDir(QStringLiteral(":/lang/")).entryList({QStringLiteral("*.qm")}).size());
}

void TestTranslations::fillLanguageCombo_data()
{
    QTest::addColumn<QVariant>("stored"); // invalid: key absent
    QTest::addColumn<QString>("selected");

    QTest::newRow("absent: System") << QVariant() << "System";
    QTest::newRow("empty: System") << QVariant(QString()) << "System";
    QTest::newRow("Russian") << QVariant("ru_RU") << "Russian (Russia)";
    QTest::newRow("English") << QVariant("en_US") << "English (United States)";
    QTest::newRow("a language number") << QVariant(31) << "System";
    QTest::newRow("unknown locale") << QVariant("de_DE") << "System";
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

    const QList<QLocale> locales = ::availableLocales();
    QCOMPARE(combo.count(), 1 + locales.size());
    QCOMPARE(combo.itemText(0), QStringLiteral("System"));
    QCOMPARE(combo.itemData(0).value<QLocale>(), QLocale(QLocale::C));
    const int russian = combo.findText(QStringLiteral("Russian (Russia)"));
    QVERIFY(russian > 0);
    QCOMPARE(combo.itemData(russian).value<QLocale>(), QLocale(QStringLiteral("ru_RU")));
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
    QTest::newRow("a language number") << systemLanguageNumber() << true << false;
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
    const QString catalogue = QStringLiteral(":/lang/Morvex_ru_RU.qm");
    QCOMPARE(files.contains(catalogue), appCatalogue);
    // The application's catalogue comes last, so it is searched first.
    if (appCatalogue)
        QCOMPARE(files.last(), catalogue);
}

QTEST_MAIN(TestTranslations)
#include "tst_translations.moc"
