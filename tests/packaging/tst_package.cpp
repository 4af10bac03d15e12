// The Debian package: what it holds and where, its control fields, and what
// Debian's own checkers say of it and of the files it installs.
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QHash>
#include <QImage>
#include <QProcess>
#include <QRegularExpression>
#include <QSet>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QXmlStreamReader>

namespace {
struct Result
{
    int code = -1;
    QString out; // standard output and error together
};

Result run(const QString &program, const QStringList &args, int timeoutMs = 120000)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    process.setProcessEnvironment(env);
    process.start(program, args);
    Result result;
    if (!process.waitForFinished(timeoutMs)) {
        process.kill();
        process.waitForFinished();
        result.out = QStringLiteral("%1 did not finish: %2").arg(program, process.errorString());
        return result;
    }
    result.out = QString::fromUtf8(process.readAll());
    result.code = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    return result;
}

const QString appId = QStringLiteral(MORVEX_APP_ID);
const QList<int> iconSizes = {16, 22, 24, 32, 48, 64, 128, 256};

QString iconPath(int size)
{
    return QStringLiteral("usr/share/icons/hicolor/%1x%1/apps/morvex.png").arg(size);
}

// Key=value lines of the [Desktop Entry] group.
QHash<QString, QString> desktopKeys(const QString &path)
{
    QHash<QString, QString> keys;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return keys;
    const QStringList lines = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'));
    for (const QString &line : lines) {
        const int eq = line.indexOf(QLatin1Char('='));
        if (eq > 0 && !line.startsWith(QLatin1Char('#')))
            keys.insert(line.left(eq), line.mid(eq + 1));
    }
    return keys;
}
} // namespace

class tst_Package : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void holdsTheProgramAndNothingElse();
    void controlFields_data();
    void controlFields();
    void versionsAgree();
    void icons_data();
    void icons();
    void desktopEntry();
    void metainfo();
    void manualPage();
    void lintianFindsNoError();

private:
    QString installed(const QString &relative) const { return root + QLatin1Char('/') + relative; }
    QString field(const QString &name) const;
    QString gunzip(const QString &relative) const;

    QTemporaryDir work;
    QString deb;
    QString root;
    QMap<QString, QString> modes; // packaged path (without "./") to its mode string
};

void tst_Package::initTestCase()
{
    QStringList missing;
    const QStringList tools = {QStringLiteral("dpkg-deb"), QStringLiteral("dpkg-shlibdeps"), QStringLiteral("file"),
                               QStringLiteral("gzip"), QStringLiteral("help2man"), QStringLiteral("lintian"),
                               QStringLiteral("desktop-file-validate"), QStringLiteral("appstreamcli")};
    for (const QString &tool : tools) {
        if (QStandardPaths::findExecutable(tool).isEmpty())
            missing << tool;
    }
    if (!missing.isEmpty())
        QSKIP(qPrintable(QStringLiteral("Packaging tools missing: %1 (scripts/setup.sh installs them)")
                             .arg(missing.join(QStringLiteral(", ")))));

    QElapsedTimer clock;
    clock.start();
    const Result cpack = run(QStringLiteral(MORVEX_CPACK),
                             {QStringLiteral("--config"), QStringLiteral(MORVEX_BUILD_DIR "/CPackConfig.cmake"),
                              QStringLiteral("-G"), QStringLiteral("DEB"), QStringLiteral("-B"), work.path()},
                             240000);
    QVERIFY2(cpack.code == 0, qPrintable(cpack.out));
    const QStringList debs = QDir(work.path()).entryList({QStringLiteral("morvex_*.deb")}, QDir::Files);
    QCOMPARE(debs.size(), 1);
    deb = work.filePath(debs.constFirst());
    qInfo("Package made in %lld ms", static_cast<long long>(clock.elapsed()));

    const Result contents = run(QStringLiteral("dpkg-deb"), {QStringLiteral("--contents"), deb});
    QVERIFY2(contents.code == 0, qPrintable(contents.out));
    // "-rwxr-xr-x root/root 814248 2026-11-22 19:58 ./usr/bin/morvex"
    const QStringList lines = contents.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    for (const QString &line : lines) {
        const QStringList parts = line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
        QVERIFY2(parts.size() == 6 && parts.at(5).startsWith(QLatin1String("./")), qPrintable(line));
        if (!parts.at(0).startsWith(QLatin1Char('d')))
            modes.insert(parts.at(5).mid(2), parts.at(0));
    }

    root = work.filePath(QStringLiteral("root"));
    const Result extract = run(QStringLiteral("dpkg-deb"), {QStringLiteral("--extract"), deb, root});
    QVERIFY2(extract.code == 0, qPrintable(extract.out));
}

