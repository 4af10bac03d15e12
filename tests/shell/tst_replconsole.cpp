// The REPL console through the real window and keystrokes, on both families, over a
// board's own USB port and through a line-rate bridge.
#include "morvexwindow.h"
#include "replconsole.h"
#include "replinput.h"
#include "testsupport.h"
#include "virtualboard.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QPlainTextEdit>
#include <QSettings>
#include <QSignalSpy>
#include <QTabWidget>
#include <QTest>

#include <memory>

namespace {
ReplInput *consoleInput(MorvexWindow &w)
{
    return w.findChild<ReplInput *>(QStringLiteral("replInput"));
}

QString sessionText(MorvexWindow &w)
{
    return w.findChild<QPlainTextEdit *>(QStringLiteral("replView"))->toPlainText();
}

// Typed key by key; QTest's own clicks know Latin-1 only.
void type(QWidget *widget, const QString &text)
{
    for (const QChar c : text) {
        if (c.unicode() < 0x80)
            QTest::keyClick(widget, c.toLatin1());
        else
            QTest::sendKeyEvent(QTest::Click, widget, Qt::Key_unknown, QString(c), Qt::NoModifier);
    }
}

bool boardActionsOn(MorvexWindow &w)
{
    return windowAction(w, "actionUpload")->isEnabled();
}

// The console takes input and no statement of it runs.
bool consoleIdle(MorvexWindow &w)
{
    return consoleInput(w)->isEnabled() && boardActionsOn(w);
}

// The session's text from the last ">>> line" on.
QString answerTo(MorvexWindow &w, const QString &line)
{
    const QString text = sessionText(w);
    const int at = text.lastIndexOf(QStringLiteral(">>> ") + line);
    return at < 0 ? QString() : text.mid(at);
}
} // namespace

class tst_ReplConsole : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QApplication::setEffectEnabled(Qt::UI_AnimateCombo, false); }
    void session_data();
    void session();
    void sessionSource_data();
    void sessionSource();

private:
    // Types line and Enter; true once the prompt is back with expected in the answer.
    bool run(MorvexWindow &w, const QString &line, const QString &expected, int timeoutMs = 8000)
    {
        if (!waitFor([&] { return consoleIdle(w); }, timeoutMs))
            return false;
        type(consoleInput(w), line);
        QTest::keyClick(consoleInput(w), Qt::Key_Return);
        return waitFor([&] { return consoleIdle(w) && answerTo(w, line.section('\n', 0, 0)).contains(expected); },
                       timeoutMs);
    }
};

void tst_ReplConsole::session_data()
{
    QTest::addColumn<int>("family");
    QTest::addColumn<QString>("delivery");
    QTest::newRow("stm32 usb") << 0 << "usb";
    QTest::newRow("esp32 usb") << 1 << "usb";
    QTest::newRow("stm32 uart") << 0 << "uart";
    QTest::newRow("esp32 uart") << 1 << "uart";
}

