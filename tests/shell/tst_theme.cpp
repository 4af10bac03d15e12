#include "testsupport.h"
#include "theme.h"
#include "theme_p.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QPalette>
#include <QSettings>
#include <QStyle>
#include <QTemporaryDir>
#include <QtTest>

namespace {

const QString toolTipSheet =
    QStringLiteral("QToolTip { color: #ffffff; background-color: #2a82da; border: 1px solid white; }");

bool writeFile(const QString &path, const QByteArray &contents)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(contents) == contents.size();
}

bool writeScript(const QString &path, const QByteArray &body)
{
    return writeFile(path, "#!/bin/sh\n" + body + "\n")
        && QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

} // namespace

class TestTheme : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
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
    void setDesktop(bool dark);
    void applyFromCommandLine(const QStringList &arguments, const QString &key);

    SettingsSandbox sandbox;
    QPalette lightPalette;
};

void TestTheme::initTestCase()
{
    lightPalette = QApplication::palette();
}

void TestTheme::cleanup()
{
    qunsetenv("GTK_THEME");
    qApp->setStyleSheet(QString());
    QApplication::setPalette(lightPalette);
    resetThemeDetection();
    sandbox.clear();
}

// GTK_THEME settles the desktop's answer without asking any service.
void TestTheme::setDesktop(bool dark)
{
    qputenv("GTK_THEME", dark ? "Adwaita:dark" : "Adwaita");
    resetThemeDetection();
}

void TestTheme::applyFromCommandLine(const QStringList &arguments, const QString &key)
{
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
    QTest::addColumn<bool>("useHome"); // settings under $HOME/.config, XDG_CONFIG_HOME unset
    QTest::addColumn<bool>("dark");
    QTest::addColumn<bool>("schemeAsked");

    const QByteArray none;
    const QByteArray preferDark("[Settings]\ngtk-application-prefer-dark-theme=1\n");
    const QByteArray preferLight("[Settings]\ngtk-application-prefer-dark-theme=false\ngtk-theme-name=Adwaita\n");

    QTest::newRow("nothing known") << "" << "" << none << none << false << false << true;
    QTest::newRow("GTK_THEME with dark variant") << "Adwaita:dark" << "" << none << none << false << true << false;
    QTest::newRow("GTK_THEME dark name") << "Arc-Dark" << "" << none << none << false << true << false;
    QTest::newRow("GTK_THEME light beats all") << "Adwaita" << "prefer-dark" << preferDark << preferDark
                                               << false << false << false;
    QTest::newRow("scheme prefer-dark") << "" << "prefer-dark" << none << none << false << true << true;
    QTest::newRow("scheme prefer-light beats ini") << "" << "prefer-light" << preferDark << none
                                                   << false << false << true;
    QTest::newRow("scheme default falls to ini") << "" << "default" << preferDark << none << false << true << true;
    QTest::newRow("gtk3 prefer true") << "" << "" << QByteArray("[Settings]\ngtk-application-prefer-dark-theme=true\n")
                                      << none << false << true << true;
    QTest::newRow("gtk3 light") << "" << "" << preferLight << none << false << false << true;
    QTest::newRow("gtk3 dark theme name") << "" << "" << QByteArray("[Settings]\ngtk-theme-name = Yaru-dark\n")
                                          << none << false << true << true;
    QTest::newRow("gtk4 before gtk3") << "" << "" << preferDark << preferLight << false << false << true;
    QTest::newRow("gtk4 without a preference") << "" << "" << preferDark
                                               << QByteArray("[Settings]\ngtk-font-name=Cantarell 11\n")
                                               << false << true << true;
    QTest::newRow("other section ignored") << "" << "" << QByteArray("[Other]\ngtk-application-prefer-dark-theme=1\n")
                                           << none << false << false << true;
    QTest::newRow("comment ignored") << "" << "" << QByteArray("[Settings]\n#gtk-application-prefer-dark-theme=1\n")
                                     << none << false << false << true;
    QTest::newRow("config under HOME") << "" << "" << preferDark << none << true << true << true;
}

void TestTheme::desktopDetection()
{
    QFETCH(QString, gtkTheme);
    QFETCH(QString, colorScheme);
    QFETCH(QByteArray, gtk3);
    QFETCH(QByteArray, gtk4);
    QFETCH(bool, useHome);
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
    if (!useHome)
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
    QTest::newRow("default") << QByteArray("echo \"'default'\"") << "default";
    QTest::newRow("no schema") << QByteArray("echo 'No such schema' >&2; exit 1") << "";
    QTest::newRow("hangs") << QByteArray("exec sleep 30") << "";
}

