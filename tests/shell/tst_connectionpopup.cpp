#include "connectionpopup.h"
#include "serialports.h"
#include "testsupport.h"

#include <QComboBox>
#include <QFile>
#include <QSerialPort>
#include <QSerialPortInfo>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QToolButton>
#include <QtTest>

class TestConnectionPopup : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void isAParentlessPopup();
    void load_data();
    void load();
    void noPortsDisablesApply();
    void applyAcceptsAndStores_data();
    void applyAcceptsAndStores();
    void dismissLeavesStoreUntouched_data();
    void dismissLeavesStoreUntouched();
    void configure_data();
    void configure();

private:
    QComboBox *combo(ConnectionPopup &popup, const char *name);
    QToolButton *applyButton(ConnectionPopup &popup);
    QString fakePort(int index) const;

    SettingsSandbox sandbox;
    QTemporaryDir portsDir;
    QStringList systemPorts;
};

QComboBox *TestConnectionPopup::combo(ConnectionPopup &popup, const char *name)
{
    return popup.findChild<QComboBox *>(QLatin1String(name));
}

QToolButton *TestConnectionPopup::applyButton(ConnectionPopup &popup)
{
    return popup.findChild<QToolButton *>(QStringLiteral("applyButton"));
}

QString TestConnectionPopup::fakePort(int index) const
{
    return portsDir.filePath(QStringLiteral("tty%1").arg(index));
}

void TestConnectionPopup::initTestCase()
{
    QVERIFY(portsDir.isValid());
    for (int i = 0; i < 2; ++i) {
        QFile port(fakePort(i));
        QVERIFY(port.open(QIODevice::WriteOnly));
    }
    for (const QSerialPortInfo &info : QSerialPortInfo::availablePorts())
        systemPorts << info.portName();
}

void TestConnectionPopup::init()
{
    sandbox.clear();
    // The third path does not exist and must not be offered.
    qputenv("MORVEX_EXTRA_PORTS",
             QStringList{fakePort(0), fakePort(1), portsDir.filePath(QStringLiteral("gone"))}
                 .join(QLatin1Char(':')).toLocal8Bit());
}

void TestConnectionPopup::cleanup()
{
    qunsetenv("MORVEX_EXTRA_PORTS");
}

void TestConnectionPopup::isAParentlessPopup()
{
    ConnectionPopup popup;
    QCOMPARE(popup.parentWidget(), nullptr);
    QCOMPARE(popup.windowType(), Qt::Popup);
    QCOMPARE(popup.size(), QSize(407, 58));
    QVERIFY(!applyButton(popup)->icon().isNull());
    QVERIFY(!popup.accepted());
    QCOMPARE(combo(popup, "mcCombo")->count(), 2);
    QCOMPARE(combo(popup, "baudCombo")->count(), 7);
}

void TestConnectionPopup::load_data()
{
    QTest::addColumn<QVariant>("storedMc");
    QTest::addColumn<QVariant>("storedBaud");
    QTest::addColumn<QVariant>("storedPort"); // an int picks a fake port
    QTest::addColumn<int>("mc");
    QTest::addColumn<QString>("baud");
    QTest::addColumn<int>("port"); // -1: the first port listed

    const QVariant none;
    QTest::newRow("empty store") << none << none << none << 0 << "115200" << -1;
    QTest::newRow("ESP32") << QVariant(1) << none << none << 1 << "115200" << -1;
    QTest::newRow("MC out of range") << QVariant(5) << none << none << 0 << "115200" << -1;
    QTest::newRow("MC just past the end") << QVariant(2) << none << none << 0 << "115200" << -1;
    QTest::newRow("MC negative") << QVariant(-1) << none << none << 0 << "115200" << -1;
    QTest::newRow("baud remembered") << none << QVariant("460800") << none << 0 << "460800" << -1;
    QTest::newRow("baud not in list") << none << QVariant("12345") << none << 0 << "9600" << -1;
    QTest::newRow("port remembered") << none << none << QVariant(1) << 0 << "115200" << 1;
    QTest::newRow("remembered port gone") << none << none << QVariant("/dev/ttyGone") << 0 << "115200" << -1;
}

