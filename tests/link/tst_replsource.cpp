// What the REPL console types at the board and how it reads the answers, without a board.
#include "ansitext.h"
#include "replexchange.h"
#include "replsource.h"

#include <QTest>

namespace {
// Feeds stream in pieces of size step (0: whole) and gathers what is shown.
QByteArray feedAll(ReplExchange &exchange, const QByteArray &stream, int step)
{
    QByteArray shown;
    const int size = step > 0 ? step : qMax(1, stream.size());
    for (int i = 0; i < stream.size(); i += size)
        shown += exchange.feed(stream.mid(i, size));
    return shown;
}

// Runs as "color:text", line ends as "|", backspaces as "<".
QString describe(const QList<AnsiText::Run> &runs)
{
    QString text;
    for (const AnsiText::Run &run : runs) {
        if (run.kind == AnsiText::Run::LineEnd)
            text += QLatin1Char('|');
        else if (run.kind == AnsiText::Run::Backspace)
            text += QLatin1Char('<');
        else
            text += QStringLiteral("%1:%2 ").arg(run.color).arg(run.text);
    }
    return text;
}

const QByteArray osListing = QByteArrayLiteral(
    "os.\r\nremove          sep             VfsFat          VfsLfs2\r\n"
    "chdir           getcwd          ilistdir        listdir\r\n"
    "mkdir           mount           rename          rmdir\r\n"
    "stat            statvfs         umount          uname\r\n"
    "unlink\r\n>>> os.\r\n>>> ");
} // namespace

class tst_ReplSource : public QObject
{
    Q_OBJECT

private slots:
    void needsMoreInput_data();
    void needsMoreInput();
    void friendlyLine_data();
    void friendlyLine();
    void paste();
    void completionStem_data();
    void completionStem();
    void exchange_data();
    void exchange();
    void ansi_data();
    void ansi();
};

void tst_ReplSource::needsMoreInput_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("more");
    QTest::newRow("empty") << "" << false;
    QTest::newRow("expression") << "1 + 1" << false;
    QTest::newRow("header") << "def f(x):" << true;
    QTest::newRow("open block") << "def f(x):\n    return x" << true;
    QTest::newRow("block closed by an empty line") << "def f(x):\n    return x\n" << false;
    QTest::newRow("one-line compound") << "while True: pass" << true;
    QTest::newRow("name starting with a keyword") << "iffy = 3" << false;
    QTest::newRow("decorator") << "@micropython.native" << true;
    QTest::newRow("open bracket") << "x = (1,\n2" << true;
    QTest::newRow("closed brackets") << "x = [1,\n2]" << false;
    QTest::newRow("bracket in a string") << "print('(')" << false;
    QTest::newRow("escaped quote") << "s = 'it\\'s ('" << false;
    QTest::newRow("open triple quote") << "s = '''a\nb" << true;
    QTest::newRow("closed triple quote") << "s = \"\"\"a\nb\"\"\"" << false;
    QTest::newRow("backslash") << "x = 1 + \\" << true;
}

void tst_ReplSource::needsMoreInput()
{
    QFETCH(QString, text);
    QFETCH(bool, more);
    QCOMPARE(ReplSource::needsMoreInput(text), more);
}

void tst_ReplSource::friendlyLine_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("line"); // empty: paste mode
    QTest::newRow("plain") << "print(1 + 1)" << QByteArray("print(1 + 1)");
    QTest::newRow("Cyrillic in a string") << QStringLiteral("print('при')")
                                          << QByteArray("print('\\u043f\\u0440\\u0438')");
    QTest::newRow("Latin-1 in a u string") << QStringLiteral("u\"é\"") << QByteArray("u\"\\xe9\"");
    QTest::newRow("beyond the BMP") << QStringLiteral("'🙂'") << QByteArray("'\\U0001f642'");
    QTest::newRow("in a triple quote") << QStringLiteral("'''ж'''") << QByteArray("'''\\u0436'''");
    QTest::newRow("tab in a string") << "'a\tb'" << QByteArray("'a\\x09b'");
    QTest::newRow("escapes kept") << "'a\\'b\\n'" << QByteArray("'a\\'b\\n'");
    QTest::newRow("second string") << QStringLiteral("'a' + \"ж\"") << QByteArray("'a' + \"\\u0436\"");
    QTest::newRow("bytes literal") << QStringLiteral("b'é'") << QByteArray();
    QTest::newRow("raw string") << QStringLiteral("r'é'") << QByteArray();
    QTest::newRow("f-string") << QStringLiteral("f'é{x}'") << QByteArray();
    QTest::newRow("comment") << QStringLiteral("x = 1  # ж") << QByteArray();
    QTest::newRow("name") << QStringLiteral("ж = 1") << QByteArray();
    QTest::newRow("backslash before non-ASCII") << QStringLiteral("'\\é'") << QByteArray();
    QTest::newRow("tab outside a string") << "x\t= 1" << QByteArray();
    QTest::newRow("two lines") << "a = 1\nb = 2" << QByteArray();
    QTest::newRow("compound") << "for i in x: print(i)" << QByteArray();
}

