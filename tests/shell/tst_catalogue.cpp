// The languages: the setting at start, the Russian catalogue holding every
// text of the code, finished, and the program loading it and speaking it.
#include "codeeditor.h"
#include "morvexwindow.h"
#include "morvexwindowprobe.h"
#include "preferences.h"
#include "testsupport.h"
#include "translations.h"

#include <QtTest>
#include <QtWidgets>

class tst_Catalogue : public QObject
{
    Q_OBJECT
    SettingsSandbox sandbox;

private slots:
    void init() { sandbox.clear(); }

    void settleLanguage_data()
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

    void settleLanguage()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, stored);
        QFETCH(QString, language);
        QSettings settings;
        settings.setValue("MC/MonOnly", true);
        if (!stored.isNull())
            settings.setValue("UI/Language", stored);
        QCommandLineParser parser;
        parser.addOption(QCommandLineOption("reset"));
        parser.addOption(QCommandLineOption("lang", QString(), "lang"));
        QVERIFY(parser.parse(QStringList{"morvex"} + arguments));
        settleLanguageSetting(settings, parser);
        QCOMPARE(settings.value("UI/Language").toString(), language);
        QCOMPARE(settings.contains("MC/MonOnly"), !arguments.contains("--reset"));
    }

    void codeTextsTranslated_data()
    {
        QTest::addColumn<QByteArray>("extraSource"); // empty: the tree alone
        QTest::addColumn<QStringList>("flagged");
        const QByteArray call = "#include <QCoreApplication>\nQString f() { return QCoreApplication::translate(";
        QTest::newRow("the tree") << QByteArray() << QStringList();
        QTest::newRow("a new text of a known context") << call + "\"MorvexWindow\", \"Nobody translated this\"); }\n"
                                                       << QStringList{"unfinished: Nobody translated this"};
    }

    // lupdate merges the code's texts into a copy of the catalogue: whatever it
    // marks unfinished is missing, whatever it marks vanished or obsolete is stale.
    void codeTextsTranslated()
    {
        QFETCH(QByteArray, extraSource);
        QFETCH(QStringList, flagged);
        QTemporaryDir dir;
        const QString ts = dir.filePath("Morvex_ru_RU.ts");
        QVERIFY(QFile::copy(MORVEX_SOURCE_DIR "/resources/lang/Morvex_ru_RU.ts", ts));
        QStringList sources = {MORVEX_SOURCE_DIR "/src"};
        if (!extraSource.isEmpty()) {
            sources << dir.filePath("extra.cpp");
            QVERIFY(writeLocalFile(sources.last(), extraSource));
        }
        QByteArray output;
        QVERIFY2(runProgram(MORVEX_LUPDATE, QStringList{"-locations", "none"} + sources + QStringList{"-ts", ts}, QString(), &output),
                 output.constData());
        const QString merged = QString::fromUtf8(readLocalFile(ts));
        QStringList found;
        const QRegularExpression message("<source>(.*?)</source>.*?<translation( type=\"(\\w+)\")?>(.*?)</translation>",
                                         QRegularExpression::DotMatchesEverythingOption);
        for (auto it = message.globalMatch(merged); it.hasNext();) {
            const QRegularExpressionMatch m = it.next();
            if (!m.captured(3).isEmpty() || m.captured(4).isEmpty())
                found << (m.captured(3).isEmpty() ? "empty" : m.captured(3)) + ": " + m.captured(1);
        }
        QVERIFY2(found == flagged, qPrintable("Not finished in the catalogue, or not in the code:\n" + found.join('\n')));
    }

    void installTranslators_data()
    {
        QTest::addColumn<QString>("language");
        QTest::addColumn<bool>("appCatalogue");
        // The default store is read, as the program does.
        QTest::newRow("ru_RU") << "ru_RU" << true;
        QTest::newRow("ru alone") << "ru" << true;
        QTest::newRow("en_US has no catalogue") << "en_US" << false;
    }

    void installTranslators()
    {
        QFETCH(QString, language);
        QFETCH(bool, appCatalogue);
        QSettings settings;
        settings.setValue("UI/Language", language);
        settings.sync();
        const QList<QTranslator *> translators = ::installTranslators(*qApp, nullptr, "lang");
        // The application's catalogue comes last, so it is searched first.
        QCOMPARE(!translators.isEmpty() && translators.last()->filePath() == ":/lang/Morvex_ru_RU.qm", appCatalogue);
        if (appCatalogue) {
            // A text of every context, and forms translate as they are built.
            const char *samples[][3] = {{"AppUpdater", "Update progress", "Ход обновления"},
                                        {"CodeEditor", "Save As", "Сохранить как"},
                                        {"ConnectionPopup", "Frame", "Рамка"},
                                        {"FeedUpdater", "Check for Updates", "Проверка обновлений"},
                                        {"MCDirModel", "Size", "Размер"},
                                        {"MorvexWindow", "File System", "Файловая система"},
                                        {"SyncConfigurationDialog", "Source:", "Источник:"},
                                        {"main", "Reset all settings to their default value.", "Сбросить все настройки к значениям по умолчанию."}};
            for (const auto &sample : samples)
                QCOMPARE(QCoreApplication::translate(sample[0], sample[1]), QString::fromUtf8(sample[2]));
            QCOMPARE(Preferences().windowTitle(), QStringLiteral("Настройки"));
            QSettings().setValue("Updates/Auto", false);
            MorvexWindow window;
            QCOMPARE(windowAction(window, "actionCheck_for_updates")->text(), QStringLiteral("Проверить обновления"));
        }
        for (QTranslator *translator : translators) {
            QVERIFY(QCoreApplication::removeTranslator(translator));
            delete translator;
        }
    }

    // The toolkit's own texts (headers, standard buttons) come from its catalogue,
    // which Debian ships apart from the toolkit.
    void toolkitTextsInRussian()
    {
        QCommandLineParser parser;
        parser.addOption(QCommandLineOption("reset"));
        parser.addOption(QCommandLineOption("lang", QString(), "lang"));
        QVERIFY(parser.parse({"morvex", "--lang", "ru_RU"}));
        {
            QSettings settings;
            settleLanguageSetting(settings, parser);
        }
        QSettings().setValue("Updates/Auto", false);
        const QList<QTranslator *> translators = ::installTranslators(*qApp, nullptr, "lang");
        const auto removeTranslators = qScopeGuard([&] {
            for (QTranslator *translator : translators) {
                QCoreApplication::removeTranslator(translator);
                delete translator;
            }
        });
        const QString toolkitCatalogue = QLibraryInfo::location(QLibraryInfo::TranslationsPath) + "/qt_ru.qm";
        QVERIFY2(translators.size() == 2 && translators.first()->filePath() == toolkitCatalogue,
                 qPrintable("The toolkit's Russian catalogue " + toolkitCatalogue
                            + " did not load: install the Debian package qttranslations5-l10n (scripts/setup.sh does)"));

        MorvexWindow window;
        QCOMPARE(MorvexWindowProbe::pcModel(window).headerData(0, Qt::Horizontal).toString(), QStringLiteral("Имя"));
        QCOMPARE(MorvexWindowProbe::pcModel(window).headerData(1, Qt::Horizontal).toString(), QStringLiteral("Размер"));

        CodeEditor editor(&window);
        // Broken after loading, so that applying asks whether to go on.
        QVERIFY(editor.setContent("config.json", "{\"ssid\": \"lab\"}"));
        editor.findChild<QTextEdit *>("editor")->setPlainText("{\"ssid\": ");
        QStringList buttons;
        DialogAnswerer answerer([&](QWidget *widget) {
            auto *box = qobject_cast<QMessageBox *>(widget);
            if (!box)
                return false;
            for (QAbstractButton *button : box->buttons())
                buttons << button->text();
            box->button(QMessageBox::No)->click();
            return true;
        });
        editor.findChild<QAbstractButton *>("applyButton")->click();
        QTRY_COMPARE(answerer.answered(), 1);
        buttons.sort();
        QCOMPARE(buttons, QStringList({"&Да", "&Нет"}));
    }
};

QTEST_MAIN(tst_Catalogue)
#include "tst_catalogue.moc"