// Everything on one board, in the order a user would go.
void tst_ReplConsole::session()
{
    QFETCH(int, family);
    QFETCH(QString, delivery);
    SettingsSandbox sandbox;
    VirtualBoard board;
    QVERIFY(board.start(VirtualBoard::familyArgs(family) << "--delivery" << delivery << "--baud" << "115200"));
    auto w = std::make_unique<MorvexWindow>();
    QVERIFY(!consoleInput(*w)->isEnabled());
    QVERIFY(connectBoard(*w, board, family));
    auto *tabs = w->findChild<QTabWidget *>(QStringLiteral("logTabWidget"));
    tabs->setCurrentIndex(2);
    QCOMPARE(tabs->currentWidget()->objectName(), QStringLiteral("logReplTab"));
    ReplInput *input = consoleInput(*w);

    QVERIFY2(run(*w, "1+1", "1+1\n2\n"), qPrintable(sessionText(*w)));
    QVERIFY(run(*w, "b'abc'", "b'abc'\n"));
    QVERIFY(run(*w, "None", "None\n"));
    QCOMPARE(answerTo(*w, "None"), QStringLiteral(">>> None\n"));
    QVERIFY2(run(*w, "print('привет')", "привет\n"), qPrintable(sessionText(*w)));
    QVERIFY(run(*w, "len('привет'), 'é'", "(6, "));

    // Indentation as the user types it; the board's auto-indent must not double it.
    type(input, "def twice(x):");
    QTest::keyClick(input, Qt::Key_Return);
    QCOMPARE(input->toPlainText(), QStringLiteral("def twice(x):\n"));
    type(input, "    y = 2 * x");
    QTest::keyClick(input, Qt::Key_Return);
    type(input, "    return y");
    QTest::keyClick(input, Qt::Key_Return);
    QVERIFY(boardActionsOn(*w)); // nothing sent yet
    QTest::keyClick(input, Qt::Key_Return);
    QVERIFY(waitFor([&] { return consoleIdle(*w) && input->toPlainText().isEmpty(); }, 8000));
    QVERIFY(sessionText(*w).contains(">>> def twice(x):\n...     y = 2 * x\n...     return y\n"));
    QSignalSpy lines(w->findChild<ReplConsole *>(), &ReplConsole::outputLine);
    QVERIFY2(run(*w, "twice(21)", "42\n"), qPrintable(sessionText(*w)));
    QCOMPARE(lines, QList<QVariantList>{{QStringLiteral("42")}});

    // A pasted block runs on Enter as one block.
    QApplication::clipboard()->setText(QStringLiteral("a = 40\nb = 2\nprint('sum', a + b)"));
    input->paste();
    QCOMPARE(input->toPlainText(), QStringLiteral("a = 40\nb = 2\nprint('sum', a + b)"));
    QTest::keyClick(input, Qt::Key_Return);
    QVERIFY(waitFor([&] { return consoleIdle(*w) && answerTo(*w, "a = 40").contains("sum 42\n"); }, 8000));

    QVERIFY(run(*w, "1/0", "ZeroDivisionError: divide by zero"));
    QVERIFY(answerTo(*w, "1/0").contains("Traceback (most recent call last):\n  File \"<stdin>\", line 1"));
    QVERIFY(run(*w, "x = (1,,2)", "SyntaxError"));

    // Tab: one candidate completes in place; several are listed and the text stays.
    type(input, "import mach");
    QTest::keyClick(input, Qt::Key_Tab);
    QVERIFY2(waitFor([&] { return input->toPlainText() == "import machine"; }, 5000), qPrintable(input->toPlainText()));
    QTest::keyClick(input, Qt::Key_Return);
    QVERIFY(waitFor([&] { return consoleIdle(*w) && input->toPlainText().isEmpty(); }, 5000));
    QVERIFY(run(*w, "import os", ""));
    type(input, "os.");
    QTest::keyClick(input, Qt::Key_Tab);
    QVERIFY2(waitFor([&] { return sessionText(*w).contains("listdir"); }, 5000), qPrintable(sessionText(*w)));
    QVERIFY(sessionText(*w).contains("uname"));
    QCOMPARE(input->toPlainText(), QStringLiteral("os."));
    input->clear();

    // input() takes a line typed in the console.
    type(input, "name = input('Name? ')");
    QTest::keyClick(input, Qt::Key_Return);
    QVERIFY(waitFor([&] { return sessionText(*w).endsWith("Name? "); }, 5000));
    QVERIFY(!boardActionsOn(*w));
    type(input, "Ada");
    QTest::keyClick(input, Qt::Key_Return);
    QVERIFY(waitFor([&] { return consoleIdle(*w); }, 5000));
    QVERIFY(run(*w, "print(name * 2)", "AdaAda\n"));

    // A statement that never ends: stopped by Ctrl+C, then by Abort.
    const int syslogBefore = syslogMessages(*w).size();
    for (const bool byAbort : {false, true}) {
        type(input, "while True: pass");
        QTest::keyClick(input, Qt::Key_Return);
        QTest::keyClick(input, Qt::Key_Return);
        QVERIFY(waitFor([&] { return !boardActionsOn(*w) && input->isEnabled(); }, 5000));
        QVERIFY(!w->findChild<QWidget *>(QStringLiteral("fileSystemGroup"))->isEnabled());
        if (byAbort)
            windowAction(*w, "actionAbort")->trigger();
        else
            QTest::keyClick(input, Qt::Key_C, Qt::ControlModifier);
        QVERIFY(waitFor([&] { return consoleIdle(*w); }, 5000));
        QVERIFY(answerTo(*w, "while True: pass").contains("KeyboardInterrupt: \n"));
    }
    QVERIFY(w->findChild<QWidget *>(QStringLiteral("fileSystemGroup"))->isEnabled());
    QCOMPARE(syslogMessages(*w).size(), syslogBefore); // no "Stopped", no "Abort failed"

    // The program's own operations in between: nothing of theirs in the console, nothing
    // of the console's in the system log, and the input off while a transfer runs.
    QVERIFY(run(*w, "print('from the console')", "from the console\n"));
    const QString sessionBefore = sessionText(*w);
    bool offDuringTransfer = false;
    ActWhen watch([&] { return !boardActionsOn(*w); }, [&] { offDuringTransfer = !input->isEnabled(); });
    const QByteArray data = randomBytes(family ? 9000 : 12000, 7);
    const QString folder = family ? "/" : "/flash/";
    QVERIFY(uploadBytes(*w, data, folder + "data.bin"));
    QVERIFY(watch.done());
    QVERIFY(offDuringTransfer);
    QCOMPARE(board.readFile("data.bin"), data);
    w->changeBoardDir(folder);
    QVERIFY(boardRow(*w, "data.bin").isValid());
    QTemporaryDir local;
    QVERIFY(w->downloadToFile(folder + "data.bin", local.filePath("copy.bin")));
    QCOMPARE(readLocalFile(local.filePath("copy.bin")), data);
    QCOMPARE(sessionText(*w), sessionBefore);
    QVERIFY(run(*w, "print(len(open('data.bin', 'rb').read()))", QString::number(data.size())));
    QVERIFY(!syslogText(*w).contains("from the console"));
    QVERIFY(!syslogText(*w).contains("Name?"));
    QVERIFY(!terminalText(*w).contains("from the console"));

    // Ctrl+D: the board restarts its interpreter and is announced again.
    const int announced = syslogText(*w).count("Connected to micropython board");
    QTest::keyClick(input, Qt::Key_D, Qt::ControlModifier);
    QVERIFY(waitFor([&] { return syslogText(*w).count("Connected to micropython board") > announced; }, 10000));
    QVERIFY(sessionText(*w).contains("soft reboot"));
    QVERIFY(waitFor([&] { return consoleIdle(*w); }, 8000));
    QVERIFY(run(*w, "'twice' in globals()", "False\n"));

    // Up and Down walk what was run, across a restart of the window.
    w.reset();
    w = std::make_unique<MorvexWindow>();
    input = consoleInput(*w);
    QVERIFY(monitorBoard(*w, board, family));
    QVERIFY(waitFor([&] { return input->isEnabled(); }, 5000));
    type(input, "draft");
    QTest::keyClick(input, Qt::Key_Up);
    QCOMPARE(input->toPlainText(), QStringLiteral("'twice' in globals()"));
    QTest::keyClick(input, Qt::Key_Up);
    QCOMPARE(input->toPlainText(), QStringLiteral("print(len(open('data.bin', 'rb').read()))"));
    QTest::keyClick(input, Qt::Key_Down);
    QTest::keyClick(input, Qt::Key_Down);
    QCOMPARE(input->toPlainText(), QStringLiteral("draft"));
    input->clear();

    // Monitor Only: a plain terminal; the board's own echo and output show, the Terminal keeps all.
    type(input, "print(6 * 7)");
    QTest::keyClick(input, Qt::Key_Return);
    QVERIFY2(waitFor([&] { return sessionText(*w).contains("print(6 * 7)\n42\n>>> "); }, 5000),
             qPrintable(sessionText(*w)));
    QVERIFY(waitFor([&] { return terminalText(*w).contains("42"); }, 5000));
    QVERIFY(board.received().endsWith("print(6 * 7)\r"));
}

