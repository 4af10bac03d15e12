// Reply assembly: how received bytes are cut into pieces per board state.
#include "boardtext.h"
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
    void boardText_data();
    void boardText();

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
    QTest::newRow("prompt with bytes behind") << repl << Pieces{">>> x"} << Pieces{} << 0 << QByteArray(">>> x");
    QTest::newRow("reply then prompt") << repl << Pieces{"cmd\r\n42\r\n>>> "} << Pieces{"cmd", "42", ">>> "} << 1 << QByteArray();
    QTest::newRow("prompt arriving in pieces") << repl << Pieces{"1\r\n>>", "> "} << Pieces{"1", ">>> "} << 1 << QByteArray();
    QTest::newRow("banner then two prompts") << repl << Pieces{"\r\nBanner\r\n>>> \r\n>>> "}
                                            << Pieces{"Banner", ">>> ", ">>> "} << 2 << QByteArray();
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

// Board text stands up to its first zero byte, from UTF-8 unless the link reads Latin-1.
void tst_ReplyAssembly::boardText_data()
{
    QTest::addColumn<QByteArray>("piece");
    QTest::addColumn<QString>("utf8");
    QTest::addColumn<QString>("latin1");
    QTest::newRow("no zero") << QByteArray("\xd1\x84!") << QStringLiteral("\u0444!") << QStringLiteral("\u00d1\u0084!");
    QTest::newRow("cut at the zero") << QByteArray("\xd1\x84\0tail", 7) << QStringLiteral("\u0444")
                                     << QStringLiteral("\u00d1\u0084");
    QTest::newRow("zero first") << QByteArray("\0x", 2) << QString() << QString();
}

void tst_ReplyAssembly::boardText()
{
    QFETCH(QByteArray, piece);
    QFETCH(QString, utf8);
    QFETCH(QString, latin1);
    QCOMPARE(boardUtf8(piece), utf8);
    QCOMPARE(boardLatin1(piece), latin1);
}

QTEST_MAIN(tst_ReplyAssembly)
#include "tst_replyassembly.moc"
