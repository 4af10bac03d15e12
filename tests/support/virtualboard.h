#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

// Runs tools/virtual_board.py on a temporary directory and pseudo-terminal
// for one test. The board's file system lives in fsPath(); its port is the
// stable link portPath(). Every byte in both directions is kept in a
// transcript for diagnostics.
class VirtualBoard
{
public:
    VirtualBoard();
    ~VirtualBoard();

    // args are passed to the simulator as they stand, e.g. {"--family", "esp32"}.
    bool start(const QStringList &args = QStringList());
    // The simulator's arguments for a family index (0 STM32, 1 ESP32), as the popup numbers them.
    static QStringList familyArgs(int family);
    // The arguments of a delivery mode: a UART's pieces and bytes at 115200 baud, USB packets and random cuts unthrottled.
    static QStringList deliveryArgs(const QString &mode);
    void stop();
    bool isRunning() const;

    QString portPath() const { return m_portPath; }
    QString fsPath() const;
    QString transcriptPath() const;
    QByteArray transcript() const;
    // All bytes the board received (">>" lines of the transcript), joined.
    QByteArray received() const;
    QString errors() const; // what the simulator wrote to stderr so far

    QByteArray readFile(const QString &boardRelative) const;
    bool writeFile(const QString &boardRelative, const QByteArray &data) const;
    bool exists(const QString &boardRelative) const;

private:
    QTemporaryDir m_dir;
    QProcess m_process;
    QString m_portPath;
    mutable QByteArray m_stderr;
};
