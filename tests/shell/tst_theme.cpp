// The colour theme: the desktop's preference, the dconf read, and what is applied.
#include "testsupport.h"
#include "theme.h"
#include "theme_p.h"

#include <QtTest>
#include <QtWidgets>

class TestTheme : public QObject
{
    Q_OBJECT
    SettingsSandbox sandbox;
    QPalette lightPalette;

private slots:
    void initTestCase() { lightPalette = QApplication::palette(); }

    void cleanup()
    {
        qunsetenv("GTK_THEME");
        qApp->setStyleSheet(QString());
        QApplication::setPalette(lightPalette);
        resetThemeDetection();
        sandbox.clear();
    }

    void desktopDetection_data()
    {
        QTest::addColumn<QString>("gtkTheme");
        QTest::addColumn<QString>("colorScheme");
        QTest::addColumn<QByteArray>("gtk3");
        QTest::addColumn<QByteArray>("gtk4");
        QTest::addColumn<bool>("xdgSet"); // false: the files are found through $HOME/.config
        QTest::addColumn<bool>("dark");

        const QByteArray none;
        const QByteArray preferDark("[Settings]\ngtk-application-prefer-dark-theme=1\n");
        const QByteArray light("[Settings]\ngtk-application-prefer-dark-theme=false\ngtk-theme-name=Adwaita\n");
        QTest::newRow("nothing known") << "" << "" << none << none << true << false;
        QTest::newRow("GTK_THEME variant") << "Adwaita:dark" << "" << none << none << true << true;
        QTest::newRow("GTK_THEME light beats all") << "Adwaita" << "prefer-dark" << preferDark << none << true << false;
        QTest::newRow("scheme prefer-dark") << "" << "prefer-dark" << none << none << true << true;
        QTest::newRow("scheme prefer-light beats ini") << "" << "prefer-light" << preferDark << none << true << false;
        QTest::newRow("scheme default, gtk3 prefers dark") << "" << "default" << preferDark << none << true << true;
        QTest::newRow("gtk3 dark theme name") << "" << "" << QByteArray("[Settings]\ngtk-theme-name = Yaru-dark\n") << none << true << true;
        QTest::newRow("gtk4 before gtk3") << "" << "" << preferDark << light << true << false;
        QTest::newRow("gtk4 silent, gtk3 decides") << "" << "" << preferDark << QByteArray("[Settings]\ngtk-font-name=C 11\n") << true << true;
        QTest::newRow("other section and comments ignored")
            << "" << "" << QByteArray("[Other]\ngtk-application-prefer-dark-theme=1\n[Settings]\n#gtk-theme-name=Adwaita-dark\n")
            << none << true << false;
        QTest::newRow("config under HOME") << "" << "" << preferDark << none << false << true;
    }

    void desktopDetection()
    {
        QFETCH(QString, gtkTheme);
        QFETCH(QString, colorScheme);
        QFETCH(QByteArray, gtk3);
        QFETCH(QByteArray, gtk4);
        QFETCH(bool, xdgSet);
        QFETCH(bool, dark);
        QTemporaryDir home;
        const QString config = home.filePath(".config");
        QVERIFY(gtk3.isNull() || writeLocalFile(config + "/gtk-3.0/settings.ini", gtk3));
        QVERIFY(gtk4.isNull() || writeLocalFile(config + "/gtk-4.0/settings.ini", gtk4));
        QProcessEnvironment env;
        env.insert("HOME", home.path());
        if (xdgSet)
            env.insert("XDG_CONFIG_HOME", config);
        if (!gtkTheme.isEmpty())
            env.insert("GTK_THEME", gtkTheme);
        bool asked = false;
        QCOMPARE(desktopPrefersDark(env, [&] { asked = true; return colorScheme; }), dark);
        // A set GTK_THEME spares reading the dconf database.
        QCOMPARE(asked, gtkTheme.isEmpty());
    }

