#include "testsupport.h"
#include "theme.h"
#include "theme_p.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QElapsedTimer>
#include <QSettings>
#include <QtTest>

namespace {

bool writeFile(const QString &path, const QByteArray &contents)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(contents) == contents.size();
}

} // namespace

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
    void darkPalette_data();
    void darkPalette();
    void detectsOnce();

private:
    void apply(bool desktopDark, const QStringList &arguments, const QString &key);

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

// GTK_THEME settles the desktop's answer without asking gsettings.
void TestTheme::apply(bool desktopDark, const QStringList &arguments, const QString &key)
{
    qputenv("GTK_THEME", desktopDark ? "Adwaita:dark" : "Adwaita");
    resetThemeDetection();
    QCommandLineParser parser;
    addThemeOption(parser);
    QVERIFY(parser.parse(QStringList{QStringLiteral("morvex")} + arguments));
    QVERIFY(::applyTheme(&parser, key));
}

void TestTheme::desktopDetection_data()
{
    QTest::addColumn<QString>("gtkTheme");
    QTest::addColumn<QString>("colorScheme");
    QTest::addColumn<QByteArray>("gtk3");
    QTest::addColumn<QByteArray>("gtk4");
    QTest::addColumn<bool>("xdgSet"); // false: the files are found through $HOME/.config
    QTest::addColumn<bool>("dark");
    QTest::addColumn<bool>("schemeAsked");

    const QByteArray none;
    const QByteArray preferDark("[Settings]\ngtk-application-prefer-dark-theme=1\n");
    const QByteArray light("[Settings]\ngtk-application-prefer-dark-theme=false\ngtk-theme-name=Adwaita\n");

    QTest::newRow("nothing known") << "" << "" << none << none << true << false << true;
    QTest::newRow("GTK_THEME variant") << "Adwaita:dark" << "" << none << none << true << true << false;
    QTest::newRow("GTK_THEME dark name") << "Arc-Dark" << "" << none << none << true << true << false;
    QTest::newRow("GTK_THEME light beats all") << "Adwaita" << "prefer-dark" << preferDark << none << true << false << false;
    QTest::newRow("scheme prefer-dark") << "" << "prefer-dark" << none << none << true << true << true;
    QTest::newRow("scheme prefer-light beats ini") << "" << "prefer-light" << preferDark << none << true << false << true;
    QTest::newRow("scheme default, gtk3 prefers dark") << "" << "default" << preferDark << none << true << true << true;
    QTest::newRow("gtk3 light") << "" << "" << light << none << true << false << true;
    QTest::newRow("gtk3 dark theme name") << "" << "" << QByteArray("[Settings]\ngtk-theme-name = Yaru-dark\n") << none
                                          << true << true << true;
    QTest::newRow("gtk4 before gtk3") << "" << "" << preferDark << light << true << false << true;
    QTest::newRow("gtk4 silent, gtk3 decides") << "" << "" << preferDark << QByteArray("[Settings]\ngtk-font-name=Cantarell 11\n")
                                               << true << true << true;
    QTest::newRow("other section and comments ignored")
        << "" << "" << QByteArray("[Other]\ngtk-application-prefer-dark-theme=1\n[Settings]\n#gtk-theme-name=Adwaita-dark\n")
        << none << true << false << true;
    QTest::newRow("config under HOME") << "" << "" << preferDark << none << false << true << true;
}

void TestTheme::desktopDetection()
{
    QFETCH(QString, gtkTheme);
    QFETCH(QString, colorScheme);
    QFETCH(QByteArray, gtk3);
    QFETCH(QByteArray, gtk4);
    QFETCH(bool, xdgSet);
    QFETCH(bool, dark);
    QFETCH(bool, schemeAsked);

    QTemporaryDir home;
    QVERIFY(home.isValid());
    const QString config = home.filePath(QStringLiteral(".config"));
    if (!gtk3.isNull())
        QVERIFY(writeFile(config + QStringLiteral("/gtk-3.0/settings.ini"), gtk3));
    if (!gtk4.isNull())
        QVERIFY(writeFile(config + QStringLiteral("/gtk-4.0/settings.ini"), gtk4));

    QProcessEnvironment env;
    env.insert(QStringLiteral("HOME"), home.path());
    if (xdgSet)
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), config);
    if (!gtkTheme.isEmpty())
        env.insert(QStringLiteral("GTK_THEME"), gtkTheme);
    bool asked = false;
    QCOMPARE(desktopPrefersDark(env, [&] { asked = true; return colorScheme; }), dark);
    QCOMPARE(asked, schemeAsked);
}

