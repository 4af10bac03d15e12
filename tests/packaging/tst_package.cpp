// The Debian package: what it holds and where, its control fields, and what
// Debian's own checkers say of it and of the files it installs.
#include "testsupport.h"

#include <QtGui>
#include <QtTest>

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
    env.insert("QT_QPA_PLATFORM", "offscreen");
    process.setProcessEnvironment(env);
    process.start(program, args);
    if (!process.waitForFinished(timeoutMs)) {
        process.kill();
        process.waitForFinished();
        return {-1, program + " did not finish: " + process.errorString()};
    }
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1, QString::fromUtf8(process.readAll())};
}

const QString appId = QStringLiteral(MORVEX_APP_ID);
const QString desktopFile = QStringLiteral("usr/share/applications/%1.desktop").arg(appId);
const QString metainfoFile = QStringLiteral("usr/share/metainfo/%1.metainfo.xml").arg(appId);
const QString iconFile = QStringLiteral("usr/share/icons/hicolor/%1x%1/apps/%2.png");
const QList<int> iconSizes = {16, 22, 24, 32, 48, 64, 128, 256};
} // namespace

class tst_Package : public QObject
{
    Q_OBJECT
    QString installed(const QString &relative) const { return work.filePath("root/" + relative); }
    QString field(const QString &name) const { return run("dpkg-deb", {"--field", deb, name}).out.trimmed(); }
    QString text(const QString &relative) const { return QString::fromUtf8(readLocalFile(installed(relative))); }

    QTemporaryDir work;
    QString deb;
    QMap<QString, QString> modes; // packaged path (without "./") to its mode string

private slots:
    void initTestCase()
    {
        QStringList missing;
        for (const char *tool : {"dpkg-deb", "dpkg-shlibdeps", "file", "help2man", "lintian", "desktop-file-validate", "appstreamcli"}) {
            if (QStandardPaths::findExecutable(tool).isEmpty())
                missing << tool;
        }
        if (!missing.isEmpty())
            QSKIP(qPrintable("Packaging tools missing: " + missing.join(", ") + " (scripts/setup.sh installs them)"));
        const Result cpack = run(MORVEX_CPACK, {"--config", MORVEX_BUILD_DIR "/CPackConfig.cmake", "-G", "DEB", "-B", work.path()}, 240000);
        QVERIFY2(cpack.code == 0, qPrintable(cpack.out));
        const QStringList debs = QDir(work.path()).entryList({"morvex_*.deb"}, QDir::Files);
        QCOMPARE(debs.size(), 1);
        deb = work.filePath(debs.constFirst());
        const Result contents = run("dpkg-deb", {"--contents", deb});
        QVERIFY2(contents.code == 0, qPrintable(contents.out));
        // "-rwxr-xr-x root/root 814248 2026-11-22 19:58 ./usr/bin/morvex"
        for (const QString &line : contents.out.split('\n', Qt::SkipEmptyParts)) {
            const QStringList parts = line.split(' ', Qt::SkipEmptyParts);
            QVERIFY2(parts.size() == 6 && parts.at(5).startsWith("./"), qPrintable(line));
            if (!parts.at(0).startsWith('d'))
                modes.insert(parts.at(5).mid(2), parts.at(0));
        }
        const Result extract = run("dpkg-deb", {"--extract", deb, work.filePath("root")});
        QVERIFY2(extract.code == 0, qPrintable(extract.out));
    }

    void holdsTheProgramAndNothingElse()
    {
        QStringList expected = {"usr/bin/morvex", desktopFile, metainfoFile, "usr/share/man/man1/morvex.1.gz",
                                "usr/share/doc/morvex/copyright", "usr/share/doc/morvex/changelog.gz"};
        for (int size : iconSizes) {
            expected << iconFile.arg(size).arg("morvex");
            const QImage image(installed(expected.last()));
            QVERIFY2(image.size() == QSize(size, size) && image.hasAlphaChannel(), qPrintable(expected.last()));
        }
        expected.sort();
        // Test suites and build helpers must stay out of it.
        QCOMPARE(modes.keys(), expected);
        for (const QString &path : qAsConst(expected))
            QVERIFY2(modes.value(path) == (path == "usr/bin/morvex" ? "-rwxr-xr-x" : "-rw-r--r--"), qPrintable(path + ' ' + modes.value(path)));
    }

    void controlFields()
    {
        // Depends is computed from the binary by dpkg-shlibdeps, so the libraries it links are all there;
        // the toolkit's catalogue is named by hand.
        const QStringList patterns = {"Package=^morvex$", "Description=^manage MicroPython boards .+\\n .+",
                                      "Architecture=^" + run("dpkg", {"--print-architecture"}).out.trimmed() + "$",
                                      "Depends=(^|, )libqt5widgets5 \\(>= [^)]+\\)", "Depends=(^|, )libqt5serialport5 \\(>= [^)]+\\)",
                                      "Depends=(^|, )libquazip1-qt5-1 \\(>= [^)]+\\)", "Depends=(^|, )libqwt-qt5-6 \\(>= [^)]+\\)",
                                      "Depends=(^|, )qttranslations5-l10n(,|$)"};
        for (const QString &pattern : patterns) {
            const QString value = field(pattern.section('=', 0, 0));
            QVERIFY2(QRegularExpression(pattern.section('=', 1), QRegularExpression::DotMatchesEverythingOption).match(value).hasMatch(),
                     qPrintable(pattern + ": " + value));
        }
    }

    void installedFilesValidate()
    {
        const Result desktop = run("desktop-file-validate", {installed(desktopFile)});
        QVERIFY2(desktop.code == 0 && desktop.out.isEmpty(), qPrintable(desktop.out));
        const QString entry = text(desktopFile);
        const auto key = [&](const char *name) {
            return QRegularExpression(QStringLiteral("^%1=(.*)$").arg(name), QRegularExpression::MultilineOption).match(entry).captured(1);
        };
        // The menu's command and icon are the ones the package installs.
        QVERIFY2(modes.contains("usr/bin/" + key("Exec").section(' ', 0, 0)), qPrintable(key("Exec")));
        for (int size : iconSizes)
            QVERIFY(modes.contains(iconFile.arg(size).arg(key("Icon"))));
        const Result appstream = run("appstreamcli", {"validate", "--no-net", installed(metainfoFile)});
        QVERIFY2(appstream.code == 0, qPrintable(appstream.out));
        const QString metainfo = text(metainfoFile);
        QVERIFY(metainfo.contains("<id>" + appId + "</id>"));
        QVERIFY(metainfo.contains("<launchable type=\"desktop-id\">" + appId + ".desktop</launchable>"));
    }

    void lintianFindsNoError()
    {
        const Result lintian = run("lintian", {"--display-info", deb}, 240000);
        QVERIFY2(lintian.code == 0 && !lintian.out.contains(QRegularExpression("^E: ", QRegularExpression::MultilineOption)), qPrintable(lintian.out));
    }
};

QTEST_GUILESS_MAIN(tst_Package)
#include "tst_package.moc"
