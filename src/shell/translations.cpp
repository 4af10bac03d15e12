#include "translations.h"

#include "appresources.h"

#include <QApplication>
#include <QComboBox>
#include <QCommandLineParser>
#include <QDir>
#include <QLibraryInfo>
#include <QSettings>
#include <QTranslator>

namespace {

const QString languageKey = QStringLiteral("UI/Language");

// The integer of QLocale::Language, not a locale name: no catalogue matches
// it, so such a run keeps the texts as written until the user picks a language.
int systemLanguage()
{
    return static_cast<int>(QLocale::system().language());
}

QString localeText(const QLocale &locale)
{
    return QStringLiteral("%1 (%2)").arg(QLocale::languageToString(locale.language()),
                                         QLocale::countryToString(locale.country()));
}

} // namespace

void settleLanguageSetting(QSettings &settings, const QCommandLineParser &parser)
{
    if (parser.isSet(QStringLiteral("reset"))) {
        settings.clear();
        settings.setValue(languageKey, systemLanguage());
    } else if (parser.isSet(QStringLiteral("lang"))) {
        settings.setValue(languageKey, parser.value(QStringLiteral("lang")));
    } else if (!settings.contains(languageKey)) {
        settings.setValue(languageKey, systemLanguage());
    }
}

QList<QTranslator *> installTranslators(QApplication &app, QSettings *settings, const QString &dir)
{
    initResources();
    QList<QTranslator *> installed;

    QString language = QLocale::system().name();
    if (settings) {
        language = settings->value(languageKey, language).toString();
    } else {
        QSettings store(QCoreApplication::organizationName(), QCoreApplication::applicationName());
        language = store.value(languageKey, language).toString();
    }
    // Empty means the user chose "System".
    if (language.isEmpty())
        language = QLocale::system().name();

    auto *qtTranslator = new QTranslator;
    if (qtTranslator->load(QStringLiteral("qt_") + language, QLibraryInfo::location(QLibraryInfo::TranslationsPath))) {
        app.installTranslator(qtTranslator);
        installed.append(qtTranslator);
    } else {
        delete qtTranslator;
    }

    // Installed after the toolkit's, the application's catalogue is searched first.
    const QString prefix = language.section(QLatin1Char('_'), 0, 0);
    const QStringList files = QDir(QStringLiteral(":/%1/").arg(dir))
                                  .entryList({QStringLiteral("*_%1*.qm").arg(prefix)}, QDir::Files);
    if (!files.isEmpty()) {
        auto *appTranslator = new QTranslator;
        if (appTranslator->load(QStringLiteral(":/%1/%2").arg(dir, files.first()))) {
            app.installTranslator(appTranslator);
            installed.append(appTranslator);
        } else {
            delete appTranslator;
        }
    }
    return installed;
}

QList<QLocale> availableLocales()
{
    initResources();
    // English is what the texts are written in; it has no catalogue.
    QList<QLocale> locales{QLocale(QStringLiteral("en_US"))};
    const QStringList files = QDir(QStringLiteral(":/lang/")).entryList({QStringLiteral("*.qm")}, QDir::Files);
    for (QString file : files) {
        file.remove(QStringLiteral(".qm"));
        if (!file.contains(QLatin1Char('_')))
            continue;
        QStringList parts = file.split(QLatin1Char('_'));
        parts.removeFirst();
        locales.append(QLocale(parts.join(QLatin1Char('_'))));
    }
    return locales;
}

void fillLanguageCombo(QSettings &settings, QComboBox *combo)
{
    combo->clear();
    combo->addItem(QStringLiteral("System"), QLocale(QLocale::C));
    const QList<QLocale> locales = availableLocales();
    for (const QLocale &locale : locales)
        combo->addItem(localeText(locale), locale);

    const QString stored = settings.value(languageKey, QString()).toString();
    if (stored.isEmpty()) {
        combo->setCurrentIndex(0);
        return;
    }
    // A value that names no item, such as a stored number, leaves "System".
    combo->setCurrentText(localeText(QLocale(stored)));
}
