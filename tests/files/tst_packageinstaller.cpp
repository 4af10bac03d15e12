// Installs from a package index that the test serves on 127.0.0.1, onto the virtual board.
#include "morvexwindowprobe.h"
#include "packageinstaller.h"
#include "testsupport.h"
#include "virtualboard.h"

#include <QAction>
#include <QCheckBox>
#include <QCryptographicHash>
#include <QDialog>
#include <QDialogButtonBox>
#include <QDir>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLineEdit>
#include <QPushButton>
#include <QSettings>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

namespace {
using Files = QList<QPair<QString, QByteArray>>;

// A package index over HTTP: paths answered from a table, anything else 404.
// A stalled path has its connection taken and never answered.
class IndexServer : public QObject
{
public:
    IndexServer() { connect(&m_server, &QTcpServer::newConnection, this, &IndexServer::accept); }
    bool listen() { return m_server.listen(QHostAddress::LocalHost); }
    QString root() const { return QStringLiteral("http://127.0.0.1:%1").arg(m_server.serverPort()); }
    void put(const QString &path, const QByteArray &body) { m_files.insert(path, body); }
    void stall(const QString &path) { m_stalled << path; }
    QStringList requested;

private:
    void accept()
    {
        while (QTcpSocket *socket = m_server.nextPendingConnection()) {
            connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
            connect(socket, &QTcpSocket::readyRead, socket, [this, socket] { answer(socket); });
        }
    }

    void answer(QTcpSocket *socket)
    {
        if (socket->property("answered").toBool() || !socket->canReadLine())
            return;
        socket->setProperty("answered", true);
        const QString path = QString::fromLatin1(socket->readLine().split(' ').value(1));
        requested << path;
        if (m_stalled.contains(path))
            return;
        const bool found = m_files.contains(path);
        const QByteArray body = m_files.value(path, "not found");
        socket->write((found ? "HTTP/1.1 200 OK\r\n" : "HTTP/1.1 404 Not Found\r\n") + QByteArray("Content-Length: ")
                      + QByteArray::number(body.size()) + "\r\nConnection: close\r\n\r\n" + body);
        socket->disconnectFromHost();
    }

    QTcpServer m_server;
    QHash<QString, QByteArray> m_files;
    QSet<QString> m_stalled;
};

QString shortHash(const QByteArray &data)
{
    return QString::fromLatin1(QCryptographicHash::hash(data, QCryptographicHash::Sha256).toHex().left(8));
}

QByteArray source(const char *name)
{
    return readLocalFile(QStringLiteral(MORVEX_SOURCE_DIR "/resources/data/") + QLatin1String(name));
}

// Compiled files are stood in for by an .mpy header in front of a real script.
QByteArray compiled(const char *name)
{
    return QByteArray("M\x06\x00\x1f", 4) + source(name);
}

const QByteArray baseMpy = compiled("hash.py");
const QByteArray basePy = source("hash.py");
const QByteArray basePy10 = source("direxists.py");
const QByteArray sensorInit = compiled("remove_e.py");
const QByteArray sensorBme = compiled("rmdir_e.py");
const QByteArray sensorInitPy = source("remove_e.py");
const QByteArray sensorBmePy = source("rmdir_e.py");
const QByteArray customPy = source("download.py");
const QByteArray otherPy = source("debug.py");
const QByteArray singlePy = source("reset.py");

void publish(IndexServer &server, const QString &mpy, const QString &name, const QString &version,
             const QString &shownVersion, const Files &files, const QJsonArray &deps = QJsonArray())
{
    QJsonArray hashes;
    for (const auto &file : files) {
        const QString hash = shortHash(file.second);
        hashes.append(QJsonArray{file.first, hash});
        server.put(QStringLiteral("/pi/file/%1/%2").arg(hash.left(2), hash), file.second);
    }
    const QJsonObject description{{"hashes", hashes}, {"deps", deps}, {"version", shownVersion}};
    server.put(QStringLiteral("/pi/package/%1/%2/%3.json").arg(mpy, name, version), QJsonDocument(description).toJson());
}

QString writing(const QString &path, const QByteArray &data)
{
    return QStringLiteral("Writing %1 (%2 bytes)").arg(path).arg(data.size());
}

// A port on which nobody listens.
QString deadRoot()
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost);
    return QStringLiteral("http://127.0.0.1:%1").arg(probe.serverPort());
}
} // namespace

