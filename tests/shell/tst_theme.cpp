#include "testsupport.h"
#include "theme.h"
#include "theme_p.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QElapsedTimer>
#include <QSettings>
#include <QtTest>

class TestTheme : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { lightPalette = QApplication::palette(); }
    void cleanup();
    void desktopDetection_data();
    void desktopDetection();
    void gnomeColorScheme_data();
    void gnomeColorScheme();
    void applyTheme_data();
    void applyTheme();
    void detectsOnce();

private:
    SettingsSandbox sandbox;
    QPalette lightPalette;
};

void TestTheme::cleanup()
{
    qunsetenv("GTK_THEME");
    qApp->setStyleSheet(QString());
    QApplication::setPalette(lightPalette);
    resetThemeDetection();
    sandbox.clear();
}

void TestTheme::desktopDetection_data()
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
    QTest::newRow("gtk3 dark theme name") << "" << "" << QByteArray("[Settings]\ngtk-theme-name = Yaru-dark\n") << none
                                          << true << true;
    QTest::newRow("gtk4 before gtk3") << "" << "" << preferDark << light << true << false;
    QTest::newRow("gtk4 silent, gtk3 decides") << "" << "" << preferDark << QByteArray("[Settings]\ngtk-font-name=Cantarell 11\n")
                                               << true << true;
    QTest::newRow("other section and comments ignored")
        << "" << "" << QByteArray("[Other]\ngtk-application-prefer-dark-theme=1\n[Settings]\n#gtk-theme-name=Adwaita-dark\n")
        << none << true << false;
    QTest::newRow("config under HOME") << "" << "" << preferDark << none << false << true;
}

void TestTheme::desktopDetection()
{
    QFETCH(QString, gtkTheme);
    QFETCH(QString, colorScheme);
    QFETCH(QByteArray, gtk3);
    QFETCH(QByteArray, gtk4);
    QFETCH(bool, xdgSet);
    QFETCH(bool, dark);

    QTemporaryDir home;
    const QString config = home.filePath(QStringLiteral(".config"));
    if (!gtk3.isNull())
        QVERIFY(writeLocalFile(config + QStringLiteral("/gtk-3.0/settings.ini"), gtk3));
    if (!gtk4.isNull())
        QVERIFY(writeLocalFile(config + QStringLiteral("/gtk-4.0/settings.ini"), gtk4));

    QProcessEnvironment env;
    env.insert(QStringLiteral("HOME"), home.path());
    if (xdgSet)
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), config);
    if (!gtkTheme.isEmpty())
        env.insert(QStringLiteral("GTK_THEME"), gtkTheme);
    bool asked = false;
    QCOMPARE(desktopPrefersDark(env, [&] { asked = true; return colorScheme; }), dark);
    // A set GTK_THEME spares the slow gsettings call.
    QCOMPARE(asked, gtkTheme.isEmpty());
}

void TestTheme::gnomeColorScheme_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QString>("scheme");

    QTest::newRow("prefer-dark") << QByteArray("echo \"'prefer-dark'\"") << "prefer-dark";
    QTest::newRow("no schema") << QByteArray("echo 'No such schema' >&2; exit 1") << "";
    QTest::newRow("hangs") << QByteArray("exec sleep 30") << "";
}

void TestTheme::gnomeColorScheme()
{
    QFETCH(QByteArray, script);
    QFETCH(QString, scheme);

    QTemporaryDir bin;
    const QString gsettings = bin.filePath(QStringLiteral("gsettings"));
    QVERIFY(writeLocalFile(gsettings, "#!/bin/sh\n" + script + '\n'));
    QVERIFY(QFile::setPermissions(gsettings, QFile::ReadOwner | QFile::ExeOwner));
    QProcessEnvironment env;
    env.insert(QStringLiteral("PATH"), bin.path() + QStringLiteral(":/bin:/usr/bin"));
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(::gnomeColorScheme(env), scheme);
    QVERIFY2(timer.elapsed() < 5000, "start-up must not wait on gsettings");
}

void TestTheme::applyTheme_data()
{
    QTest::addColumn<bool>("desktopDark");
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QVariant>("darkMode"); // the stored "UI/DarkMode", invalid when absent
    QTest::addColumn<bool>("dark");

    const QStringList ignore{QStringLiteral("--ignore-dark")};
    QTest::newRow("light desktop") << false << QStringList() << QVariant() << false;
    QTest::newRow("dark desktop") << true << QStringList() << QVariant() << true;
    QTest::newRow("ignore-dark beats DarkMode") << true << ignore << QVariant(true) << false;
    QTest::newRow("DarkMode on light desktop") << false << QStringList() << QVariant(true) << true;
    QTest::newRow("DarkMode off on dark desktop") << true << QStringList() << QVariant(false) << false;
}

void TestTheme::applyTheme()
{
    QFETCH(bool, desktopDark);
    QFETCH(QStringList, arguments);
    QFETCH(QVariant, darkMode);
    QFETCH(bool, dark);

    if (darkMode.isValid())
        QSettings().setValue(QStringLiteral("UI/DarkMode"), darkMode);
    // GTK_THEME settles the desktop's answer without asking gsettings.
    qputenv("GTK_THEME", desktopDark ? "Adwaita:dark" : "Adwaita");
    QCommandLineParser parser;
    addThemeOption(parser);
    QVERIFY(parser.parse(QStringList{QStringLiteral("morvex")} + arguments));
    QVERIFY(::applyTheme(&parser, QStringLiteral("UI/DarkMode")));

    QCOMPARE(isDarkTheme(), dark);
    QCOMPARE(qApp->styleSheet().contains(QLatin1String("QToolTip")), dark);
    // Widgets and the icon engine read the palette of their class.
    const QPalette palette = QApplication::palette("QWidget");
    if (!dark) {
        QCOMPARE(palette.color(QPalette::Window), lightPalette.color(QPalette::Window));
        return;
    }
    const QColor window(0x35, 0x35, 0x35);
    QCOMPARE(palette.color(QPalette::Window), window);
    // The active button is darker than the rest; disabled text is grey.
    QCOMPARE(palette.color(QPalette::Active, QPalette::Button), QColor(0x40, 0x40, 0x40));
    QCOMPARE(palette.color(QPalette::Inactive, QPalette::Button), window);
    QCOMPARE(palette.color(QPalette::Disabled, QPalette::ButtonText), QColor(0x80, 0x80, 0x80));
}

void TestTheme::detectsOnce()
{
    qputenv("GTK_THEME", "Adwaita:dark");
    QVERIFY(isDarkTheme());
    qputenv("GTK_THEME", "Adwaita");
    // Without a key the stored choice is not read either: the desktop's first answer stands.
    QSettings().setValue(QStringLiteral("UI/DarkMode"), false);
    QVERIFY(::applyTheme(nullptr, QString()));
    QVERIFY(isDarkTheme());
}

QTEST_MAIN(TestTheme)
#include "tst_theme.moc"
