// The Debian package: what it holds and where, its control fields, and what
// Debian's own checkers say of it and of the files it installs.
#include "testsupport.h"

#include <QtGui>
#include <QtTest>

namespace {
// What a program wrote, all of it, when it ended well; empty otherwise.
QString outputOf(const QString &program, const QStringList &args)
{
    QByteArray output;
    return runProgram(program, args, QString(), &output) ? QString::fromUtf8(output) : QString();
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
    QString field(const QString &name) const { return outputOf("dpkg-deb", {"--field", deb, name}).trimmed(); }
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
        QByteArray said;
        QVERIFY2(runProgram(MORVEX_CPACK, {"--config", MORVEX_BUILD_DIR "/CPackConfig.cmake", "-G", "DEB", "-B", work.path()},
                            QString(), &said, 240000), said.constData());
        const QStringList debs = QDir(work.path()).entryList({"morvex_*.deb"}, QDir::Files);
        QCOMPARE(debs.size(), 1);
        deb = work.filePath(debs.constFirst());
        const QString contents = outputOf("dpkg-deb", {"--contents", deb});
        QVERIFY(!contents.isEmpty());
        // "-rwxr-xr-x root/root 814248 2026-11-22 19:58 ./usr/bin/morvex"
        for (const QString &line : contents.split('\n', Qt::SkipEmptyParts)) {
            const QStringList parts = line.split(' ', Qt::SkipEmptyParts);
            QVERIFY2(parts.size() == 6 && parts.at(5).startsWith("./"), qPrintable(line));
            if (!parts.at(0).startsWith('d'))
                modes.insert(parts.at(5).mid(2), parts.at(0));
        }
        QVERIFY(runProgram("dpkg-deb", {"--extract", deb, work.filePath("root")}));
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
                                      "Architecture=^" + outputOf("dpkg", {"--print-architecture"}).trimmed() + "$",
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
        QByteArray said;
        QVERIFY2(runProgram("desktop-file-validate", {installed(desktopFile)}, QString(), &said) && said.isEmpty(), said.constData());
        const QString entry = text(desktopFile);
        const auto key = [&](const char *name) {
            return QRegularExpression(QStringLiteral("^%1=(.*)$").arg(name), QRegularExpression::MultilineOption).match(entry).captured(1);
        };
        // The menu's command and icon are the ones the package installs.
        QVERIFY2(modes.contains("usr/bin/" + key("Exec").section(' ', 0, 0)), qPrintable(key("Exec")));
        for (int size : iconSizes)
            QVERIFY(modes.contains(iconFile.arg(size).arg(key("Icon"))));
        QVERIFY(runProgram("appstreamcli", {"validate", "--no-net", installed(metainfoFile)}));
        const QString metainfo = text(metainfoFile);
        QVERIFY(metainfo.contains("<id>" + appId + "</id>"));
        QVERIFY(metainfo.contains("<launchable type=\"desktop-id\">" + appId + ".desktop</launchable>"));
    }

    void lintianFindsNoError()
    {
        QByteArray said;
        QVERIFY2(runProgram("lintian", {"--display-info", deb}, QString(), &said, 240000)
                     && !QString::fromUtf8(said).contains(QRegularExpression("^E: ", QRegularExpression::MultilineOption)),
                 said.constData());
    }
};

QTEST_GUILESS_MAIN(tst_Package)
#include "tst_package.moc"