    void gnomeColorScheme_data()
    {
        QTest::addColumn<QByteArray>("keyfile"); // compiled into the dconf database; null: no database
        QTest::addColumn<int>("keep");           // bytes of the database kept; -1 all of them
        QTest::addColumn<QString>("scheme");

        const QByteArray dark("[org/gnome/desktop/interface]\ncolor-scheme='prefer-dark'\n");
        QTest::newRow("prefer-dark") << dark << -1 << "prefer-dark";
        QTest::newRow("among other keys") << QByteArray("[org/gnome/desktop/interface]\ngtk-theme='Adwaita'\ncolor-scheme='default'\n"
                                                        "clock-format='24h'\n[org/gnome/desktop/wm/preferences]\nbutton-layout='close'\n")
                                          << -1 << "default";
        QTest::newRow("same name elsewhere") << QByteArray("[org/gnome/other]\ncolor-scheme='prefer-dark'\n") << -1 << "";
        QTest::newRow("not a string") << QByteArray("[org/gnome/desktop/interface]\ncolor-scheme=1\n") << -1 << "";
        QTest::newRow("no database") << QByteArray() << -1 << "";
        QTest::newRow("truncated database") << dark << 60 << "";
    }

    void gnomeColorScheme()
    {
        QFETCH(QByteArray, keyfile);
        QFETCH(int, keep);
        QFETCH(QString, scheme);
        // The database is made by dconf's own compiler, as the desktop makes it.
        QTemporaryDir config;
        const QString db = config.filePath("dconf/user");
        if (!keyfile.isNull()) {
            QByteArray output;
            QVERIFY(writeLocalFile(config.filePath("keyfiles/00-test"), keyfile) && QDir().mkpath(config.filePath("dconf")));
            QVERIFY2(runProgram("dconf", {"compile", db, config.filePath("keyfiles")}, QString(), &output), output.constData());
            QVERIFY(keep < 0 || QFile(db).resize(keep));
        }
        QProcessEnvironment env;
        env.insert("XDG_CONFIG_HOME", config.path());
        QCOMPARE(::gnomeColorScheme(env), scheme);
    }

    void applyTheme_data()
    {
        QTest::addColumn<bool>("desktopDark");
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QVariant>("darkMode"); // the stored "UI/DarkMode", invalid when absent
        QTest::addColumn<bool>("dark");
        QTest::newRow("light desktop") << false << QStringList() << QVariant() << false;
        QTest::newRow("dark desktop") << true << QStringList() << QVariant() << true;
        QTest::newRow("ignore-dark beats DarkMode") << true << QStringList{"--ignore-dark"} << QVariant(true) << false;
        QTest::newRow("DarkMode on light desktop") << false << QStringList() << QVariant(true) << true;
        QTest::newRow("DarkMode off on dark desktop") << true << QStringList() << QVariant(false) << false;
    }

    void applyTheme()
    {
        QFETCH(bool, desktopDark);
        QFETCH(QStringList, arguments);
        QFETCH(QVariant, darkMode);
        QFETCH(bool, dark);
        if (darkMode.isValid())
            QSettings().setValue("UI/DarkMode", darkMode);
        // GTK_THEME settles the desktop's answer without reading the dconf database.
        qputenv("GTK_THEME", desktopDark ? "Adwaita:dark" : "Adwaita");
        QCommandLineParser parser;
        addThemeOption(parser);
        QVERIFY(parser.parse(QStringList{"morvex"} + arguments));
        QVERIFY(::applyTheme(&parser, "UI/DarkMode"));
        QCOMPARE(isDarkTheme(), dark);
        QCOMPARE(qApp->styleSheet().contains("QToolTip"), dark);
        // Widgets and the icon engine read the palette of their class.
        const QPalette palette = QApplication::palette("QWidget");
        const QColor window = dark ? QColor(0x35, 0x35, 0x35) : lightPalette.color(QPalette::Window);
        QCOMPARE(palette.color(QPalette::Window), window);
        if (dark) {
            // The active button is darker than the rest; disabled text is grey.
            QCOMPARE(palette.color(QPalette::Active, QPalette::Button), QColor(0x40, 0x40, 0x40));
            QCOMPARE(palette.color(QPalette::Inactive, QPalette::Button), window);
            QCOMPARE(palette.color(QPalette::Disabled, QPalette::ButtonText), QColor(0x80, 0x80, 0x80));
        }
    }

    void detectsOnce()
    {
        qputenv("GTK_THEME", "Adwaita:dark");
        QVERIFY(isDarkTheme());
        qputenv("GTK_THEME", "Adwaita");
        // Without a key the stored choice is not read either: the desktop's first answer stands.
        QSettings().setValue("UI/DarkMode", false);
        QVERIFY(::applyTheme(nullptr, QString()));
        QVERIFY(isDarkTheme());
    }
};

QTEST_MAIN(TestTheme)
#include "tst_theme.moc"
