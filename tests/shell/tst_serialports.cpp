// Port records: the extra-ports syntax, the kernel's word on legacy ports, and
// which ports are offered, in which order, with which one preselected.
#include "portchoice.h"
#include "serialports.h"
#include "testsupport.h"

#include <QtTest>

Q_DECLARE_METATYPE(PortKind)
Q_DECLARE_METATYPE(BoardFamily)

namespace {
// A record from a compact form: "name" a system port with hardware, "name!" one
// without a UART, "name~" an extra path, "name@vvvv:pppp" a USB port.
SerialPortEntry record(const QString &form)
{
    SerialPortEntry port;
    QString name = form;
    const int at = form.indexOf(QLatin1Char('@'));
    if (at >= 0) {
        name = form.left(at);
        port.hasIds = true;
        port.vendorId = form.mid(at + 1, 4).toUShort(nullptr, 16);
        port.productId = form.mid(at + 6, 4).toUShort(nullptr, 16);
        port.kind = PortKind::Usb;
    } else if (form.endsWith(QLatin1Char('!'))) {
        name.chop(1);
        port.kind = PortKind::NoUart;
    } else if (form.endsWith(QLatin1Char('~'))) {
        name.chop(1);
        port.kind = PortKind::Extra;
    }
    port.name = name;
    port.path = name.startsWith(QLatin1Char('/')) ? name : QStringLiteral("/dev/") + name;
    return port;
}

QVector<SerialPortEntry> records(const QStringList &forms)
{
    QVector<SerialPortEntry> ports;
    for (const QString &form : forms)
        ports << record(form);
    return ports;
}

QStringList names(const QVector<SerialPortEntry> &ports)
{
    QStringList list;
    for (const SerialPortEntry &port : ports)
        list << port.name;
    return list;
}

// The name chosen and the family it brings ("" when the family combo is left alone).
QString described(const QVector<SerialPortEntry> &ports, const PortPreselection &choice)
{
    const QString family = choice.family == BoardFamily::Stm32 ? "STM32" : choice.family == BoardFamily::Esp32 ? "ESP32" : "";
    return (choice.index < 0 ? QString() : ports.at(choice.index).name) + ' ' + family;
}
} // namespace

class TestSerialPorts : public QObject
{
    Q_OBJECT

private slots:
    void extraPorts_data()
    {
        QTest::addColumn<QString>("value");
        QTest::addColumn<QStringList>("entries"); // path|serial|vid:pid|description
        QTest::newRow("plain paths") << "/tmp/a:/tmp/b" << QStringList{"/tmp/a|||", "/tmp/b|||"};
        QTest::newRow("serial after the last equals sign") << "/tmp/a=b=MC01" << QStringList{"/tmp/a=b|MC01||"};
        QTest::newRow("empty entries and paths skipped") << "::/tmp/a:=MC01:" << QStringList{"/tmp/a|||"};
        QTest::newRow("ids") << "/tmp/a[0483:5740]" << QStringList{"/tmp/a||0483:5740|"};
        QTest::newRow("ids after a serial, description with colon and equals")
            << "/tmp/a=MC01[F055:9800 Pyboard: VCP=1]:/tmp/b" << QStringList{"/tmp/a|MC01|f055:9800|Pyboard: VCP=1", "/tmp/b|||"};
        QTest::newRow("ids in the last entry of several") << "/tmp/a:/tmp/b=X[10c4:ea60 CP2102 ]"
                                                          << QStringList{"/tmp/a|||", "/tmp/b|X|10c4:ea60|CP2102"};
        QTest::newRow("bracket inside an entry splits as it always did")
            << "/tmp/a[0483:5740]x:/tmp/b" << QStringList{"/tmp/a[0483|||", "5740]x|||", "/tmp/b|||"};
        QTest::newRow("ids of three digits are not ids") << "/tmp/a=S[483:5740]" << QStringList{"/tmp/a|S[483||", "5740]|||"};
        QTest::newRow("letters are not ids") << "/tmp/a[zz01:5740]" << QStringList{"/tmp/a[zz01|||", "5740]|||"};
    }