void TestConnectionPopup::load()
{
    QFETCH(QVariant, storedMc);
    QFETCH(QVariant, storedBaud);
    QFETCH(QVariant, storedPort);
    QFETCH(int, mc);
    QFETCH(QString, baud);
    QFETCH(int, port);

    {
        QSettings settings;
        if (storedMc.isValid())
            settings.setValue(QStringLiteral("UI/MC"), storedMc);
        if (storedBaud.isValid())
            settings.setValue(QStringLiteral("UI/Baud"), storedBaud);
        if (storedPort.type() == QVariant::Int)
            settings.setValue(QStringLiteral("UI/Port"), fakePort(storedPort.toInt()));
        else if (storedPort.isValid())
            settings.setValue(QStringLiteral("UI/Port"), storedPort);
    }

    ConnectionPopup popup;
    popup.load();

    QComboBox *ports = combo(popup, "portsCombo");
    QStringList listed;
    for (int i = 0; i < ports->count(); ++i)
        listed << ports->itemText(i);
    QCOMPARE(listed, systemPorts + QStringList({fakePort(0), fakePort(1)}));

    QCOMPARE(popup.boardType(), mc);
    QCOMPARE(combo(popup, "baudCombo")->currentText(), baud);
    QCOMPARE(popup.portName(), port < 0 ? listed.first() : fakePort(port));
    QVERIFY(applyButton(popup)->isEnabled());
}

void TestConnectionPopup::noPortsDisablesApply()
{
    if (!systemPorts.isEmpty())
        QSKIP("this machine has serial ports of its own");
    qputenv("MORVEX_EXTRA_PORTS", portsDir.filePath(QStringLiteral("gone")).toLocal8Bit());
    QSettings().setValue(QStringLiteral("UI/Port"), fakePort(0));

    ConnectionPopup popup;
    popup.load();
    QCOMPARE(combo(popup, "portsCombo")->count(), 0);
    QVERIFY(!applyButton(popup)->isEnabled());

    // With nothing listed the remembered port survives a save.
    popup.save();
    QCOMPARE(QSettings().value(QStringLiteral("UI/Port")).toString(), fakePort(0));
}

void TestConnectionPopup::applyAcceptsAndStores_data()
{
    QTest::addColumn<QString>("storedPort");
    QTest::addColumn<int>("chooseMc");
    QTest::addColumn<QString>("chooseBaud");
    QTest::addColumn<int>("choosePort"); // -1: keep what load selected
    QTest::addColumn<QString>("expectedPort"); // empty: the first port listed

    QTest::newRow("choices changed") << QString() << 1 << "57600" << 1 << fakePort(1);
    QTest::newRow("remembered port gone stores the first") << "/dev/ttyGone" << 0 << "115200" << -1 << QString();
}

void TestConnectionPopup::applyAcceptsAndStores()
{
    QFETCH(QString, storedPort);
    QFETCH(int, chooseMc);
    QFETCH(QString, chooseBaud);
    QFETCH(int, choosePort);
    QFETCH(QString, expectedPort);

    if (!storedPort.isEmpty())
        QSettings().setValue(QStringLiteral("UI/Port"), storedPort);

    ConnectionPopup popup;
    QSignalSpy done(&popup, &ConnectionPopup::done);
    QVERIFY(done.isValid());
    popup.load();
    popup.show();
    combo(popup, "mcCombo")->setCurrentIndex(chooseMc);
    combo(popup, "baudCombo")->setCurrentText(chooseBaud);
    if (choosePort >= 0)
        combo(popup, "portsCombo")->setCurrentText(fakePort(choosePort));

    QTest::mouseClick(applyButton(popup), Qt::LeftButton);
    QCOMPARE(done.count(), 1);
    QVERIFY(popup.accepted());
    QVERIFY(!popup.isVisible());

    const QString port = expectedPort.isEmpty() ? combo(popup, "portsCombo")->itemText(0) : expectedPort;
    QCOMPARE(popup.portName(), port);
    QCOMPARE(popup.boardType(), chooseMc);
    popup.save();
    QSettings settings;
    QCOMPARE(settings.value(QStringLiteral("UI/MC")).toInt(), chooseMc);
    QCOMPARE(settings.value(QStringLiteral("UI/Baud")).toString(), chooseBaud);
    QCOMPARE(settings.value(QStringLiteral("UI/Port")).toString(), port);
}

