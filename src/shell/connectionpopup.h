#pragma once

#include "portchoice.h"

#include <QFrame>
#include <QTimer>

class QSerialPort;

namespace Ui {
class ConnectionPopup;
}

// The frame that drops below the connection tool bar: board family, port and
// baud rate. It only collects and remembers the choices and configures the port.
// While it is shown, the port list follows boards plugged in and pulled out.
class ConnectionPopup : public QFrame
{
    Q_OBJECT

public:
    // Item data of the port combo besides the serial number (Qt::UserRole).
    enum { PortNameRole = Qt::UserRole + 1 };

    explicit ConnectionPopup(QWidget *parent = nullptr);
    ~ConnectionPopup() override;

    void load();
    void save();
    bool accepted() const { return isAccepted; }
    QString portName() const;
    int boardType() const;
    void configure(QSerialPort &port, QString &serial);

    static QString portText(const SerialPortEntry &port);
    static QString portToolTip(const SerialPortEntry &port);

signals:
    void done();

private slots:
    void on_applyButton_clicked();

protected:
    void closeEvent(QCloseEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    void refreshPorts();
    void fillPorts(const QVector<SerialPortEntry> &ports);
    void applyChoice(const PortPreselection &choice);
    void showPortToolTip();

    Ui::ConnectionPopup *ui;
    bool isAccepted = false;
    QVector<SerialPortEntry> m_ports;
    QString m_rememberedPort;
    int m_rememberedFamily = -1;
    bool m_portChosen = false;
    bool m_familyChosen = false;
    QTimer m_refreshTimer;
};
