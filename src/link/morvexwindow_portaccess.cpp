// Telling the user how to get access to a serial port the system refuses to open.
#include "morvexwindow.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace {
// The device file behind a port name, found the way QSerialPort finds it.
QString deviceFile(const QString &name)
{
    if (name.startsWith(QLatin1Char('/')) || name.startsWith(QLatin1String("./"))
        || name.startsWith(QLatin1String("../")))
        return name;
    return QLatin1String("/dev/") + name;
}
} // namespace

void MorvexWindow::hintPortAccess()
{
    if (port.error() != QSerialPort::PermissionError)
        return;
    const QString device = deviceFile(port.portName());
    // QSerialPort gives the same error for a port locked by another program;
    // no group helps there. The effective ids are the ones open() was held to.
    if (faccessat(AT_FDCWD, QFile::encodeName(device).constData(), R_OK | W_OK, AT_EACCESS) == 0 || errno != EACCES)
        return;
    QString group = QFileInfo(device).group();
    if (group.isEmpty())
        group = QStringLiteral("dialout");
    logLine(tr("Your user may not open %1: join the group \"%2\" that owns it (sudo usermod -aG %2 $USER), "
               "then log out and log in again.").arg(device, group));
}
