// The demo of scripts/run.sh, prepared by the very script run.sh calls: the
// first click connects, the board holds a new board's files, and the example
// packages unpack onto it.
#include "connectionpopup.h"
#include "morvexwindow.h"
#include "morvexwindowprobe.h"
#include "testsupport.h"
#include "virtualboard.h"

#include <QtTest>
#include <QtWidgets>

class TestDemo : public QObject
{
    Q_OBJECT
    SettingsSandbox sandbox;

private slots:
    void firstClickConnects_data()
    {
        QTest::addColumn<QString>("family");
        QTest::addColumn<int>("index");
        QTest::addColumn<QStringList>("boardFiles");
        QTest::newRow("stm32") << "stm32" << 0 << QStringList{"README.txt", "boot.py", "main.py", "pybcdc.inf"};
        QTest::newRow("esp32") << "esp32" << 1 << QStringList{"boot.py"};
    }

    void firstClickConnects()
    {
        QFETCH(QString, family);
        QFETCH(int, index);
        QFETCH(QStringList, boardFiles);
        VirtualBoard board;
        QVERIFY2(board.start({"--family", family}), qPrintable(board.errors()));
        QTemporaryDir work;
        QByteArray output;
        QVERIFY2(runProgram(MORVEX_PYTHON, {MORVEX_SOURCE_DIR "/tools/demo/setup.py", work.path(), "--family", family, "--port",
                                            board.portPath(), "--fs", board.fsPath(), "--config", sandbox.path()},
                            QString(), &output),
                 output.constData());
        // As run.sh offers it: after whatever ports the system has.
        qputenv("MORVEX_EXTRA_PORTS", board.portPath().toLocal8Bit());
        MorvexWindow window;
        window.loadWindowState();
        const QString project = work.filePath("project");
        QCOMPARE(window.findChild<QLineEdit *>("pcFolderEdit")->text(), project);
        // The user opens the popup and presses the tick, changing nothing.
        QString offered;
        DialogAnswerer answerer([&](QWidget *widget) {
            auto *popup = qobject_cast<ConnectionPopup *>(widget);
            if (!popup)
                return false;
            offered = popup->portName() + ' ' + QString::number(popup->boardType());
            popup->findChild<QToolButton *>("applyButton")->click();
            return true;
        });
        windowAction(window, "actionConnect")->trigger();
        QCOMPARE(offered, board.portPath() + ' ' + QString::number(index));
        QVERIFY2(waitFor([&] { return window.state() == MorvexWindow::MC_REPL && board.received().contains("os.chdir("); }, 20000),
                 qPrintable(syslogMessages(window).join('\n')));
        QVERIFY(waitFor([&] { return MorvexWindowProbe::mcModel(window).rowCount() > 0; }, 5000));
        for (const QString &name : boardFiles)
            QVERIFY2(boardRow(window, name).isValid(), qPrintable(name));
        // Both example packages unpack onto this board, by a double click each.
        QScopedPointer<DialogAnswerer> yes(DialogAnswerer::messageBox(QMessageBox::Yes));
        for (const char *package : {"morse.zpack", "sensors.zfw"})
            doubleClick(window.findChild<QAbstractItemView *>("pcFileList"),
                        MorvexWindowProbe::pcModel(window).index(project + '/' + package));
        const QStringList log = syslogMessages(window);
        QVERIFY2(inOrder(log, {"Loading zpack for Morse code blinker", "ZPack uploaded!",
                               QStringLiteral("ZFW firmware package is for %1/sensors (example firmware pack of the Morvex demo)")
                                   .arg(index ? "ESP32" : "PYBv1.1"),
                               "ZFW firmware pack uploaded!"}),
                 qPrintable(log.join('\n')));
        QCOMPARE(board.readFile("lib/morse.py"), readLocalFile(project + "/lib/morse.py"));
        for (const char *name : {"morse_demo.py", "sensors/__init__.py", "sensors/chip.py"})
            QVERIFY2(!board.readFile(name).isEmpty(), name);
    }
};

QTEST_MAIN(TestDemo)
#include "tst_demo.moc"