class tst_PackageInstaller : public QObject
{
    Q_OBJECT
    SettingsSandbox sandbox;
    IndexServer server;
    // Most rows share one STM32 board behind a UART bridge; rows that need a board of their own start it.
    VirtualBoard board;
    QScopedPointer<MorvexWindow> window;

    QString fill(QString text) const { return text.replace(QStringLiteral("%1"), server.root()); }
    QStringList fill(QStringList texts) const { return texts.replaceInStrings(QStringLiteral("%1"), server.root()); }

    // The board holds exactly what onBoard says (an invalid value: absent).
    static void compareBoard(const VirtualBoard &on, const QVariantMap &onBoard)
    {
        for (auto it = onBoard.cbegin(); it != onBoard.cend(); ++it) {
            QVERIFY2(on.exists(it.key()) == it.value().isValid(), qPrintable(it.key()));
            QCOMPARE(on.readFile(it.key()), it.value().toByteArray());
        }
    }

private slots:
    void initTestCase()
    {
        QVERIFY(server.listen());
        publish(server, "6", "base", "latest", "0.2", {{"base.mpy", baseMpy}});
        publish(server, "py", "base", "latest", "0.2", {{"base.py", basePy}});
        publish(server, "py", "base", "1.0", "1.0", {{"base.py", basePy10}});
        publish(server, "6", "sensor", "latest", "1.3",
                {{"sensor/__init__.mpy", sensorInit}, {"sensor/drivers/bme.mpy", sensorBme}},
                QJsonArray{QJsonArray{"base", "latest"}});
        publish(server, "py", "sensor", "latest", "1.3",
                {{"sensor/__init__.py", sensorInitPy}, {"sensor/drivers/bme.py", sensorBmePy}},
                QJsonArray{QJsonArray{"base", "latest"}});
        publish(server, "6", "loop-a", "latest", "1", {{"a.py", basePy}}, QJsonArray{QJsonArray{"loop-b", ""}});
        publish(server, "6", "loop-b", "latest", "1", {{"b.py", basePy}}, QJsonArray{QJsonArray{"loop-a", ""}});
        // bad.py's bytes are not those its hash names.
        publish(server, "6", "tampered", "latest", "1", {{"good.py", customPy}, {"bad.py", otherPy}});
        server.put(QStringLiteral("/pi/file/%1/%2").arg(shortHash(otherPy).left(2), shortHash(otherPy)), otherPy + "\n");
        server.stall(QStringLiteral("/pi/package/6/slow/latest.json"));
        // A description named by URL: its urls relative to it, or absolute.
        const QJsonObject custom{{"urls", QJsonArray{QJsonArray{"custom.py", "files/custom.py"},
                                                     QJsonArray{"deep/other.py", server.root() + "/elsewhere/other.py"}}},
                                 {"version", "0.3"}};
        server.put(QStringLiteral("/custom/pkg.json"), QJsonDocument(custom).toJson());
        server.put(QStringLiteral("/custom/files/custom.py"), customPy);
        server.put(QStringLiteral("/elsewhere/other.py"), otherPy);
        server.put(QStringLiteral("/raw/single.py"), singlePy);

        QVERIFY(board.start({"--delivery", "uart"}));
        window.reset(new MorvexWindow);
        QVERIFY(connectBoard(*window, board, 0));
    }

    void init()
    {
        sandbox.clear();
        QSettings().setValue("Packages/Index", server.root() + "/pi");
        QSettings().setValue("Packages/Timeout", 1000);
        QVERIFY(QDir(board.fsPath() + "/lib").removeRecursively());
        server.requested.clear();
    }

