// A serial port the system refuses to open: the program's message, and how to get access.
#include "morvexwindowprobe.h"
#include "testsupport.h"

#include <QFile>
#include <QRegularExpression>
#include <QSerialPort>
#include <QTest>

#include <fcntl.h>
#include <grp.h>
#include <linux/capability.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {
// A pseudo-terminal: a real tty device whose slave file the test may change.
struct Pty {
    int master = posix_openpt(O_RDWR | O_NOCTTY);
    QString slave = master >= 0 && grantpt(master) == 0 && unlockpt(master) == 0 ? QString::fromLocal8Bit(ptsname(master)) : QString();
    ~Pty()
    {
        if (master >= 0)
            ::close(master);
    }
};

// Without these two effective capabilities root is held to the mode bits like any
// other user. They are per thread (the port opens on this one) and stay permitted.
class FileAccessCapabilitiesDropped
{
public:
    FileAccessCapabilitiesDropped()
    {
        if (geteuid() != 0 || syscall(SYS_capget, &header, saved) != 0) {
            active = geteuid() != 0;
            return;
        }
        __user_cap_data_struct reduced[2] = {saved[0], saved[1]};
        reduced[0].effective &= ~((1u << CAP_DAC_OVERRIDE) | (1u << CAP_DAC_READ_SEARCH));
        active = restore = syscall(SYS_capset, &header, reduced) == 0;
    }
    ~FileAccessCapabilitiesDropped()
    {
        if (restore)
            syscall(SYS_capset, &header, saved);
    }
    bool active = false;

private:
    __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct saved[2] = {};
    bool restore = false;
};

} // namespace

class tst_PortAccess : public QObject
{
    Q_OBJECT

private slots:
    void init() { sandbox.clear(); }
    void refusedPort_data();
    void refusedPort();

private:
    SettingsSandbox sandbox;
};

void tst_PortAccess::refusedPort_data()
{
    QTest::addColumn<bool>("held"); // else the device's mode bits deny the user
    QTest::newRow("device the user may not open") << false;
    // QSerialPort says PermissionError for a locked port too, where no group helps.
    QTest::newRow("port held by another program") << true;
}

void tst_PortAccess::refusedPort()
{
    QFETCH(bool, held);
    Pty pty;
    QVERIFY2(!pty.slave.isEmpty(), "no pseudo-terminal");
    const QByteArray slave = QFile::encodeName(pty.slave);
    QVERIFY(held || chmod(slave.constData(), 0) == 0);
    QSerialPort holder(pty.slave);
    if (held)
        QVERIFY2(holder.open(QIODevice::ReadWrite), qPrintable(holder.errorString()));
    struct stat info = {};
    QVERIFY(stat(slave.constData(), &info) == 0);

    MorvexWindow w;
    {
        FileAccessCapabilitiesDropped dropped;
        if (!dropped.active)
            QSKIP("Running as root, and root's file access capabilities cannot be dropped");
        connectThroughPopup(w, pty.slave, 0);
    }
    QCOMPARE(MorvexWindowProbe::port(w).error(), QSerialPort::PermissionError);

    // The message names the port as QSerialPort does ("pts/3"), the hint the device file, once.
    const QString refused = QStringLiteral("Cannot connect to %1: ").arg(MorvexWindowProbe::port(w).portName());
    const QStringList log = syslogMessages(w);
    const int at = log.indexOf(QRegularExpression(QRegularExpression::escape(refused) + QStringLiteral(".+")));
    QVERIFY2(at >= 0, qPrintable(log.join('\n')));
    const group *owner = getgrgid(info.st_gid);
    const QString hint = QStringLiteral("Your user may not open %1: join the group \"%2\" that owns it (sudo usermod -aG %2 $USER), "
                                        "then log out and log in again.")
                             .arg(pty.slave, owner ? QString::fromLocal8Bit(owner->gr_name) : QStringLiteral("dialout"));
    QCOMPARE(log.mid(at + 1), held ? QStringList() : QStringList{hint});
}

QTEST_MAIN(tst_PortAccess)
#include "tst_portaccess.moc"
