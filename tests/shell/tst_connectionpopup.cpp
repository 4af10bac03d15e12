// The connection popup: what it shows of the store, how it closes, how it sets a port up.
#include "connectionpopup.h"
#include "testsupport.h"

#include <QtSerialPort>
#include <QtTest>
#include <QtWidgets>

class TestConnectionPopup : public QObject
{
    Q_OBJECT
    static QComboBox *combo(QObject &popup, const char *name) { return popup.findChild<QComboBox *>(name); }
    static QToolButton *applyButton(QObject &popup) { return popup.findChild<QToolButton *>("applyButton"); }
    QString fakePort(int index) const { return portsDir.filePath(QStringLiteral("tty%1").arg(index)); }

    SettingsSandbox sandbox;
    QTemporaryDir portsDir;
    QStringList systemPorts;

private slots:
    void init() { sandbox.clear(); }

    void initTestCase()
    {
        QVERIFY(writeLocalFile(fakePort(0), {}) && writeLocalFile(fakePort(1), {}));
        for (const QSerialPortInfo &info : QSerialPortInfo::availablePorts())
            systemPorts << info.portName();
        // The third path does not exist and must not be offered.
        qputenv("MORVEX_EXTRA_PORTS", QStringList({fakePort(0), fakePort(1), fakePort(2)}).join(':').toLocal8Bit());
    }

    void load_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<int>("mc");
        QTest::addColumn<QString>("baud");
        QTest::addColumn<int>("port"); // index into the fake ports, -1: the first port listed
        QTest::newRow("empty store") << "" << QVariant() << 0 << "115200" << -1;
        QTest::newRow("ESP32") << "UI/MC" << QVariant(1) << 1 << "115200" << -1;
        QTest::newRow("baud remembered") << "UI/Baud" << QVariant("460800") << 0 << "460800" << -1;
        QTest::newRow("port remembered") << "UI/Port" << QVariant(fakePort(1)) << 0 << "115200" << 1;
        QTest::newRow("remembered port gone") << "UI/Port" << QVariant(fakePort(2)) << 0 << "115200" << -1;
    }

    void load()
    {
        QFETCH(QString, key);
        QFETCH(QVariant, stored);
        QFETCH(int, mc);
        QFETCH(QString, baud);
        QFETCH(int, port);
        if (!key.isEmpty())
            QSettings().setValue(key, stored);
        ConnectionPopup popup;
        popup.load();
        QComboBox *ports = combo(popup, "portsCombo");
        QCOMPARE(ports->count(), systemPorts.size() + 2);
        QCOMPARE(popup.boardType(), mc);
        QCOMPARE(combo(popup, "baudCombo")->currentText(), baud);
        QCOMPARE(popup.portName(), port < 0 ? ports->itemText(0) : fakePort(port));
        QVERIFY(applyButton(popup)->isEnabled() && showsIcon(applyButton(popup)->icon(), "done"));
    }

    void closing_data()
    {
        QTest::addColumn<int>("how");
        QTest::newRow("apply") << 0;
        QTest::newRow("escape") << 1;
        QTest::newRow("click outside") << 2;
    }

    void closing()
    {
        QFETCH(int, how);
        QSettings().setValue("UI/Port", fakePort(0));
        ConnectionPopup popup;
        QSignalSpy done(&popup, &ConnectionPopup::done);
        popup.load();
        popup.show();
        QVERIFY(QTest::qWaitForWindowExposed(&popup));
        combo(popup, "mcCombo")->setCurrentIndex(1);
        combo(popup, "baudCombo")->setCurrentText("57600");
        combo(popup, "portsCombo")->setCurrentText(fakePort(1));
        if (how == 0)
            QTest::mouseClick(applyButton(popup), Qt::LeftButton);
        else if (how == 1)
            QTest::keyClick(combo(popup, "mcCombo"), Qt::Key_Escape);
        else
            QTest::mouseClick(&popup, Qt::LeftButton, Qt::NoModifier, QPoint(-20, -20));
        QCOMPARE(done.count(), 1);
        QVERIFY(!popup.isVisible());
        const bool accepted = how == 0;
        QCOMPARE(popup.accepted(), accepted);
        // The window saves an accepted choice; a dismissed one must leave the store as it was.
        if (accepted)
            popup.save();
        const QStringList stored = {QSettings().value("UI/MC", 0).toString(), QSettings().value("UI/Baud").toString(), QSettings().value("UI/Port").toString()};
        QCOMPARE(stored, accepted ? QStringList({"1", "57600", fakePort(1)}) : QStringList({"0", "", fakePort(0)}));
        if (!accepted)
            return;
        // The port is set up from the choice; from the opposite of every setting, so each one is seen to be set.
        QSerialPort port;
        port.setParity(QSerialPort::EvenParity);
        port.setStopBits(QSerialPort::TwoStop);
        port.setDataBits(QSerialPort::Data7);
        port.setFlowControl(QSerialPort::HardwareControl);
        QString serial = "stale";
        popup.configure(port, serial);
        QCOMPARE(port.portName() + ' ' + serial + ' ' + QString::number(port.baudRate()), fakePort(1) + "  57600"); // extra ports have no serial number
        QVERIFY(port.parity() == QSerialPort::NoParity && port.stopBits() == QSerialPort::OneStop && port.dataBits() == QSerialPort::Data8
                && port.flowControl() == QSerialPort::NoFlowControl);
    }
};

QTEST_MAIN(TestConnectionPopup)
#include "tst_connectionpopup.moc"