    // On the shared STM32 board, whose lib folder is /flash/lib.
    void install_data()
    {
        QTest::addColumn<QString>("package"); // %1 is the server
        QTest::addColumn<QString>("version");
        QTest::addColumn<bool>("mpy");
        QTest::addColumn<QString>("index"); // empty: the server's
        QTest::addColumn<QVariantMap>("preload");
        QTest::addColumn<bool>("installed");
        QTest::addColumn<QVariantMap>("onBoard");
        QTest::addColumn<QStringList>("logged");      // in this order
        QTest::addColumn<QStringList>("unrequested"); // paths the server must not be asked for

        const QVariant absent;
        const QString lib = QStringLiteral("/flash/lib/");
        QTest::newRow("a dependency first, files in folders")
            << "sensor" << "" << true << "" << QVariantMap() << true
            << QVariantMap{{"lib/base.mpy", baseMpy}, {"lib/sensor/__init__.mpy", sensorInit},
                           {"lib/sensor/drivers/bme.mpy", sensorBme}}
            << QStringList{"Installing sensor into /flash/lib (index folder 6)", "Package base 0.2: 1 file(s)",
                           "Package sensor 1.3: 2 file(s)", writing(lib + "base.mpy", baseMpy),
                           writing(lib + "sensor/__init__.mpy", sensorInit), writing(lib + "sensor/drivers/bme.mpy", sensorBme),
                           "Installed sensor 1.3 (3 files, 0 skipped)"}
            << QStringList();
        QTest::newRow("the version asked for, source files by the switch")
            << "base" << "1.0" << false << "" << QVariantMap() << true
            << QVariantMap{{"lib/base.py", basePy10}, {"lib/base.mpy", absent}}
            << QStringList{"Installing base into /flash/lib (index folder py)", "Package base 1.0: 1 file(s)",
                           writing(lib + "base.py", basePy10), "Installed base 1.0 (1 files, 0 skipped)"}
            << QStringList();
        const QString baseFile = QStringLiteral("/pi/file/%1/%2").arg(shortHash(baseMpy).left(2), shortHash(baseMpy));
        QTest::newRow("an identical file skipped unfetched")
            << "base" << "" << true << "" << QVariantMap{{"lib/base.mpy", baseMpy}} << true
            << QVariantMap{{"lib/base.mpy", baseMpy}}
            << QStringList{"Skipping /flash/lib/base.mpy - identical file on the board", "Installed base 0.2 (0 files, 1 skipped)"}
            << QStringList{baseFile};
        QTest::newRow("a description by URL, its files by URL")
            << "%1/custom/pkg.json" << "" << true << "" << QVariantMap{{"lib/custom.py", customPy}} << true
            << QVariantMap{{"lib/custom.py", customPy}, {"lib/deep/other.py", otherPy}}
            << QStringList{"Skipping /flash/lib/custom.py - identical file on the board", writing(lib + "deep/other.py", otherPy),
                           "Installed %1/custom/pkg.json 0.3 (1 files, 1 skipped)"}
            << QStringList();
        QTest::newRow("one file by URL")
            << "%1/raw/single.py" << "" << true << "" << QVariantMap() << true << QVariantMap{{"lib/single.py", singlePy}}
            << QStringList{writing(lib + "single.py", singlePy), "Installed %1/raw/single.py latest (1 files, 0 skipped)"}
            << QStringList();
        QTest::newRow("a file that does not match its hash")
            << "tampered" << "" << true << "" << QVariantMap() << false
            << QVariantMap{{"lib/good.py", absent}, {"lib/bad.py", absent}}
            << QStringList{"File /flash/lib/bad.py does not match its hash", "Install of tampered failed; nothing was written"}
            << QStringList();
        QTest::newRow("not in the index")
            << "nothere" << "" << true << "" << QVariantMap() << false << QVariantMap()
            << QStringList{"Package nothere not found in the index", "Install of nothere failed; nothing was written"}
            << QStringList();
        const QString dead = deadRoot();
        QTest::newRow("no server")
            << "base" << "" << true << dead + "/pi" << QVariantMap() << false << QVariantMap()
            << QStringList{"Cannot reach " + dead + "/pi/package/6/base/latest.json: Connection refused",
                           "Install of base failed; nothing was written"}
            << QStringList();
        QTest::newRow("a server that stalls")
            << "slow" << "" << true << "" << QVariantMap() << false << QVariantMap()
            << QStringList{"Cannot reach %1/pi/package/6/slow/latest.json: no answer for 1000 ms"} << QStringList();
        QTest::newRow("a dependency cycle")
            << "loop-a" << "" << true << "" << QVariantMap() << false << QVariantMap{{"lib/a.py", absent}, {"lib/b.py", absent}}
            << QStringList{"Dependency cycle: loop-a -> loop-b -> loop-a", "Install of loop-a failed; nothing was written"}
            << QStringList{QStringLiteral("/pi/file/%1/%2").arg(shortHash(basePy).left(2), shortHash(basePy))};
    }

