// The main window's form: actions, placement, start-up state and settings;
// its terminal and system log views: time stamps, saving.
#include "morvexwindow.h"
#include "testsupport.h"

#include <QtTest>
#include <QtWidgets>

class tst_Form : public QObject
{
    Q_OBJECT
    SettingsSandbox sandbox;

private slots:
    void init() { sandbox.clear(); }

    // Texts and tool tips are the catalogue suite's: a changed one is a text the catalogue lacks.
    void actions_data()
    {
        QTest::addColumn<QString>("shortcut");
        QTest::addColumn<QString>("icon"); // its name in the icon font, empty for none
        QTest::addColumn<bool>("checkable");
        const auto row = [](const char *name, const char *shortcut, const char *icon, bool checkable = false) {
            QTest::newRow(name) << shortcut << icon << checkable;
        };
        row("actionExit", "Ctrl+Q", "");
        row("actionUpload", "Ctrl+U", "send");
        row("actionDownload", "Ctrl+D", "save");
        row("actionAbort", "Ctrl+X", "cancel");
        row("actionReset", "Ctrl+Z", "restore");
        row("actionEdit", "Ctrl+E", "edit");
        row("actionNew_Directory", "Ctrl+Shift+N", "create_new_folder");
        row("actionNew_File", "Ctrl+N", "add_circle");
        row("actionInstall_Package", "", "cloud_download");
        row("actionConnect", "Ctrl+O", "link");
        row("actionReset_MC", "Ctrl+R", "refresh", true);
        row("actionMonitor_Only", "Ctrl+M", "visibility", true);
        row("actionAutomatic_Reconnect", "", "autorenew", true);
    }

    void actions()
    {
        QFETCH(QString, shortcut);
        QFETCH(QString, icon);
        QFETCH(bool, checkable);
        MorvexWindow w;
        auto *action = w.findChild<QAction *>(QTest::currentDataTag());
        QVERIFY(action);
        QCOMPARE(action->shortcut(), QKeySequence(shortcut));
        QVERIFY(icon.isEmpty() ? action->icon().isNull() : showsIcon(action->icon(), icon));
        QCOMPARE(action->isCheckable(), checkable);
    }

    void placement()
    {
        const char *placements[][2] = {
            {"menubar", "menuFile menuEdit menuHelp"},
            {"menuFile", "actionInstall_Package - menuSave_Log - actionExit"},
            {"menuSave_Log", "actionSaveTerminal actionSaveSyslog"},
            {"menuEdit", "actionPreferences actionClear_Syslog actionClear_Terminal"},
            {"menuHelp", "actionCheck_for_updates actionAbout_Qt actionAbout"},
            {"a_connectionToolBar", "actionConnect actionReset_MC actionMonitor_Only actionAutomatic_Reconnect"},
            {"b_actionsToolBar", "actionUpload actionDownload actionNew_File actionEdit actionRemove actionSync - actionUpload_Package "
                                 "actionInstall_Package - "
                                 "actionNew_Directory actionLaunch actionAbort actionReset actionDFU"}};
        MorvexWindow w;
        for (const auto &placement : placements) {
            QStringList names;
            for (const QAction *action : w.findChild<QWidget *>(placement[0])->actions())
                names << (action->isSeparator() ? "-" : action->menu() ? action->menu()->objectName() : action->objectName());
            QCOMPARE(names.join(' '), QString::fromLatin1(placement[1]));
        }
    }

    void startState()
    {
        MorvexWindow w;
        QCOMPARE(w.state(), MorvexWindow::MC_UNKNOWN);
        QVERIFY(!w.findChild<QGroupBox *>("fileSystemGroup")->isEnabled());
        QVERIFY(!w.findChild<QToolBar *>("b_actionsToolBar")->isEnabled());
        QVERIFY(w.findChild<QToolBar *>("a_connectionToolBar")->isEnabled());
        // The board actions switch as one, exactly these nine and the installer, and nothing else.
        const QStringList gated = {"actionUpload", "actionDownload", "actionNew_File", "actionNew_Directory", "actionEdit",
                                   "actionRemove", "actionSync", "actionUpload_Package", "actionLaunch", "actionInstall_Package"};
        for (bool on : {true, false, true}) {
            w.setBoardActions(on);
            for (const QAction *action : w.findChildren<QAction *>()) {
                if (!action->objectName().isEmpty())
                    QVERIFY2(action->isEnabled() == (gated.contains(action->objectName()) ? on : true), qPrintable(action->objectName()));
            }
        }
    }

