// Reply assembly: how received bytes are cut into pieces per board state.
#include "morvexwindowprobe.h"
#include "testsupport.h"

#include <QSignalSpy>
#include <QTest>

using Pieces = QList<QByteArray>;
Q_DECLARE_METATYPE(MorvexWindow::MC_STATE)

class tst_ReplyAssembly : public QObject
{
    Q_OBJECT

private slots:
    void split_data();
    void split();
    void processQueueRouting_data();
    void processQueueRouting();

private:
    SettingsSandbox sandbox;
};

void tst_ReplyAssembly::split_data()
{
    QTest::addColumn<MorvexWindow::MC_STATE>("state");
    QTest::addColumn<Pieces>("chunks");
    QTest::addColumn<Pieces>("queued");
    QTest::addColumn<int>("eods");
    QTest::addColumn<QByteArray>("left");
    const auto unknown = MorvexWindow::MC_UNKNOWN;
    const auto repl = MorvexWindow::MC_REPL;
    const auto raw = MorvexWindow::MC_RAW;
    QTest::newRow("lines, empty line skipped") << unknown << Pieces{"abc\r\n\r\ndef"} << Pieces{"abc"} << 0 << QByteArray("def");
    QTest::newRow("terminator split over reads") << unknown << Pieces{"ab\r", "\ncd\r\n"} << Pieces{"ab", "cd"} << 0 << QByteArray();
    QTest::newRow("prompt alone") << repl << Pieces{">>> "} << Pieces{">>> "} << 1 << QByteArray();
    QTest::newRow("prompt behind text") << repl << Pieces{"x>>> "} << Pieces{} << 0 << QByteArray("x>>> ");
    QTest::newRow("prompt with line end") << repl << Pieces{">>> \r\n"} << Pieces{">>> "} << 1 << QByteArray();
    QTest::newRow("prompt with bytes behind") << repl << Pieces{">>> x"} << Pieces{} << 0 << QByteArray(">>> x");
    QTest::newRow("reply then prompt") << repl << Pieces{"cmd\r\n42\r\n>>> "} << Pieces{"cmd", "42", ">>> "} << 1 << QByteArray();
    QTest::newRow("prompt arriving in pieces") << repl << Pieces{"1\r\n>>", "> "} << Pieces{"1", ">>> "} << 1 << QByteArray();
    QTest::newRow("banner then two prompts") << repl << Pieces{"\r\nBanner\r\n>>> \r\n>>> "}
                                            << Pieces{"Banner", ">>> ", ">>> "} << 2 << QByteArray();
    QTest::newRow("raw: empty pieces fire nothing") << raw << Pieces{">>"} << Pieces{} << 0 << QByteArray();
    QTest::newRow("raw: every piece fires") << raw << Pieces{"a>b>"} << Pieces{"a", "b"} << 2 << QByteArray();
    QTest::newRow("raw: record without end waits") << raw << Pieces{"OK#9>#"} << Pieces{"OK#9"} << 1 << QByteArray("#");
    QTest::newRow("raw: line ends are data") << raw << Pieces{"OKhi\r\n\x04\x04>"} << Pieces{"OKhi\r\n\x04\x04"} << 1
                                            << QByteArray();
}

void tst_ReplyAssembly::split()
{
    QFETCH(MorvexWindow::MC_STATE, state);
    QFETCH(Pieces, chunks);
    QFETCH(Pieces, queued);
    QFETCH(int, eods);
    QFETCH(QByteArray, left);
    MorvexWindow window;
    MorvexWindowProbe::mcState(window) = state;
    QSignalSpy spy(&window, &MorvexWindow::eod);
    const QByteArray terminator = state == MorvexWindow::MC_RAW ? MorvexWindow::RAW_PROMPT : MorvexWindow::EOL;
    for (const QByteArray &chunk : qAsConst(chunks)) {
        MorvexWindowProbe::rxBuffer(window).append(chunk);
        window.splitReplies(terminator);
    }
    QCOMPARE(MorvexWindowProbe::rxQueue(window), queued);
    QCOMPARE(spy.count(), eods);
    QCOMPARE(MorvexWindowProbe::rxBuffer(window), left);
}

void tst_ReplyAssembly::processQueueRouting_data()
{
    QTest::addColumn<MorvexWindow::MC_STATE>("state");
    QTest::addColumn<bool>("toTerminal");
    QTest::addColumn<bool>("promptShown");
    QTest::newRow("unknown: terminal, prompt shown") << MorvexWindow::MC_UNKNOWN << true << true;
    QTest::newRow("running: terminal, prompt shown") << MorvexWindow::MC_RUNNING << true << true;
    QTest::newRow("repl: log, prompt dropped") << MorvexWindow::MC_REPL << false << false;
    QTest::newRow("raw: log, prompt dropped") << MorvexWindow::MC_RAW << false << false;
}

void tst_ReplyAssembly::processQueueRouting()
{
    QFETCH(MorvexWindow::MC_STATE, state);
    QFETCH(bool, toTerminal);
    QFETCH(bool, promptShown);
    MorvexWindow window;
    MorvexWindowProbe::mcState(window) = state;
    MorvexWindowProbe::rxQueue(window) = {"first \xc3\xa9", ">>> ", QByteArray("cut\0hidden", 10)};
    window.processQueue();
    QVERIFY(MorvexWindowProbe::rxQueue(window).isEmpty());
    const QString shown = toTerminal ? terminalText(window) : syslogText(window);
    const QString other = toTerminal ? syslogText(window) : terminalText(window);
    QVERIFY(shown.contains(QStringLiteral("first \u00e9")) && shown.contains(QStringLiteral("cut")) && !shown.contains(QStringLiteral("hidden")));
    QCOMPARE(shown.contains(QStringLiteral(">>> ")), promptShown);
    QVERIFY(other.isEmpty());
}

QTEST_MAIN(tst_ReplyAssembly)
#include "tst_replyassembly.moc"