// How a statement reaches the board: typed at the prompt when that shows its value, pasted otherwise.
void tst_ReplConsole::sessionSource_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QByteArray>("sent");
    QTest::newRow("expression") << "6 * 7" << QByteArray("6 * 7\r");
    QTest::newRow("non-ASCII in a string") << "s = 'ж'" << QByteArray("s = '\\u0436'\r");
    QTest::newRow("non-ASCII in a comment") << "x = 1  # ж"
                                            << QByteArray("\x05x = 1  # \xd0\xb6\x04");
}

void tst_ReplConsole::sessionSource()
{
    QFETCH(QString, typed);
    QFETCH(QByteArray, sent);
    SettingsSandbox sandbox;
    VirtualBoard board;
    QVERIFY(board.start());
    MorvexWindow w;
    QVERIFY(connectBoard(w, board, 0));
    QVERIFY(waitFor([&] { return consoleIdle(w); }, 5000));
    const int before = board.received().size();
    type(consoleInput(w), typed);
    QTest::keyClick(consoleInput(w), Qt::Key_Return);
    QVERIFY(waitFor([&] { return consoleIdle(w) && board.received().size() > before; }, 5000));
    QCOMPARE(board.received().mid(before), sent);
}

QTEST_MAIN(tst_ReplConsole)
#include "tst_replconsole.moc"