    void extraPorts()
    {
        QFETCH(QString, value);
        QFETCH(QStringList, entries);
        QStringList seen;
        for (const SerialPortEntry &port : parseExtraPorts(value)) {
            const QString ids = port.hasIds ? QStringLiteral("%1:%2").arg(port.vendorId, 4, 16, QChar('0')).arg(port.productId, 4, 16, QChar('0')) : "";
            seen << QStringList{port.path, port.serialNumber, ids, port.description}.join('|');
            QCOMPARE(port.name, port.path);
            QCOMPARE(port.kind, port.hasIds ? PortKind::Usb : PortKind::Extra);
        }
        QCOMPARE(seen, entries);
    }

    void systemPortKind_data()
    {
        QTest::addColumn<QByteArray>("type"); // contents of the kernel's type file; null: no file
        QTest::addColumn<bool>("hasIds");
        QTest::addColumn<PortKind>("kind");
        QTest::newRow("legacy port without a UART") << QByteArray("0\n") << false << PortKind::NoUart;
        QTest::newRow("legacy port with a 16550A") << QByteArray("4\n") << false << PortKind::Serial;
        QTest::newRow("no type told") << QByteArray() << false << PortKind::Serial;
        QTest::newRow("USB ids win") << QByteArray("0\n") << true << PortKind::Usb;
    }

    void systemPortKind()
    {
        QFETCH(QByteArray, type);
        QFETCH(bool, hasIds);
        QFETCH(PortKind, kind);
        QTemporaryDir classDir;
        QVERIFY(QDir(classDir.path()).mkdir("ttyS0"));
        if (!type.isNull())
            QVERIFY(writeLocalFile(classDir.filePath("ttyS0/type"), type));
        QCOMPARE(::systemPortKind("ttyS0", hasIds, classDir.path()), kind);
    }

    void order_data()
    {
        QTest::addColumn<QStringList>("ports");
        QTest::addColumn<QStringList>("offered");
        QTest::newRow("mixed list")
            << QStringList{"ttyS0!", "ttyS1!", "ttyS4", "/tmp/v~", "ttyUSB0@0403:6001", "ttyACM1@1234:5678", "ttyACM0@0483:5740", "/tmp/b@303a:1001"}
            << QStringList{"ttyUSB0", "ttyACM0", "/tmp/b", "ttyACM1", "ttyS4", "/tmp/v"};
        QTest::newRow("only ports without a UART") << QStringList{"ttyS0!", "ttyS1!"} << QStringList{};
        QTest::newRow("a real legacy port kept") << QStringList{"ttyS0!", "ttyS1"} << QStringList{"ttyS1"};
        QTest::newRow("other USB before the rest") << QStringList{"rfcomm0", "ttyUSB1@067b:2303"} << QStringList{"ttyUSB1", "rfcomm0"};
    }

    void order()
    {
        QFETCH(QStringList, ports);
        QFETCH(QStringList, offered);
        QCOMPARE(names(offeredPorts(records(ports))), offered);
    }

    void family_data()
    {
        QTest::addColumn<QString>("port");
        QTest::addColumn<BoardFamily>("family");
        QTest::newRow("pyboard") << "p@f055:9800" << BoardFamily::Stm32;
        QTest::newRow("STM32 in DFU") << "p@0483:df11" << BoardFamily::None;
        QTest::newRow("Espressif, any product") << "p@303a:4001" << BoardFamily::Esp32;
        QTest::newRow("CP210x") << "p@10c4:ea60" << BoardFamily::Esp32;
        QTest::newRow("CH9102") << "p@1a86:55d4" << BoardFamily::Esp32;
        QTest::newRow("CH341 parallel") << "p@1a86:5512" << BoardFamily::None;
        QTest::newRow("FT-X") << "p@0403:6015" << BoardFamily::Esp32;
        QTest::newRow("other FTDI") << "p@0403:6011" << BoardFamily::None;
        QTest::newRow("no ids") << "ttyS4" << BoardFamily::None;
    }