    // One flag on and one off: a swapped key or a constant shows.
    void connectionFlags()
    {
        {
            MorvexWindow w;
            w.loadWindowState();
            QVERIFY(!w.findChild<QAction *>("actionAutomatic_Reconnect")->isChecked() && !w.findChild<QAction *>("actionMonitor_Only")->isChecked());
            w.findChild<QAction *>("actionAutomatic_Reconnect")->setChecked(true);
            w.findChild<QAction *>("actionReset_MC")->setChecked(true);
            w.saveConnectionFlags();
        }
        QCOMPARE(QSettings().value("MC/ConnRest").toString() + QSettings().value("MC/MonOnly").toString(), QStringLiteral("truefalse"));
        MorvexWindow again;
        again.loadWindowState();
        QVERIFY(again.findChild<QAction *>("actionAutomatic_Reconnect")->isChecked());
        QVERIFY(!again.findChild<QAction *>("actionMonitor_Only")->isChecked() && !again.findChild<QAction *>("actionReset_MC")->isChecked());
    }

    // The About text whole: every library built into or linked by the program is named, with its licence.
    void aboutBox()
    {
        MorvexWindow w;
        QScopedPointer<DialogAnswerer> box(DialogAnswerer::messageBox(QMessageBox::Ok));
        w.findChild<QAction *>("actionAbout")->trigger();
        QCOMPARE(box->titles(), QStringList{"Morvex"});
        QCOMPARE(box->texts(), QStringList{
            "MVX Board Toolkit v0.2.0<br>Developed by: Halvorn Works LLC \u00a92020<br>"
            "<a href=\"https://support.halvorn.works/\">support.halvorn.works</a><br><br>3rd party software:<ul>"
            "<li><a href=\"https://github.com/google/material-design-icons\">Material design icons</a> (Apache License 2.0)</li>"
            "<li><a href=\"https://github.com/Megaxela/QCodeEditor\">QCodeEditor</a> (MIT License)</li>"
            "<li><a href=\"https://github.com/rxi/microtar\">microtar</a> (MIT License)</li>"
            "<li><a href=\"https://qwt.sourceforge.io/\">Qwt</a> (Qwt License 1.0)</li></ul>"});
    }

    void timeStampedLines()
    {
        MorvexWindow window;
        window.logLine("hello \x1b[31mred");
        window.termLine("board says");
        const QRegularExpression stamped("^\\[\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\]: (.*)$");
        QCOMPARE(stamped.match(syslogText(window)).captured(1), QStringLiteral("hello red"));
        QCOMPARE(stamped.match(terminalText(window)).captured(1), QStringLiteral("board says"));
    }

    void saveLog_data()
    {
        QTest::addColumn<QString>("action");
        QTest::addColumn<QString>("chosen");
        QTest::addColumn<QString>("written");
        QTest::addColumn<QString>("content");
        QTest::newRow("terminal, ending added") << "actionSaveTerminal" << "term" << "term.log" << "terminal line";
        QTest::newRow("syslog, upper-case ending kept") << "actionSaveSyslog" << "SYS.LOG" << "SYS.LOG" << "log line";
    }

    void saveLog()
    {
        QFETCH(QString, action);
        QFETCH(QString, chosen);
        QFETCH(QString, written);
        QFETCH(QString, content);
        QTemporaryDir dir;
        MorvexWindow window;
        window.termLine("terminal line");
        window.logLine("log line <b>bold</b>");
        QScopedPointer<DialogAnswerer> answer(DialogAnswerer::fileName(dir.filePath(chosen)));
        window.findChild<QAction *>(action)->trigger();
        const QString text = QString::fromUtf8(readLocalFile(dir.filePath(written)));
        QVERIFY(text.contains(content) && !text.contains("<b>"));
        QVERIFY(syslogText(window).contains(QStringLiteral("Saved to %1").arg(written)));
        QCOMPARE(QDir(QSettings().value("UI/LogDir").toString()), QDir(dir.path()));
    }

    // Last: Exit quits the event loop straight away; no close event, so no window state. Closing saves it.
    void windowStateOnCloseOnly()
    {
        MorvexWindow w;
        w.show();
        QEventLoop loop;
        QTimer::singleShot(0, &w, [&] { w.findChild<QAction *>("actionExit")->trigger(); });
        QTimer::singleShot(5000, &loop, [&] { loop.exit(7); });
        QCOMPARE(loop.exec(), 0);
        QVERIFY(!QSettings().contains("UI/Geometry") && !QSettings().contains("UI/Win"));
        QVERIFY(w.close());
        QCOMPARE(QSettings().value("UI/Geometry").toByteArray(), w.saveGeometry());
        QCOMPARE(QSettings().value("UI/Win").toByteArray(), w.saveState());
    }
};

QTEST_MAIN(tst_Form)
#include "tst_form.moc"