void tst_ReplSource::friendlyLine()
{
    QFETCH(QString, text);
    QFETCH(QByteArray, line);
    QCOMPARE(ReplSource::friendlyLine(text), line);
}

void tst_ReplSource::paste()
{
    const QString text = QStringLiteral("def f():\n\tprint('ж')\x07\n\n  \n");
    QCOMPARE(ReplSource::pasteBlock(text), QByteArray("\x05" "def f():\r\tprint('\xd0\xb6')\x04"));
    QCOMPARE(ReplSource::pasteEcho(text),
             QByteArray("\r\npaste mode; Ctrl-C to cancel, Ctrl-D to finish\r\n=== def f():\r\n=== \tprint('\xd0\xb6')\r\n"));
}

void tst_ReplSource::completionStem_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<QByteArray>("stem");
    QTest::newRow("import") << "import mach" << QByteArray("import mach");
    QTest::newRow("indented attribute") << "    os.li" << QByteArray("os.li");
    QTest::newRow("after a dot") << "x = os." << QByteArray("x = os.");
    QTest::newRow("non-ASCII before") << QStringLiteral("s = 'ж'; os.li") << QByteArray("os.li");
    QTest::newRow("after a bracket") << "print(" << QByteArray();
    QTest::newRow("blank") << "    " << QByteArray();
}

void tst_ReplSource::completionStem()
{
    QFETCH(QString, before);
    QFETCH(QByteArray, stem);
    QCOMPARE(ReplSource::completionStem(before), stem);
}

void tst_ReplSource::exchange_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<QByteArray>("typed");
    QTest::addColumn<QByteArray>("stream");
    QTest::addColumn<QByteArray>("shown");
    QTest::addColumn<bool>("finished");
    QTest::addColumn<QByteArray>("insertion");
    QTest::addColumn<int>("candidates");
    const int st = ReplExchange::Statement, co = ReplExchange::Completion, re = ReplExchange::Reboot;
    QTest::newRow("value") << st << QByteArray("1+1\r\n") << QByteArray("1+1\r\n2\r\n>>> ") << QByteArray("2\r\n")
                           << true << QByteArray() << 0;
    QTest::newRow("no line end before the prompt")
        << st << QByteArray("x\r\n") << QByteArray("x\r\nabc>>> ") << QByteArray("abc") << true << QByteArray() << 0;
    QTest::newRow("arrows in the output") << st << QByteArray("p\r\n") << QByteArray("p\r\na > b >> c\r\n>>> ")
                                          << QByteArray("a > b >> c\r\n") << true << QByteArray() << 0;
    QTest::newRow("still running") << st << QByteArray("p\r\n") << QByteArray("p\r\ntick\r\n>>")
                                   << QByteArray("tick\r\n") << false << QByteArray() << 0;
    QTest::newRow("input prompt") << st << QByteArray("p\r\n") << QByteArray("p\r\nName? ")
                                  << QByteArray("Name? ") << false << QByteArray() << 0;
    QTest::newRow("stray prompt before the echo")
        << st << QByteArray("1\r\n") << QByteArray("\r\n>>> \r\n>>> 1\r\n1\r\n>>> ") << QByteArray("1\r\n") << true
        << QByteArray() << 0;
    QTest::newRow("another echo is shown")
        << st << QByteArray("a\r\n") << QByteArray("b\r\nc\r\n>>> ") << QByteArray("b\r\nc\r\n") << true
        << QByteArray() << 0;
    QTest::newRow("paste") << st << QByteArray("\r\npaste mode; Ctrl-C to cancel, Ctrl-D to finish\r\n=== x\r\n")
                           << QByteArray("\r\npaste mode; Ctrl-C to cancel, Ctrl-D to finish\r\n=== x\r\nok\r\n>>> ")
                           << QByteArray("ok\r\n") << true << QByteArray() << 0;
    QTest::newRow("reboot") << re << QByteArray()
                            << QByteArray("\r\nMPY: soft reboot\r\nMicroPython v1\r\nType \"help()\" for more information.\r\n>>> ")
                            << QByteArray("\r\nMPY: soft reboot\r\nMicroPython v1\r\nType \"help()\" for more information.\r\n")
                            << true << QByteArray() << 0;
    QTest::newRow("one candidate") << co << QByteArray("import mach") << QByteArray("import machine\r\n>>> ")
                                   << QByteArray() << true << QByteArray("ine") << 0;
    QTest::newRow("no candidate") << co << QByteArray("os.xyz") << QByteArray("os.xyz\r\n>>> ") << QByteArray()
                                  << true << QByteArray() << 0;
    QTest::newRow("several candidates") << co << QByteArray("os.") << osListing << QByteArray() << true
                                        << QByteArray() << 17;
    QTest::newRow("listing not yet whole") << co << QByteArray("os.") << osListing.left(osListing.size() - 8)
                                           << QByteArray() << false << QByteArray() << 0;
}