void TestTheme::gnomeColorScheme()
{
    QFETCH(QByteArray, script);
    QFETCH(QString, scheme);

    QTemporaryDir bin;
    QVERIFY(bin.isValid());
    if (!script.isEmpty())
        QVERIFY(writeScript(bin.filePath(QStringLiteral("gsettings")), script));
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("PATH"), bin.path() + QStringLiteral(":/bin:/usr/bin"));
    if (script.isEmpty())
        env.insert(QStringLiteral("PATH"), bin.path());

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

    const QStringList plain;
    const QStringList ignore{QStringLiteral("--ignore-dark")};
    const QString key = QStringLiteral("UI/DarkMode");
    const QVariant absent;

    QTest::newRow("light desktop") << false << plain << absent << key << false;
    QTest::newRow("dark desktop") << true << plain << absent << key << true;
    QTest::newRow("ignore-dark on dark desktop") << true << ignore << absent << key << false;
    QTest::newRow("ignore-dark beats DarkMode") << true << ignore << QVariant(true) << key << false;
    QTest::newRow("DarkMode on light desktop") << false << plain << QVariant(true) << key << true;
    QTest::newRow("DarkMode off on dark desktop") << true << plain << QVariant(false) << key << false;
    QTest::newRow("no key: desktop decides") << true << plain << QVariant(false) << QString() << true;
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
    setDesktop(desktopDark);
    applyFromCommandLine(arguments, key);

    QCOMPARE(isDarkTheme(), dark);
    QCOMPARE(QApplication::palette().color(QPalette::Window), dark ? QColor(0x35, 0x35, 0x35)
                                                                    : lightPalette.color(QPalette::Window));
    QCOMPARE(qApp->styleSheet(), dark ? toolTipSheet : QString());
}

void TestTheme::darkPalette_data()
{
    QTest::addColumn<QPalette::ColorGroup>("group");
    QTest::addColumn<QPalette::ColorRole>("role");
    QTest::addColumn<QColor>("color");

    const QColor window(0x35, 0x35, 0x35);
    const QColor grey(0x80, 0x80, 0x80);
    const QColor accent(0x2a, 0x82, 0xda);
    QTest::newRow("Window") << QPalette::Inactive << QPalette::Window << window;
    QTest::newRow("Base") << QPalette::Active << QPalette::Base << QColor(0x19, 0x19, 0x19);
    QTest::newRow("ToolTipBase") << QPalette::Active << QPalette::ToolTipBase << accent;
    QTest::newRow("Highlight") << QPalette::Active << QPalette::Highlight << accent;
    QTest::newRow("HighlightedText") << QPalette::Active << QPalette::HighlightedText << QColor(Qt::black);
    QTest::newRow("active Button darker") << QPalette::Active << QPalette::Button << QColor(0x40, 0x40, 0x40);
    QTest::newRow("inactive Button") << QPalette::Inactive << QPalette::Button << window;
    QTest::newRow("active ButtonText") << QPalette::Active << QPalette::ButtonText << QColor(Qt::white);
    QTest::newRow("disabled ButtonText") << QPalette::Disabled << QPalette::ButtonText << grey;
    QTest::newRow("disabled WindowText") << QPalette::Disabled << QPalette::WindowText << grey;
    QTest::newRow("disabled Text") << QPalette::Disabled << QPalette::Text << grey;
    QTest::newRow("disabled Light") << QPalette::Disabled << QPalette::Light << window;
}

void TestTheme::darkPalette()
{
    QFETCH(QPalette::ColorGroup, group);
    QFETCH(QPalette::ColorRole, role);
    QFETCH(QColor, color);

    setDesktop(true);
    applyFromCommandLine({}, QStringLiteral("UI/DarkMode"));
    QCOMPARE(QApplication::palette().color(group, role), color);
    QCOMPARE(QApplication::palette("QWidget").color(group, role), color);
}

void TestTheme::detectsOnce()
{
    setDesktop(true);
    QVERIFY(isDarkTheme());
    qputenv("GTK_THEME", "Adwaita");
    QVERIFY(isDarkTheme());
    QVERIFY(::applyTheme(nullptr, QString()));
    QVERIFY(isDarkTheme());
}

QTEST_MAIN(TestTheme)
#include "tst_theme.moc"
