#include "morvexwindow.h"
#include "theme.h"
#include "translations.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QCoreApplication>
#include <QIcon>
#include <QLocale>
#include <QSettings>
#include <QTranslator>

int main(int argc, char *argv[])
{
    // No widget of the program draws with OpenGL; a window that might would
    // have the platform load the whole GL driver before it can show.
    QCoreApplication::setAttribute(Qt::AA_ForceRasterWidgets);
    QApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Halvorn."));
    QCoreApplication::setApplicationName(QStringLiteral("Morvex"));
    QCoreApplication::setApplicationVersion(QStringLiteral(MORVEX_VERSION));
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/morvex.ico")));
    QCoreApplication::addLibraryPath(QCoreApplication::applicationDirPath());

    QCommandLineParser parser;
    parser.addVersionOption();
    parser.addHelpOption();
    parser.setApplicationDescription(
        QCoreApplication::translate("main", "Halvorn micropython powered boards management utility."));
    addThemeOption(parser);
    parser.addOption(QCommandLineOption(QStringLiteral("reset"),
        QCoreApplication::translate("main", "Reset all settings to their default value.")));
    parser.addOption(QCommandLineOption({QStringLiteral("l"), QStringLiteral("lang")},
        QCoreApplication::translate("main", "Set UI language to <lang>."), QStringLiteral("lang"), QString()));
    parser.process(app);

    {
        QSettings settings;
        settleLanguageSetting(settings, parser);
    }

    applyTheme(&parser, QStringLiteral("UI/DarkMode"));
    const QList<QTranslator *> translators = installTranslators(app, nullptr, QStringLiteral("lang"));

    auto *window = new MorvexWindow;
    window->loadWindowState();
    window->show();
    const int code = app.exec();

    window->saveConnectionFlags();
    delete window;
    for (QTranslator *translator : translators) {
        QCoreApplication::removeTranslator(translator);
        delete translator;
    }
    return code;
}
