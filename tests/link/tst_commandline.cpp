// The program's command line, as a user runs it.
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
                                         "Ignore the system-wide dark theme setting.", "--reset",
                                         "Reset all settings to their default value.", "-l, --lang <lang>",
                                         "Set UI language to <lang>.", "--version", "--help"};
}

void tst_CommandLine::options()
{
    QFETCH(QString, option);
    QFETCH(QStringList, expected);
    QTemporaryDir home;
    QProcess process;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), home.path());
    process.setProcessEnvironment(env);
    process.start(QStringLiteral(MORVEX_EXECUTABLE), {option});
    QVERIFY(process.waitForFinished(20000));
    QCOMPARE(process.exitCode(), 0);
    const QString out = QString::fromLocal8Bit(process.readAllStandardOutput());
    for (const QString &text : expected)
        QVERIFY2(out.contains(text), qPrintable(out));
}

QTEST_GUILESS_MAIN(tst_CommandLine)
#include "tst_commandline.moc"
