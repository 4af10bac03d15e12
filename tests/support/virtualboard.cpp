#include "virtualboard.h"

#include "testsupport.h"

#include <QAtomicInt>
#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFileInfo>

static QAtomicInt boardCounter;

VirtualBoard::VirtualBoard()
{
    QDir(m_dir.path()).mkpath(QStringLiteral("fs"));
}

VirtualBoard::~VirtualBoard()
{
    stop();
}

QStringList VirtualBoard::familyArgs(int family)
{
    return {QStringLiteral("--family"), family ? QStringLiteral("esp32") : QStringLiteral("stm32")};
}

QStringList VirtualBoard::deliveryArgs(const QString &mode)
{
    QStringList args{QStringLiteral("--delivery"), mode};
    if (mode == QLatin1String("uart") || mode == QLatin1String("bytes"))
        args << QStringLiteral("--baud") << QStringLiteral("115200");
    return args;
}

bool VirtualBoard::start(const QStringList &args)
{
    // The link name is unique per process and board: QSerialPort keeps lock
    // files by base name, and suites run in parallel.
    const QString link = QStringLiteral("%1/ttyMC%2_%3")
                             .arg(m_dir.path())
                             .arg(QCoreApplication::applicationPid())
                             .arg(boardCounter.fetchAndAddRelaxed(1));
    QStringList all;
    all << QStringLiteral(MORVEX_SOURCE_DIR "/tools/virtual_board.py")
        << QStringLiteral("--fs") << fsPath()
        << QStringLiteral("--link") << link
        << QStringLiteral("--transcript") << transcriptPath()
        << args;
    m_process.setProgram(QStringLiteral(MORVEX_PYTHON));
    m_process.setArguments(all);
    m_process.setProcessChannelMode(QProcess::SeparateChannels);
    m_process.start();
    if (!m_process.waitForStarted(10000))
        return false;

    QDeadlineTimer deadline(15000);
    QByteArray out;
    while (!out.contains('\n') && !deadline.hasExpired()) {
        if (m_process.state() != QProcess::Running)
            break;
        m_process.waitForReadyRead(int(qMax<qint64>(1, deadline.remainingTime())));
        out += m_process.readAllStandardOutput();
    }
    m_stderr += m_process.readAllStandardError();
    const int eol = out.indexOf('\n');
    if (eol < 0) {
        qWarning("virtual board did not start: %s", m_stderr.constData());
        stop();
        return false;
    }
    m_portPath = QString::fromLocal8Bit(out.left(eol)).trimmed();
    return QFileInfo::exists(m_portPath);
}

void VirtualBoard::stop()
{
    if (m_process.state() == QProcess::NotRunning)
        return;
    m_process.terminate();
    if (!m_process.waitForFinished(5000)) {
        m_process.kill();
        m_process.waitForFinished(2000);
    }
    m_stderr += m_process.readAllStandardError();
}

bool VirtualBoard::isRunning() const
{
    return m_process.state() == QProcess::Running;
}

QString VirtualBoard::fsPath() const
{
    return m_dir.path() + QStringLiteral("/fs");
}

QString VirtualBoard::transcriptPath() const
{
    return m_dir.path() + QStringLiteral("/transcript.txt");
}

QByteArray VirtualBoard::transcript() const
{
    return readLocalFile(transcriptPath());
}

namespace {
// Decodes the Python bytes literal b'...' (or b"...") of one transcript line.
QByteArray decodeLiteral(const QByteArray &literal)
{
    QByteArray out;
    if (literal.size() < 3 || literal.at(0) != 'b')
        return out;
    const QByteArray body = literal.mid(2, literal.size() - 3);
    for (int i = 0; i < body.size(); ++i) {
        const char c = body.at(i);
        if (c != '\\' || i + 1 >= body.size()) {
            out += c;
            continue;
        }
        const char e = body.at(++i);
        switch (e) {
        case 'n': out += '\n'; break;
        case 'r': out += '\r'; break;
        case 't': out += '\t'; break;
        case 'x':
            out += char(body.mid(i + 1, 2).toInt(nullptr, 16));
            i += 2;
            break;
        default: out += e; break;
        }
    }
    return out;
}

} // namespace

QByteArray VirtualBoard::received() const
{
    const QByteArray marker = QByteArrayLiteral(">> ");
    QByteArray joined;
    const QList<QByteArray> lines = transcript().split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith(marker))
            joined += decodeLiteral(line.mid(marker.size()).trimmed());
    }
    return joined;
}

QString VirtualBoard::errors() const
{
    auto &process = const_cast<QProcess &>(m_process);
    m_stderr += process.readAllStandardError();
    return QString::fromLocal8Bit(m_stderr);
}

QByteArray VirtualBoard::readFile(const QString &boardRelative) const
{
    return readLocalFile(fsPath() + QLatin1Char('/') + boardRelative);
}

bool VirtualBoard::writeFile(const QString &boardRelative, const QByteArray &data) const
{
    return writeLocalFile(fsPath() + QLatin1Char('/') + boardRelative, data);
}

bool VirtualBoard::exists(const QString &boardRelative) const
{
    return QFileInfo::exists(fsPath() + QLatin1Char('/') + boardRelative);
}