QString tst_Package::field(const QString &name) const
{
    return run(QStringLiteral("dpkg-deb"), {QStringLiteral("--field"), deb, name}).out.trimmed();
}

QString tst_Package::gunzip(const QString &relative) const
{
    const Result result = run(QStringLiteral("gzip"), {QStringLiteral("-dc"), installed(relative)});
    return result.code == 0 ? result.out : QString();
}

void tst_Package::holdsTheProgramAndNothingElse()
{
    QStringList expected = {
        QStringLiteral("usr/bin/morvex"),
        QStringLiteral("usr/share/applications/%1.desktop").arg(appId),
        QStringLiteral("usr/share/metainfo/%1.metainfo.xml").arg(appId),
        QStringLiteral("usr/share/man/man1/morvex.1.gz"),
        QStringLiteral("usr/share/doc/morvex/copyright"),
        QStringLiteral("usr/share/doc/morvex/changelog.gz"),
    };
    for (int size : iconSizes)
        expected << iconPath(size);
    expected.sort();
    // Test suites and build helpers must stay out of it.
    QCOMPARE(modes.keys(), expected);
    for (const QString &path : qAsConst(expected)) {
        const QString mode = path == QLatin1String("usr/bin/morvex") ? QStringLiteral("-rwxr-xr-x")
                                                                     : QStringLiteral("-rw-r--r--");
        QVERIFY2(modes.value(path) == mode, qPrintable(path + QLatin1Char(' ') + modes.value(path)));
    }
}

void tst_Package::controlFields_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("pattern");

    const QString architecture = run(QStringLiteral("dpkg"), {QStringLiteral("--print-architecture")}).out.trimmed();
    QTest::newRow("package") << "Package" << "^morvex$";
    QTest::newRow("architecture of this machine") << "Architecture" << QStringLiteral("^%1$").arg(architecture);
    QTest::newRow("section") << "Section" << "^electronics$";
    QTest::newRow("priority") << "Priority" << "^optional$";
    QTest::newRow("description with a long part") << "Description" << "^manage MicroPython boards .+\\n .+";
    // Computed from the binary by dpkg-shlibdeps, so the libraries it links are all there.
    QTest::newRow("depends on Qt widgets") << "Depends" << "(^|, )libqt5widgets5 \\(>= [^)]+\\)";
    QTest::newRow("depends on Qt serial port") << "Depends" << "(^|, )libqt5serialport5 \\(>= [^)]+\\)";
    QTest::newRow("depends on QuaZip") << "Depends" << "(^|, )libquazip1-qt5-1 \\(>= [^)]+\\)";
}

void tst_Package::controlFields()
{
    QFETCH(QString, name);
    QFETCH(QString, pattern);
    const QString value = field(name);
    QVERIFY2(QRegularExpression(pattern, QRegularExpression::DotMatchesEverythingOption).match(value).hasMatch(),
             qPrintable(QStringLiteral("%1: %2").arg(name, value)));
}

void tst_Package::versionsAgree()
{
    const Result program = run(installed(QStringLiteral("usr/bin/morvex")), {QStringLiteral("--version")}, 20000);
    QCOMPARE(program.code, 0);
    const QRegularExpressionMatch match = QRegularExpression(QStringLiteral("^Morvex (\\S+)$"),
                                                             QRegularExpression::MultilineOption)
                                              .match(program.out);
    QVERIFY2(match.hasMatch(), qPrintable(program.out));
    const QString version = match.captured(1);

    QCOMPARE(field(QStringLiteral("Version")), version);
    QVERIFY(gunzip(QStringLiteral("usr/share/doc/morvex/changelog.gz"))
                .startsWith(QStringLiteral("morvex (%1) ").arg(version)));
    QVERIFY(gunzip(QStringLiteral("usr/share/man/man1/morvex.1.gz")).contains(QStringLiteral("\"Morvex %1\"").arg(version)));

    QFile file(installed(QStringLiteral("usr/share/metainfo/%1.metainfo.xml").arg(appId)));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QXmlStreamReader xml(&file);
    QString newest;
    while (newest.isEmpty() && !xml.atEnd()) {
        if (xml.readNext() == QXmlStreamReader::StartElement && xml.name() == QLatin1String("release"))
            newest = xml.attributes().value(QLatin1String("version")).toString();
    }
    QCOMPARE(newest, version);
}

