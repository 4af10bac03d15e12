// The connection popup: what it shows of the store, how it closes, how it sets a port up.
#include "connectionpopup.h"
#include "serialports.h"
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

    static QStringList offered(QObject &popup)
    {
        QStringList names;
        QComboBox *ports = combo(popup, "portsCombo");
        for (int i = 0; i < ports->count(); ++i)
            names << ports->itemData(i, ConnectionPopup::PortNameRole).toString();
        return names;
    }
    static void setExtraPorts(const QStringList &entries) { qputenv("MORVEX_EXTRA_PORTS", entries.join(':').toLocal8Bit()); }
    QStringList fakePorts() const { return {fakePort(0), fakePort(1), fakePort(2)}; }

    SettingsSandbox sandbox;
    QTemporaryDir portsDir;

private slots:
    void init()
    {
        sandbox.clear();
        // The third path does not exist and must not be offered.
        setExtraPorts(fakePorts());
    }

    void initTestCase()
    {
        QVERIFY(writeLocalFile(fakePort(0), {}) && writeLocalFile(fakePort(1), {}) && writeLocalFile(fakePort(3), {}));
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
        QVERIFY(offered(popup).join(' ').endsWith(fakePort(0) + ' ' + fakePort(1)));
        QCOMPARE(popup.boardType(), mc);
        QCOMPARE(combo(popup, "baudCombo")->currentText(), baud);
        QCOMPARE(popup.portName(), port < 0 ? offered(popup).value(0) : fakePort(port));
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

    void knownBoard_data()
    {
        QTest::addColumn<QString>("usb");
        QTest::addColumn<QVariant>("rememberedPort"); // an index into the fake ports
        QTest::addColumn<int>("rememberedMc");
        QTest::addColumn<int>("port");
        QTest::addColumn<int>("mc");
        QTest::newRow("CP2102 preselected") << "[10c4:ea60]" << QVariant(2) << 0 << 3 << 1;
        QTest::newRow("remembered family of the board wins") << "[0483:5740]" << QVariant(3) << 1 << 3 << 1;
        QTest::newRow("unknown USB port not preselected") << "[067b:2303]" << QVariant() << 1 << -1 << 1;
    }

    void knownBoard()
    {
        QFETCH(QString, usb);
        QFETCH(QVariant, rememberedPort);
        QFETCH(int, rememberedMc);
        QFETCH(int, port);
        QFETCH(int, mc);
        if (rememberedPort.isValid())
            QSettings().setValue("UI/Port", fakePort(rememberedPort.toInt()));
        QSettings().setValue("UI/MC", rememberedMc);
        setExtraPorts(fakePorts() << fakePort(3) + usb);
        ConnectionPopup popup;
        popup.load();
        // USB ports come before the plain extra paths.
        QVERIFY(offered(popup).indexOf(fakePort(3)) < offered(popup).indexOf(fakePort(0)));
        QCOMPARE(popup.portName(), port < 0 ? offered(popup).value(0) : fakePort(port));
        QCOMPARE(popup.boardType(), mc);
    }

    void hotPlug_data()
    {
        QTest::addColumn<QString>("usb");
        QTest::addColumn<bool>("byHand");
        QTest::addColumn<bool>("taken");
        QTest::addColumn<int>("mc");
        QTest::newRow("board taken") << "[f055:9800 Pyboard Virtual Comm Port]" << false << true << 0;
        QTest::newRow("bridge taken with its family") << "[1a86:7523 USB Serial]" << false << true << 1;
        QTest::newRow("port chosen by hand stays") << "[1a86:7523]" << true << false << 0;
        QTest::newRow("plain path only listed") << "" << false << false << 0;
    }

    void hotPlug()
    {
        QFETCH(QString, usb);
        QFETCH(bool, byHand);
        QFETCH(bool, taken);
        QFETCH(int, mc);
        ConnectionPopup popup;
        popup.load();
        popup.show();
        QVERIFY(QTest::qWaitForWindowExposed(&popup));
        QComboBox *ports = combo(popup, "portsCombo");
        if (byHand) {
            ports->setFocus();
            QTest::keyClick(ports, Qt::Key_Down); // the user's own choice, as a click in the list would be
        }
        const QString chosen = popup.portName();
        setExtraPorts(fakePorts() << fakePort(3) + usb);
        QTRY_VERIFY(offered(popup).contains(fakePort(3)));
        QCOMPARE(popup.portName(), taken ? fakePort(3) : chosen);
        QCOMPARE(popup.boardType(), mc);
        QCOMPARE(ports->toolTip(), ports->currentData(Qt::ToolTipRole).toString());
        // The popup grows to show the whole entry.
        QVERIFY(ports->width() > ports->fontMetrics().horizontalAdvance(ports->currentText()));

        setExtraPorts(fakePorts());
        QTRY_VERIFY(!offered(popup).contains(fakePort(3)));
        QCOMPARE(popup.portName(), chosen);
        QVERIFY(ports->findText(fakePort(3), Qt::MatchStartsWith) < 0);
    }

    void portTexts_data()
    {
        QTest::addColumn<QString>("entry"); // of the extra-ports list
        QTest::addColumn<QString>("manufacturer");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("toolTip");
        QTest::newRow("plain path") << "/dev/pts/4" << "" << "/dev/pts/4" << "Device: /dev/pts/4";
        QTest::newRow("description") << "/tmp/v=0123ABCD[F055:9800 Pyboard Virtual Comm Port]" << ""
                                     << "/tmp/v \u2014 Pyboard Virtual Comm Port"
                                     << "VID:PID f055:9800\nSerial number: 0123ABCD\nDevice: /tmp/v";
        QTest::newRow("description and manufacturer") << "/tmp/v[10c4:ea60 CP2102 USB to UART Bridge Controller]" << "Silicon Labs"
                                                      << "/tmp/v \u2014 CP2102 USB to UART Bridge Controller (Silicon Labs)"
                                                      << "VID:PID 10c4:ea60\nDevice: /tmp/v";
        QTest::newRow("manufacturer only") << "/tmp/v" << "FTDI" << "/tmp/v \u2014 FTDI" << "Device: /tmp/v";
        QTest::newRow("manufacturer repeating the description") << "/tmp/v[303a:1001 Espressif]" << "Espressif"
                                                                << "/tmp/v \u2014 Espressif" << "VID:PID 303a:1001\nDevice: /tmp/v";
    }

    void portTexts()
    {
        QFETCH(QString, entry);
        QFETCH(QString, manufacturer);
        QFETCH(QString, text);
        QFETCH(QString, toolTip);
        const QVector<SerialPortEntry> parsed = parseExtraPorts(entry);
        QCOMPARE(parsed.size(), 1);
        SerialPortEntry port = parsed.first();
        port.manufacturer = manufacturer;
        QCOMPARE(ConnectionPopup::portText(port), text);
        QCOMPARE(ConnectionPopup::portToolTip(port), toolTip);
    }
};

QTEST_MAIN(TestConnectionPopup)
#include "tst_connectionpopup.moc"
