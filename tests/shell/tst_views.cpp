// The terminal and system log views: ANSI colours, time stamps, saving.
#include "morvexwindowprobe.h"
#include "testsupport.h"

#include <QtTest>
#include <QtWidgets>

class tst_Views : public QObject
{
    Q_OBJECT
    SettingsSandbox sandbox;

private slots:
    void init() { sandbox.clear(); }

    void ansiToHtml_data()
    {
        QTest::addColumn<QString>("input");
        QTest::addColumn<QString>("expected");
        QTest::newRow("reset with nothing open") << "\x1b[0mA" << "A";
        QTest::newRow("red then green stays open") << "\x1b[31mA\x1b[32mB" << "<font color=red>A</font><font color=green>B";
        QTest::newRow("red then reset") << "\x1b[31mA\x1b[0mB" << "<font color=red>A</font>B";
        QTest::newRow("black 30, bright 90 too") << "\x1b[30mA\x1b[90mB" << "<font color=black>A</font><font color=black>B";
        QTest::newRow("only the last two parameters") << "\x1b[1;4;31mA" << "<font color=black></font><font color=red>A";
        QTest::newRow("all colour names") << "\x1b[33ma\x1b[34mb\x1b[35mc\x1b[36md\x1b[37me"
                                          << "<font color=yellow>a</font><font color=blue>b</font><font color=magenta>c"
                                             "</font><font color=cyan>d</font><font color=white>e";
        QTest::newRow("no digits, other sequences stay") << "\x1b[mA\x1b[2JB" << "\x1b[mA\x1b[2JB";
        // An empty replacement near the start moves the search towards the end.
        QTest::newRow("negative search start skips") << "\x1b[0mabc\x1b[31mX" << "abc\x1b[31mX";
    }

    void ansiToHtml()
    {
        QFETCH(QString, input);
        QFETCH(QString, expected);
        QCOMPARE(MorvexWindow::ansiToHtml(input), expected);
        QCOMPARE(input, expected);
    }

    void timeStampedLines()
    {
        MorvexWindow window;
        window.logLine("hello \x1b[31mred");
        window.termLine("board says");
        const QRegularExpression stamped("^\\[\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\]: (.*)$");
        QCOMPARE(stamped.match(syslogText(window)).captured(1), QStringLiteral("hello red"));
        QCOMPARE(stamped.match(terminalText(window)).captured(1), QStringLiteral("board says"));
        // The prefix keeps the view's colour whatever the text's colours are.
        const QString logHtml = window.findChild<QTextBrowser *>("logBrowser")->toHtml().toLower();
        QVERIFY(logHtml.contains(MorvexWindowProbe::logTimeColor(window).toLower()) && logHtml.contains("#ff0000"));
        QVERIFY(window.findChild<QTextBrowser *>("runtimeLogBrowser")->toHtml().toLower().contains(MorvexWindowProbe::termTimeColor(window).toLower()));
    }

    void saveLog_data()
    {
        QTest::addColumn<QString>("action");
        QTest::addColumn<QString>("chosen"); // empty: the file dialog is cancelled
        QTest::addColumn<QString>("written");
        QTest::addColumn<QString>("content");
        QTest::newRow("terminal, ending added") << "actionSaveTerminal" << "term" << "term.log" << "terminal line";
        QTest::newRow("syslog, upper-case ending kept") << "actionSaveSyslog" << "SYS.LOG" << "SYS.LOG" << "log line";
        QTest::newRow("cancelled") << "actionSaveSyslog" << "" << "" << "";
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
        if (!chosen.isEmpty())
            window.logLine("log line <b>bold</b>");
        QScopedPointer<DialogAnswerer> answer(DialogAnswerer::fileName(chosen.isEmpty() ? QString() : dir.filePath(chosen)));
        window.findChild<QAction *>(action)->trigger();
        QCOMPARE(answer->answered(), 1);
        if (chosen.isEmpty()) {
            QVERIFY(!QSettings().contains("UI/LogDir") && syslogText(window).isEmpty());
            return;
        }
        const QString text = QString::fromUtf8(readLocalFile(dir.filePath(written)));
        QVERIFY(text.contains(content) && !text.contains("<b>"));
        QVERIFY(syslogText(window).contains(QStringLiteral("Saved to %1").arg(written)));
        QCOMPARE(QDir(QSettings().value("UI/LogDir").toString()), QDir(dir.path()));
    }
};

QTEST_MAIN(tst_Views)
#include "tst_views.moc"
