#include "connectionpopup.h"
#include "testsupport.h"

#include <QComboBox>
#include <QSerialPort>
#include <QSerialPortInfo>
#include <QSettings>
#include <QSignalSpy>
#include <QToolButton>
#include <QtTest>

class TestConnectionPopup : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void load_data();
    void load();
    void noPortsDisablesApply();
    void applyStoresWhatIsShown();
    void dismissLeavesStoreUntouched_data();
    void dismissLeavesStoreUntouched();
    void configure();

private:
    static QComboBox *combo(ConnectionPopup &popup, const char *name)
    {
        return popup.findChild<QComboBox *>(QLatin1String(name));
    }
    static QToolButton *applyButton(ConnectionPopup &popup)
    {
        return popup.findChild<QToolButton *>(QStringLiteral("applyButton"));
    }
    QString fakePort(int index) const { return portsDir.filePath(QStringLiteral("tty%1").arg(index)); }

    SettingsSandbox sandbox;
    QTemporaryDir portsDir;
    QStringList systemPorts;
};

void TestConnectionPopup::initTestCase()
{
    QVERIFY(portsDir.isValid());
    for (int i = 0; i < 2; ++i) {
        QFile port(fakePort(i));
        QVERIFY(port.open(QIODevice::WriteOnly));
    }
    for (const QSerialPortInfo &info : QSerialPortInfo::availablePorts())
        systemPorts << info.portName();
    // The third path does not exist and must not be offered.
    qputenv("MORVEX_EXTRA_PORTS", QStringList({fakePort(0), fakePort(1), fakePort(2)}).join(QLatin1Char(':')).toLocal8Bit());
}

void TestConnectionPopup::init()
{
    sandbox.clear();
}

void TestConnectionPopup::load_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QVariant>("stored");
    QTest::addColumn<int>("mc");
    QTest::addColumn<QString>("baud");
    QTest::addColumn<int>("port"); // index into the fake ports, -1: the first port listed

    QTest::newRow("empty store") << "" << QVariant() << 0 << "115200" << -1;
    QTest::newRow("ESP32") << "UI/MC" << QVariant(1) << 1 << "115200" << -1;
    QTest::newRow("MC out of range") << "UI/MC" << QVariant(5) << 0 << "115200" << -1;
    QTest::newRow("MC just past the end") << "UI/MC" << QVariant(2) << 0 << "115200" << -1;
    QTest::newRow("baud remembered") << "UI/Baud" << QVariant("460800") << 0 << "460800" << -1;
    QTest::newRow("baud not in list") << "UI/Baud" << QVariant("12345") << 0 << "9600" << -1;
    QTest::newRow("port remembered") << "UI/Port" << QVariant(fakePort(1)) << 0 << "115200" << 1;
    QTest::newRow("remembered port gone") << "UI/Port" << QVariant(fakePort(2)) << 0 << "115200" << -1;
}

void TestConnectionPopup::load()
{
    QFETCH(QString, key);
    QFETCH(QVariant, stored);
    QFETCH(int, mc);
    QFETCH(QString, baud);
    QFETCH(int, port);

    if (!key.isEmpty())
        QSettings().setValue(key, stored);
    ConnectionPopup popup;
    QCOMPARE(popup.windowType(), Qt::Popup);
    popup.load();

    QStringList listed;
    for (int i = 0; i < combo(popup, "portsCombo")->count(); ++i)
        listed << combo(popup, "portsCombo")->itemText(i);
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
    const QByteArray extra = qgetenv("MORVEX_EXTRA_PORTS");
    qputenv("MORVEX_EXTRA_PORTS", fakePort(2).toLocal8Bit());
    QSettings().setValue(QStringLiteral("UI/Port"), fakePort(0));

    ConnectionPopup popup;
    popup.load();
    qputenv("MORVEX_EXTRA_PORTS", extra);
    QCOMPARE(combo(popup, "portsCombo")->count(), 0);
    QVERIFY(!applyButton(popup)->isEnabled());
    // With nothing listed the remembered port survives a save.
    popup.save();
    QCOMPARE(QSettings().value(QStringLiteral("UI/Port")).toString(), fakePort(0));
}

void TestConnectionPopup::applyStoresWhatIsShown()
{
    QSettings().setValue(QStringLiteral("UI/Port"), fakePort(2)); // gone: the first port is shown

    ConnectionPopup popup;
    QSignalSpy done(&popup, &ConnectionPopup::done);
    QVERIFY(done.isValid());
    popup.load();
    popup.show();
    combo(popup, "mcCombo")->setCurrentIndex(1);
    combo(popup, "baudCombo")->setCurrentText(QStringLiteral("57600"));
    QTest::mouseClick(applyButton(popup), Qt::LeftButton);

    QCOMPARE(done.count(), 1);
    QVERIFY(popup.accepted());
    QVERIFY(!popup.isVisible());
    popup.save();
    QSettings settings;
    QCOMPARE(settings.value(QStringLiteral("UI/MC")).toInt(), 1);
    QCOMPARE(settings.value(QStringLiteral("UI/Baud")).toString(), QStringLiteral("57600"));
    QCOMPARE(settings.value(QStringLiteral("UI/Port")).toString(), combo(popup, "portsCombo")->itemText(0));
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

    QSettings().setValue(QStringLiteral("UI/Port"), fakePort(0));
    ConnectionPopup popup;
    QSignalSpy done(&popup, &ConnectionPopup::done);
    QVERIFY(done.isValid());
    popup.load();
    popup.show();
    QVERIFY(QTest::qWaitForWindowExposed(&popup));
    combo(popup, "mcCombo")->setCurrentIndex(1);
    combo(popup, "portsCombo")->setCurrentText(fakePort(1));
    if (byEscape)
        QTest::keyClick(combo(popup, "mcCombo"), Qt::Key_Escape);
    else
        QTest::mouseClick(&popup, Qt::LeftButton, Qt::NoModifier, QPoint(-20, -20));

    QCOMPARE(done.count(), 1);
    QVERIFY(!popup.isVisible());
    QVERIFY(!popup.accepted());
    QSettings settings;
    QCOMPARE(settings.allKeys(), QStringList{QStringLiteral("UI/Port")});
    QCOMPARE(settings.value(QStringLiteral("UI/Port")).toString(), fakePort(0));
}

void TestConnectionPopup::configure()
{
    ConnectionPopup popup;
    popup.load();
    combo(popup, "portsCombo")->setCurrentText(fakePort(1));
    combo(popup, "baudCombo")->setCurrentText(QStringLiteral("460800"));

    QSerialPort port;
    port.setParity(QSerialPort::EvenParity);
    port.setStopBits(QSerialPort::TwoStop);
    port.setDataBits(QSerialPort::Data7);
    port.setFlowControl(QSerialPort::HardwareControl);
    QString serial = QStringLiteral("stale");
    popup.configure(port, serial);

    QCOMPARE(port.portName(), fakePort(1));
    QCOMPARE(serial, QString()); // extra ports have no serial number
    QCOMPARE(port.baudRate(QSerialPort::Input), 460800);
    QCOMPARE(port.baudRate(QSerialPort::Output), 460800);
    QCOMPARE(port.parity(), QSerialPort::NoParity);
    QCOMPARE(port.stopBits(), QSerialPort::OneStop);
    QCOMPARE(port.dataBits(), QSerialPort::Data8);
    QCOMPARE(port.flowControl(), QSerialPort::NoFlowControl);
}

QTEST_MAIN(TestConnectionPopup)
#include "tst_connectionpopup.moc"