    void family()
    {
        QFETCH(QString, port);
        QFETCH(BoardFamily, family);
        QCOMPARE(boardFamilyOf(record(port)), family);
    }

    void preselect_data()
    {
        QTest::addColumn<QStringList>("ports");
        QTest::addColumn<QString>("remembered");
        QTest::addColumn<QString>("chosen");
        QTest::newRow("remembered port, not a board") << QStringList{"ttyS4", "ttyACM0@0483:5740"} << "ttyS4" << "ttyS4 ";
        QTest::newRow("remembered board keeps the remembered family") << QStringList{"ttyUSB0@10c4:ea60"} << "ttyUSB0" << "ttyUSB0 ";
        QTest::newRow("nothing remembered: first board")
            << QStringList{"ttyS4", "ttyUSB0@1a86:7523", "ttyACM0@f055:9800"} << "" << "ttyUSB0 ESP32";
        QTest::newRow("remembered port gone: first board") << QStringList{"ttyS4", "ttyACM0@0483:5740"} << "ttyACM9" << "ttyACM0 STM32";
        QTest::newRow("remembered phantom: first board") << QStringList{"ttyS0!", "ttyACM0@0483:5740"} << "ttyS0" << "ttyACM0 STM32";
        QTest::newRow("no board: first port") << QStringList{"ttyS0!", "ttyS4", "/tmp/v~"} << "" << "ttyS4 ";
        QTest::newRow("no port") << QStringList{} << "ttyS4" << " ";
    }

    void preselect()
    {
        QFETCH(QStringList, ports);
        QFETCH(QString, remembered);
        QFETCH(QString, chosen);
        const QVector<SerialPortEntry> offered = offeredPorts(records(ports));
        QCOMPARE(described(offered, preselectPort(offered, remembered)), chosen);
    }

    void reselect_data()
    {
        QTest::addColumn<QStringList>("before");
        QTest::addColumn<QStringList>("after");
        QTest::addColumn<QString>("current");
        QTest::addColumn<bool>("byHand");
        QTest::addColumn<QString>("chosen");
        const QStringList plain{"ttyS4", "ttyS5"};
        const QStringList withBoard = plain + QStringList{"ttyACM0@0483:5740"};
        QTest::newRow("board plugged in is taken") << plain << withBoard << "ttyS5" << false << "ttyACM0 STM32";
        QTest::newRow("board plugged in, port chosen by hand") << plain << withBoard << "ttyS5" << true << "ttyS5 ";
        QTest::newRow("other USB plugged in") << plain << plain + QStringList{"ttyUSB3@067b:2303"} << "ttyS5" << false << "ttyS5 ";
        QTest::newRow("second board plugged in")
            << withBoard << withBoard + QStringList{"ttyUSB0@10c4:ea60"} << "ttyACM0" << false << "ttyUSB0 ESP32";
        QTest::newRow("a board listed before is not taken again")
            << withBoard << withBoard + QStringList{"/tmp/v~"} << "ttyS4" << false << "ttyS4 ";
        QTest::newRow("chosen board pulled out: remembered port") << withBoard << plain << "ttyACM0" << true << "ttyS5 ";
        QTest::newRow("everything pulled out") << withBoard << QStringList{} << "ttyACM0" << false << " ";
    }

    void reselect()
    {
        QFETCH(QStringList, before);
        QFETCH(QStringList, after);
        QFETCH(QString, current);
        QFETCH(bool, byHand);
        QFETCH(QString, chosen);
        const QVector<SerialPortEntry> offered = offeredPorts(records(after));
        QCOMPARE(described(offered, reselectPort(offeredPorts(records(before)), offered, current, byHand, "ttyS5")), chosen);
    }
};

QTEST_GUILESS_MAIN(TestSerialPorts)
#include "tst_serialports.moc"