void TestConnectionPopup::dismissLeavesStoreUntouched_data()
{
    QTest::addColumn<bool>("byEscape");

    QTest::newRow("escape") << true;
    QTest::newRow("click outside") << false;
}

void TestConnectionPopup::dismissLeavesStoreUntouched()
{
    QFETCH(bool, byEscape);

    {
        QSettings settings;
        settings.setValue(QStringLiteral("UI/MC"), 0);
        settings.setValue(QStringLiteral("UI/Baud"), QStringLiteral("9600"));
        settings.setValue(QStringLiteral("UI/Port"), fakePort(0));
    }

    ConnectionPopup popup;
    QSignalSpy done(&popup, &ConnectionPopup::done);
    QVERIFY(done.isValid());
    popup.load();
    popup.show();
    QVERIFY(QTest::qWaitForWindowExposed(&popup));
    combo(popup, "mcCombo")->setCurrentIndex(1);
    combo(popup, "baudCombo")->setCurrentText(QStringLiteral("460800"));
    combo(popup, "portsCombo")->setCurrentText(fakePort(1));

    if (byEscape)
        QTest::keyClick(combo(popup, "mcCombo"), Qt::Key_Escape);
    else
        QTest::mouseClick(&popup, Qt::LeftButton, Qt::NoModifier, QPoint(-20, -20));

    QCOMPARE(done.count(), 1);
    QVERIFY(!popup.isVisible());
    QVERIFY(!popup.accepted());
    QSettings settings;
    QCOMPARE(settings.value(QStringLiteral("UI/MC")).toInt(), 0);
    QCOMPARE(settings.value(QStringLiteral("UI/Baud")).toString(), QStringLiteral("9600"));
    QCOMPARE(settings.value(QStringLiteral("UI/Port")).toString(), fakePort(0));
}

void TestConnectionPopup::configure_data()
{
    QTest::addColumn<QString>("baud");

    for (const char *baud : {"9600", "115200", "460800"})
        QTest::newRow(baud) << QString::fromLatin1(baud);
}

void TestConnectionPopup::configure()
{
    QFETCH(QString, baud);

    ConnectionPopup popup;
    popup.load();
    combo(popup, "portsCombo")->setCurrentText(fakePort(1));
    combo(popup, "baudCombo")->setCurrentText(baud);

    QSerialPort port;
    port.setParity(QSerialPort::EvenParity);
    port.setStopBits(QSerialPort::TwoStop);
    port.setDataBits(QSerialPort::Data7);
    port.setFlowControl(QSerialPort::HardwareControl);
    QString serial = QStringLiteral("stale");
    popup.configure(port, serial);

    QCOMPARE(port.portName(), fakePort(1));
    QCOMPARE(serial, QString()); // extra ports have no serial number
    QCOMPARE(port.baudRate(QSerialPort::Input), baud.toInt());
    QCOMPARE(port.baudRate(QSerialPort::Output), baud.toInt());
    QCOMPARE(port.parity(), QSerialPort::NoParity);
    QCOMPARE(port.stopBits(), QSerialPort::OneStop);
    QCOMPARE(port.dataBits(), QSerialPort::Data8);
    QCOMPARE(port.flowControl(), QSerialPort::NoFlowControl);
}

QTEST_MAIN(TestConnectionPopup)
#include "tst_connectionpopup.moc"