void TestTheme::gnomeColorScheme_data()
{
    QTest::addColumn<QByteArray>("script"); // empty: no gsettings on PATH
    QTest::addColumn<QString>("scheme");

    QTest::newRow("no gsettings") << QByteArray() << "";
    QTest::newRow("prefer-dark") << QByteArray("echo \"'prefer-dark'\"") << "prefer-dark";
    QTest::newRow("no schema") << QByteArray("echo 'No such schema' >&2; exit 1") << "";
    QTest::newRow("hangs") << QByteArray("exec sleep 30") << "";
}

void TestTheme::gnomeColorScheme()
{
    QFETCH(QByteArray, script);
    QFETCH(QString, scheme);

    QTemporaryDir bin;
    QVERIFY(bin.isValid());
    QProcessEnvironment env;
    env.insert(QStringLiteral("PATH"), bin.path());
    if (!script.isEmpty()) {
        const QString gsettings = bin.filePath(QStringLiteral("gsettings"));
        QVERIFY(writeFile(gsettings, "#!/bin/sh\n" + script + '\n'));
        QVERIFY(QFile::setPermissions(gsettings, QFile::ReadOwner | QFile::ExeOwner));
        env.insert(QStringLiteral("PATH"), bin.path() + QStringLiteral(":/bin:/usr/bin"));
    }
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
    QTest::addColumn<QString>("key");
    QTest::addColumn<bool>("dark");

    const QStringList ignore{QStringLiteral("--ignore-dark")};
    const QString key = QStringLiteral("UI/DarkMode");
    QTest::newRow("light desktop") << false << QStringList() << QVariant() << key << false;
    QTest::newRow("dark desktop") << true << QStringList() << QVariant() << key << true;
    QTest::newRow("ignore-dark beats DarkMode") << true << ignore << QVariant(true) << key << false;
    QTest::newRow("DarkMode on light desktop") << false << QStringList() << QVariant(true) << key << true;
    QTest::newRow("DarkMode off on dark desktop") << true << QStringList() << QVariant(false) << key << false;
    QTest::newRow("no key: desktop decides") << true << QStringList() << QVariant(false) << QString() << true;
}

void TestTheme::applyTheme()
{
    QFETCH(bool, desktopDark);
    QFETCH(QStringList, arguments);
    QFETCH(QVariant, darkMode);
    QFETCH(QString, key);
    QFETCH(bool, dark);

    if (darkMode.isValid())
        QSettings().setValue(QStringLiteral("UI/DarkMode"), darkMode);
    apply(desktopDark, arguments, key);

    QCOMPARE(isDarkTheme(), dark);
    QCOMPARE(QApplication::palette().color(QPalette::Window),
             dark ? QColor(0x35, 0x35, 0x35) : lightPalette.color(QPalette::Window));
    QCOMPARE(qApp->styleSheet().isEmpty(), !dark);
}

void TestTheme::darkPalette_data()
{
    QTest::addColumn<int>("group");
    QTest::addColumn<int>("role");
    QTest::addColumn<QColor>("color");

    const QColor grey(0x80, 0x80, 0x80);
    QTest::newRow("Base") << int(QPalette::Active) << int(QPalette::Base) << QColor(0x19, 0x19, 0x19);
    QTest::newRow("ToolTipBase") << int(QPalette::Inactive) << int(QPalette::ToolTipBase) << QColor(0x2a, 0x82, 0xda);
    QTest::newRow("active Button darker") << int(QPalette::Active) << int(QPalette::Button) << QColor(0x40, 0x40, 0x40);
    QTest::newRow("inactive Button") << int(QPalette::Inactive) << int(QPalette::Button) << QColor(0x35, 0x35, 0x35);
    QTest::newRow("active ButtonText") << int(QPalette::Active) << int(QPalette::ButtonText) << QColor(Qt::white);
    QTest::newRow("disabled ButtonText") << int(QPalette::Disabled) << int(QPalette::ButtonText) << grey;
    QTest::newRow("disabled Light") << int(QPalette::Disabled) << int(QPalette::Light) << QColor(0x35, 0x35, 0x35);
}

void TestTheme::darkPalette()
{
    QFETCH(int, group);
    QFETCH(int, role);
    QFETCH(QColor, color);

    apply(true, {}, QStringLiteral("UI/DarkMode"));
    const auto g = QPalette::ColorGroup(group);
    const auto r = QPalette::ColorRole(role);
    QCOMPARE(QApplication::palette().color(g, r), color);
    QCOMPARE(QApplication::palette("QWidget").color(g, r), color);
    QCOMPARE(qApp->styleSheet(),
             QStringLiteral("QToolTip { color: #ffffff; background-color: #2a82da; border: 1px solid white; }"));
}

void TestTheme::detectsOnce()
{
    qputenv("GTK_THEME", "Adwaita:dark");
    QVERIFY(isDarkTheme());
    qputenv("GTK_THEME", "Adwaita");
    QVERIFY(::applyTheme(nullptr, QString()));
    QVERIFY(isDarkTheme());
}

QTEST_MAIN(TestTheme)
#include "tst_theme.moc"