void tst_ReplSource::exchange()
{
    QFETCH(int, kind);
    QFETCH(QByteArray, typed);
    QFETCH(QByteArray, stream);
    QFETCH(QByteArray, shown);
    QFETCH(bool, finished);
    QFETCH(QByteArray, insertion);
    QFETCH(int, candidates);
    // However the board's bytes are cut into reads.
    for (const int step : {0, 1, 3}) {
        ReplExchange exchange = kind == ReplExchange::Statement    ? ReplExchange::statement(typed)
                                : kind == ReplExchange::Completion ? ReplExchange::completion(typed)
                                                                    : ReplExchange::reboot();
        QCOMPARE(feedAll(exchange, stream, step), shown);
        QCOMPARE(exchange.finished(), finished);
        QCOMPARE(exchange.insertion(), insertion);
        QCOMPARE(exchange.candidates().size(), candidates);
    }
}

void tst_ReplSource::ansi_data()
{
    QTest::addColumn<QList<QByteArray>>("pieces");
    QTest::addColumn<QString>("runs");
    QTest::newRow("plain") << QList<QByteArray>{"ab\r\ncd"} << "0:ab |0:cd ";
    QTest::newRow("colours") << QList<QByteArray>{"\x1b[31mred\x1b[0m x"} << "31:red 0: x ";
    QTest::newRow("last two numbers") << QList<QByteArray>{"\x1b[1;4;32mg"} << "32:g ";
    QTest::newRow("bold alone") << QList<QByteArray>{"\x1b[1mb"} << "1:b ";
    QTest::newRow("split sequence") << QList<QByteArray>{"\x1b[3", "4mb"} << "34:b ";
    QTest::newRow("other sequences") << QList<QByteArray>{"a\x1b[K\x1b[?25lb\x1b(Bc"} << "0:abc ";
    QTest::newRow("backspace") << QList<QByteArray>{"ab\x08\x08x"} << "0:ab <<0:x ";
    QTest::newRow("split UTF-8") << QList<QByteArray>{"\xd0", "\xb6\x00\x07"} << QStringLiteral("0:ж ");
}

void tst_ReplSource::ansi()
{
    QFETCH(QList<QByteArray>, pieces);
    QFETCH(QString, runs);
    AnsiText text;
    QList<AnsiText::Run> all;
    for (const QByteArray &piece : pieces)
        all += text.feed(piece);
    QCOMPARE(describe(all), runs);
}

QTEST_GUILESS_MAIN(tst_ReplSource)
#include "tst_replsource.moc"