void tst_Package::icons_data()
{
    QTest::addColumn<int>("size");
    for (int size : iconSizes)
        QTest::addRow("%dx%d", size, size) << size;
}

void tst_Package::icons()
{
    QFETCH(int, size);
    const QImage image(installed(iconPath(size)));
    QVERIFY(!image.isNull());
    QCOMPARE(image.size(), QSize(size, size));
    QVERIFY(image.hasAlphaChannel());
}

void tst_Package::desktopEntry()
{
    const QString path = installed(QStringLiteral("usr/share/applications/%1.desktop").arg(appId));
    const Result validate = run(QStringLiteral("desktop-file-validate"), {path});
    QVERIFY2(validate.code == 0 && validate.out.isEmpty(), qPrintable(validate.out));

    const QHash<QString, QString> keys = desktopKeys(path);
    QCOMPARE(keys.value(QStringLiteral("Terminal")), QStringLiteral("false"));
    const QStringList categories = keys.value(QStringLiteral("Categories")).split(QLatin1Char(';'));
    QVERIFY(categories.contains(QStringLiteral("Development")));
    QVERIFY(categories.contains(QStringLiteral("Electronics")));
    // The menu's command and icon are the ones the package installs.
    const QString command = keys.value(QStringLiteral("Exec")).section(QLatin1Char(' '), 0, 0);
    QVERIFY2(modes.contains(QStringLiteral("usr/bin/") + command), qPrintable(command));
    const QString icon = keys.value(QStringLiteral("Icon"));
    for (int size : iconSizes)
        QVERIFY(modes.contains(QStringLiteral("usr/share/icons/hicolor/%1x%1/apps/%2.png").arg(size).arg(icon)));
}

void tst_Package::metainfo()
{
    const QString path = installed(QStringLiteral("usr/share/metainfo/%1.metainfo.xml").arg(appId));
    const Result validate = run(QStringLiteral("appstreamcli"), {QStringLiteral("validate"), QStringLiteral("--no-net"), path});
    QVERIFY2(validate.code == 0, qPrintable(validate.out));

    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QXmlStreamReader xml(&file);
    QHash<QString, QString> texts;
    QSet<QString> elements;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        const QString name = xml.name().toString();
        elements.insert(name);
        if (name == QLatin1String("id") || name == QLatin1String("launchable") || name == QLatin1String("image"))
            texts.insert(name, xml.readElementText());
    }
    QVERIFY2(!xml.hasError(), qPrintable(xml.errorString()));
    QCOMPARE(texts.value(QStringLiteral("id")), appId);
    QCOMPARE(texts.value(QStringLiteral("launchable")), appId + QStringLiteral(".desktop"));
    QVERIFY(texts.value(QStringLiteral("image")).startsWith(QLatin1String("https://")));
    // Not demanded by the validator, but by software centres.
    QVERIFY(elements.contains(QStringLiteral("content_rating")));
}

void tst_Package::manualPage()
{
    const QString page = gunzip(QStringLiteral("usr/share/man/man1/morvex.1.gz"));
    // Made from the program's own --help: its options are all there, as groff writes them.
    for (const char *text : {"\\-\\-ignore\\-dark", "\\-\\-reset", "\\-\\-lang", "Halvorn micropython powered boards",
                             "MORVEX_EXTRA_PORTS", "dialout"})
        QVERIFY2(page.contains(QLatin1String(text)), text);
}

void tst_Package::lintianFindsNoError()
{
    const Result lintian = run(QStringLiteral("lintian"), {QStringLiteral("--display-info"), deb}, 240000);
    const QStringList errors = lintian.out.split(QLatin1Char('\n')).filter(QRegularExpression(QStringLiteral("^E: ")));
    QVERIFY2(errors.isEmpty(), qPrintable(lintian.out));
    QVERIFY2(lintian.code == 0, qPrintable(lintian.out));
    if (lintian.out.contains(QRegularExpression(QStringLiteral("^[WIP]: "), QRegularExpression::MultilineOption)))
        qInfo("%s", qPrintable(lintian.out));
}

QTEST_GUILESS_MAIN(tst_Package)
#include "tst_package.moc"
