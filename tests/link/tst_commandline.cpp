// The program's command line, as a user runs it.
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

class tst_CommandLine : public QObject
{
    Q_OBJECT

private slots:
    void options_data();
    void options();
};

void tst_CommandLine::options_data()
{
    QTest::addColumn<QString>("option");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("version") << "--version" << QStringList{"Morvex 0.2.0"};
    QTest::newRow("help") << "--help"
                          << QStringList{"Halvorn micropython powered boards management utility.", "--ignore-dark",
                                         "--reset", "-l, --lang <lang>", "Set UI language to <lang>."};
}

void tst_CommandLine::options()
{
    QFETCH(QString, option);
    QFETCH(QStringList, expected);
    QTemporaryDir home;
    QProcess process;
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(home.path())); // the child's settings stay in the test's folder
    process.start(QStringLiteral(MORVEX_EXECUTABLE), {option});
    QVERIFY(process.waitForFinished(20000) && process.exitCode() == 0);
    const QString out = QString::fromLocal8Bit(process.readAllStandardOutput());
    for (const QString &text : expected)
        QVERIFY2(out.contains(text), qPrintable(out));
}

QTEST_GUILESS_MAIN(tst_CommandLine)
#include "tst_commandline.moc"
