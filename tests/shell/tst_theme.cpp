// The colour theme: the desktop's preference, the dconf read, and what is
// applied; the icon font drawn in the theme's colours.
#include "qmaterialicon.h"
#include "testsupport.h"
#include "theme.h"
#include "theme_p.h"

#include <QtTest>
#include <QtWidgets>

Q_DECLARE_METATYPE(QIcon::Mode)
Q_DECLARE_METATYPE(QIcon::State)

namespace {
const QColor disabledButtonText(0x44, 0x55, 0x66);
} // namespace

class TestTheme : public QObject
{
    Q_OBJECT
    SettingsSandbox sandbox;
    QPalette lightPalette;

private slots:
    void initTestCase()
    {
        // A disabled button text colour of the test's own, for the disabled icons.
        lightPalette = QApplication::palette();
        lightPalette.setColor(QPalette::Disabled, QPalette::ButtonText, disabledButtonText);
        QApplication::setPalette(lightPalette);
    }

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
        QTest::addColumn<bool>("dark");
        const QByteArray none;
        const QByteArray preferDark("[Settings]\ngtk-application-prefer-dark-theme=1\n");
        QTest::newRow("nothing known") << "" << "" << none << none << false;
        QTest::newRow("GTK_THEME variant") << "Adwaita:dark" << "" << none << none << true;
        QTest::newRow("GTK_THEME light beats all") << "Adwaita" << "prefer-dark" << preferDark << none << false;
        QTest::newRow("scheme prefer-dark") << "" << "prefer-dark" << none << none << true;
        QTest::newRow("scheme prefer-light beats ini") << "" << "prefer-light" << preferDark << none << false;
        QTest::newRow("scheme default, gtk3 prefers dark") << "" << "default" << preferDark << none << true;
        QTest::newRow("gtk3 dark theme name") << "" << "" << QByteArray("[Settings]\ngtk-theme-name = Yaru-dark\n") << none << true;
        QTest::newRow("gtk4 before gtk3") << "" << "" << preferDark << QByteArray("[Settings]\ngtk-application-prefer-dark-theme=false\ngtk-theme-name=Adwaita\n") << false;
    }

    void desktopDetection()
    {
        QFETCH(QString, gtkTheme);
        QFETCH(QString, colorScheme);
        QFETCH(QByteArray, gtk3);
        QFETCH(QByteArray, gtk4);
        QFETCH(bool, dark);
        QTemporaryDir home;
        const QString config = home.filePath(".config");
        QVERIFY(gtk3.isNull() || writeLocalFile(config + "/gtk-3.0/settings.ini", gtk3));
        QVERIFY(gtk4.isNull() || writeLocalFile(config + "/gtk-4.0/settings.ini", gtk4));
        QProcessEnvironment env;
        env.insert("HOME", home.path());
        if (!gtkTheme.isEmpty())
            env.insert("GTK_THEME", gtkTheme);
        QCOMPARE(desktopPrefersDark(env, [&] { return colorScheme; }), dark);
    }

    void gnomeColorScheme_data()
    {
        QTest::addColumn<QByteArray>("keyfile"); // compiled into the dconf database; null: no database
        QTest::addColumn<QString>("scheme");
        QTest::newRow("among other keys") << QByteArray("[org/gnome/desktop/interface]\ngtk-theme='Adwaita'\ncolor-scheme='prefer-dark'\n"
                                                        "clock-format='24h'\n[org/gnome/desktop/wm/preferences]\nbutton-layout='close'\n")
                                          << "prefer-dark";
        QTest::newRow("same name elsewhere") << QByteArray("[org/gnome/other]\ncolor-scheme='prefer-dark'\n") << "";
        QTest::newRow("no database") << QByteArray() << "";
    }

    void gnomeColorScheme()
    {
        QFETCH(QByteArray, keyfile);
        QFETCH(QString, scheme);
        // The database is made by dconf's own compiler, as the desktop makes it.
        QTemporaryDir config;
        const QString db = config.filePath("dconf/user");
        if (!keyfile.isNull()) {
            QByteArray output;
            QVERIFY(writeLocalFile(config.filePath("keyfiles/00-test"), keyfile) && QDir().mkpath(config.filePath("dconf")));
            QVERIFY2(runProgram("dconf", {"compile", db, config.filePath("keyfiles")}, QString(), &output), output.constData());
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
        // Widgets and the icon engine read the palette of their class.
        const QPalette palette = QApplication::palette("QWidget");
        const QColor window = dark ? QColor(0x35, 0x35, 0x35) : lightPalette.color(QPalette::Window);
        QCOMPARE(palette.color(QPalette::Window), window);
    }

    void paintColour_data()
    {
        QTest::addColumn<QColor>("base");
        QTest::addColumn<QColor>("onColor");
        QTest::addColumn<QIcon::Mode>("mode");
        QTest::addColumn<QIcon::State>("state");
        QTest::addColumn<QColor>("expected");
        const QColor red(Qt::red), blue(Qt::blue);
        QTest::newRow("unticked: base colour") << red << blue << QIcon::Normal << QIcon::Off << red;
        QTest::newRow("ticked: on colour") << red << blue << QIcon::Active << QIcon::On << blue;
        QTest::newRow("ticked, no on colour") << red << QColor() << QIcon::Normal << QIcon::On << red;
        QTest::newRow("disabled, even ticked") << red << blue << QIcon::Disabled << QIcon::On << disabledButtonText;
    }

    void paintColour()
    {
        QFETCH(QColor, base);
        QFETCH(QColor, onColor);
        QFETCH(QIcon::Mode, mode);
        QFETCH(QIcon::State, state);
        QFETCH(QColor, expected);
        QMaterialIcon *icons = QMaterialIcon::instance();
        icons->setBase(base);
        icons->setOnColor(onColor);
        const QIcon icon = icons->icon("stop");
        // Changed before painting: an icon keeps the colours of its creation.
        icons->setBase(Qt::green);
        icons->setOnColor(QColor());
        QCOMPARE(icon.pixmap(48, mode, state).toImage().pixel(24, 24), expected.rgba());
    }
};

QTEST_MAIN(TestTheme)
#include "tst_theme.moc"
