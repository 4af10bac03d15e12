// The demo of scripts/run.sh, prepared by the very script run.sh calls: the
// first click connects, the board holds a new board's files, and the example
// packages unpack onto it.
#include "connectionpopup.h"
#include "morvexwindow.h"
#include "morvexwindowprobe.h"
#include "testsupport.h"
#include "virtualboard.h"

#include <QAction>
#include <QComboBox>
#include <QFileSystemModel>
#include <QLineEdit>
#include <QToolButton>
#include <QTreeView>
#include <QtTest>

class TestDemo : public QObject
{
    Q_OBJECT

private slots:
    void firstClickConnects_data();
    void firstClickConnects();

private:
    SettingsSandbox sandbox;
};

void TestDemo::firstClickConnects_data()
{
    QTest::addColumn<QString>("family");
    QTest::addColumn<int>("index");
    QTest::addColumn<QStringList>("boardFiles");

    QTest::newRow("stm32") << "stm32" << 0
                           << QStringList{"README.txt", "boot.py", "main.py", "pybcdc.inf"};
    QTest::newRow("esp32") << "esp32" << 1 << QStringList{"boot.py"};
}

void TestDemo::firstClickConnects()
{
    QFETCH(QString, family);
    QFETCH(int, index);
    QFETCH(QStringList, boardFiles);

    VirtualBoard board;
    QVERIFY2(board.start({QStringLiteral("--family"), family}), qPrintable(board.errors()));
    QTemporaryDir work;
    QByteArray output;
    QVERIFY2(runProgram(QStringLiteral(MORVEX_PYTHON),
                        {QStringLiteral(MORVEX_SOURCE_DIR "/tools/demo/setup.py"), work.path(),
                         QStringLiteral("--family"), family, QStringLiteral("--port"), board.portPath(),
                         QStringLiteral("--fs"), board.fsPath(), QStringLiteral("--config"), sandbox.path()},
                        QString(), &output),
             output.constData());
    // As run.sh offers it: after whatever ports the system has.
    qputenv("MORVEX_EXTRA_PORTS", board.portPath().toLocal8Bit());

    MorvexWindow window;
    window.loadWindowState();
    const QString project = work.filePath(QStringLiteral("project"));
    QCOMPARE(window.findChild<QLineEdit *>(QStringLiteral("pcFolderEdit"))->text(), project);
    QCOMPARE(MorvexWindowProbe::pcModel(window).rootPath(), project);
    for (const char *name : {"main.py", "hello.py", "lib/morse.py", "morse.zpack", "sensors.zfw"})
        QVERIFY2(QFileInfo::exists(project + QLatin1Char('/') + QLatin1String(name)), name);

    // The user opens the popup and presses the tick, changing nothing.
    QString offeredPort;
    int offeredFamily = -1;
    DialogAnswerer answerer([&](QWidget *widget) {
        auto *popup = qobject_cast<ConnectionPopup *>(widget);
        if (!popup)
            return false;
        offeredPort = popup->portName();
        offeredFamily = popup->boardType();
        popup->findChild<QToolButton *>(QStringLiteral("applyButton"))->click();
        return true;
    });
    windowAction(window, "actionConnect")->trigger();
    QCOMPARE(offeredPort, board.portPath());
    QCOMPARE(offeredFamily, index);
    QVERIFY2(waitFor([&] { return window.state() == MorvexWindow::MC_REPL && board.received().contains("os.chdir("); },
                     20000),
             qPrintable(syslogMessages(window).join(QLatin1Char('\n'))));
    QVERIFY(waitFor([&] { return MorvexWindowProbe::mcModel(window).rowCount() > 0; }, 5000));

    const MCDirModel &files = MorvexWindowProbe::mcModel(window);
    QStringList shown;
    for (int i = 0; i < files.rowCount(); ++i) {
        const QString name = files.fileName(files.index(i, 0));
        if (name != QLatin1String(".."))
            shown << name;
    }
    shown.sort();
    QCOMPARE(shown, boardFiles);

    // Both example packages unpack onto this board, by a double click each.
    auto *pcView = window.findChild<QTreeView *>(QStringLiteral("pcFileList"));
    for (const char *package : {"morse.zpack", "sensors.zfw"}) {
        const QModelIndex row = MorvexWindowProbe::pcModel(window).index(project + QLatin1Char('/') + QLatin1String(package));
        QVERIFY(row.isValid());
        // One answerer each: the second question may reuse the first one's address.
        QScopedPointer<DialogAnswerer> yes(DialogAnswerer::messageBox(QMessageBox::Yes));
        QMetaObject::invokeMethod(pcView, "doubleClicked", Q_ARG(QModelIndex, row));
    }
    const QStringList log = syslogMessages(window);
    QVERIFY2(inOrder(log, {QStringLiteral("Loading zpack for Morse code blinker"), QStringLiteral("ZPack uploaded!"),
                           QStringLiteral("ZFW firmware package is for %1/sensors (example firmware pack of the Morvex demo)")
                               .arg(index ? QStringLiteral("ESP32") : QStringLiteral("PYBv1.1")),
                           QStringLiteral("ZFW firmware pack uploaded!")}),
             qPrintable(log.join(QLatin1Char('\n'))));
    QCOMPARE(board.readFile(QStringLiteral("lib/morse.py")), readLocalFile(project + QStringLiteral("/lib/morse.py")));
    for (const char *name : {"morse_demo.py", "sensors/__init__.py", "sensors/chip.py"})
        QVERIFY2(!board.readFile(QLatin1String(name)).isEmpty(), name);
    QVERIFY(boardRow(window, QStringLiteral("sensors")).isValid());
}

QTEST_MAIN(TestDemo)
#include "tst_demo.moc"