    void install()
    {
        QFETCH(QString, package);
        QFETCH(QString, version);
        QFETCH(bool, mpy);
        QFETCH(QString, index);
        QFETCH(QVariantMap, preload);
        QFETCH(bool, installed);
        QFETCH(QVariantMap, onBoard);
        QFETCH(QStringList, logged);
        QFETCH(QStringList, unrequested);
        if (!index.isEmpty())
            QSettings().setValue("Packages/Index", index);
        for (auto it = preload.cbegin(); it != preload.cend(); ++it)
            QVERIFY(board.writeFile(it.key(), it.value().toByteArray()));
        const int before = syslogMessages(*window).size();
        PackageInstaller installer(window.data());
        installer.setPreferMpy(mpy);
        QElapsedTimer clock;
        clock.start();
        QCOMPARE(installer.install(fill(package), version, QString()), installed);
        // The stall is given up after a second of silence, not the default half minute.
        QVERIFY(clock.elapsed() < 20000);
        const QStringList log = syslogMessages(*window).mid(before);
        QVERIFY2(inOrder(log, fill(logged)), qPrintable(log.join('\n')));
        compareBoard(board, onBoard);
        for (const QString &path : qAsConst(unrequested))
            QVERIFY2(!server.requested.contains(path), qPrintable(path));
        QVERIFY(windowAction(*window, "actionInstall_Package")->isEnabled());
    }

    void cancelBetweenFiles()
    {
        PackageInstaller installer(window.data());
        // Cancelled while the first file goes up: the next is not begun.
        connect(&installer, &PackageInstaller::progress, &installer, [&](const QString &step) {
            if (step.startsWith("Writing /flash/lib/base.mpy"))
                installer.cancel();
        });
        QVERIFY(!installer.install("sensor", QString(), QString()));
        QVERIFY(installer.wasCancelled());
        QCOMPARE(installer.written(), QStringList{"/flash/lib/base.mpy"});
        compareBoard(board, {{"lib/base.mpy", baseMpy}, {"lib/sensor/__init__.mpy", QVariant()},
                             {"lib/sensor/drivers/bme.mpy", QVariant()}});
        QVERIFY(syslogMessages(*window).contains("Install of sensor cancelled; written: /flash/lib/base.mpy"));
    }

