#pragma once

#include <QFrame>

class QSerialPort;

namespace Ui {
class ConnectionPopup;
}

// The frame that drops below the connection tool bar: board family, port and
// baud rate. It only collects and remembers the choices and configures the port.
class ConnectionPopup : public QFrame
{
    Q_OBJECT

public:
    explicit ConnectionPopup(QWidget *parent = nullptr);
    ~ConnectionPopup() override;

    void load();
    void save();
    bool accepted() const { return isAccepted; }
    QString portName() const;
    int boardType() const;
    void configure(QSerialPort &port, QString &serial);

signals:
    void done();

private slots:
    void on_applyButton_clicked();

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    Ui::ConnectionPopup *ui;
    bool isAccepted = false;
};