    // What a user does: the dialog, with the index changed under Advanced and source files asked for.
    void throughTheDialog()
    {
        QSettings().setValue("Packages/Index", deadRoot());
        bool readOnlyAtFirst = false;
        DialogAnswerer answer([&](QWidget *widget) {
            if (widget->objectName() != QLatin1String("InstallPackageDialog"))
                return false;
            widget->findChild<QLineEdit *>("packageEdit")->setText("base");
            widget->findChild<QCheckBox *>("mpyCheck")->setChecked(false);
            auto *index = widget->findChild<QLineEdit *>("indexEdit");
            readOnlyAtFirst = index->isReadOnly();
            widget->findChild<QPushButton *>("advancedButton")->click();
            index->setText(server.root() + "/pi");
            for (QAbstractButton *button : widget->findChild<QDialogButtonBox *>("buttonBox")->buttons()) {
                // Clicked from the event loop: the install runs in the dialog's own loop.
                if (button->text() == QLatin1String("Install"))
                    QTimer::singleShot(0, button, &QAbstractButton::click);
            }
            return true;
        });
        windowAction(*window, "actionInstall_Package")->trigger();
        QCOMPARE(answer.answered(), 1);
        QVERIFY(readOnlyAtFirst);
        QCOMPARE(board.readFile("lib/base.py"), basePy);
        QCOMPARE(QSettings().value("Packages/Index").toString(), server.root() + "/pi");
    }

    // Boards of their own, in the other delivery modes: the other family, and a board
    // without _mpy that fails an upload.
    void boards_data()
    {
        QTest::addColumn<int>("family");
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<bool>("installed");
        QTest::addColumn<QVariantMap>("onBoard");
        QTest::addColumn<QStringList>("logged");
        QTest::newRow("ESP32, random pieces") << 1 << QStringList{"--family", "esp32", "--delivery", "random"} << true
                               << QVariantMap{{"lib/base.mpy", baseMpy},
                                              {"lib/sensor/__init__.mpy", sensorInit},
                                              {"lib/sensor/drivers/bme.mpy", sensorBme}}
                               << QStringList{"Installing sensor into /lib (index folder 6)",
                                              writing("/lib/base.mpy", baseMpy),
                                              writing("/lib/sensor/__init__.mpy", sensorInit),
                                              writing("/lib/sensor/drivers/bme.mpy", sensorBme),
                                              "Installed sensor 1.3 (3 files, 0 skipped)"};
        // A byte of the second file's data is changed on its way: header, data and sum of the first, then its header.
        const auto header = [](const QString &path) { return 15 + int(path.toUtf8().toBase64().size()); };
        const int second = header("/flash/lib/base.py") + int(basePy.toBase64().size()) + 11
                           + header("/flash/lib/sensor/__init__.py");
        QTest::newRow("no _mpy, and an upload the board fails, single bytes")
            << 0 << QStringList{"--delivery", "bytes", "--no-mpy", "--corrupt-rx", QStringLiteral("_batch(:%1").arg(second + 20)}
            << false
            << QVariantMap{{"lib/base.py", basePy}, {"lib/base.mpy", QVariant()}, {"lib/sensor/drivers/bme.py", QVariant()}}
            << QStringList{"Installing sensor into /flash/lib (index folder py)",
                           "Install of sensor failed; written before the failure: /flash/lib/base.py"};
    }

    void boards()
    {
        QFETCH(int, family);
        QFETCH(QStringList, args);
        QFETCH(bool, installed);
        QFETCH(QVariantMap, onBoard);
        QFETCH(QStringList, logged);
        VirtualBoard own;
        QVERIFY(own.start(args));
        MorvexWindow w;
        QVERIFY(connectBoard(w, own, family));
        const int before = syslogMessages(w).size();
        PackageInstaller installer(&w);
        QCOMPARE(installer.install("sensor", QString(), QString()), installed);
        const QStringList log = syslogMessages(w).mid(before);
        QVERIFY2(inOrder(log, logged), qPrintable(log.join('\n')));
        compareBoard(own, onBoard);
        // Listed again on success; after a failed upload the actions stay off, as after any.
        QCOMPARE(boardRow(w, "lib").isValid(), installed);
        QCOMPARE(windowAction(w, "actionInstall_Package")->isEnabled(), installed);
    }
};

QTEST_MAIN(tst_PackageInstaller)
#include "tst_packageinstaller.moc"
