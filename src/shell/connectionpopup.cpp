#include "connectionpopup.h"
#include "ui_connectionpopup.h"

#include "qmaterialicon.h"
#include "serialports.h"

#include <QSerialPort>
#include <QSettings>

ConnectionPopup::ConnectionPopup(QWidget *parent)
    : QFrame(parent, Qt::Popup)
    , ui(new Ui::ConnectionPopup)
{
    ui->setupUi(this);
    ui->applyButton->setIcon(QMaterialIcon::instance()->icon(QStringLiteral("done")));
}

ConnectionPopup::~ConnectionPopup()
{
    delete ui;
}

void ConnectionPopup::load()
{
    QSettings settings;

    const int mc = settings.value(QStringLiteral("UI/MC"), 0).toInt();
    if (mc >= 0 && mc < ui->mcCombo->count())
        ui->mcCombo->setCurrentIndex(mc);

    // An unknown rate matches no item and leaves the first one.
    ui->baudCombo->setCurrentText(settings.value(QStringLiteral("UI/Baud"), QStringLiteral("115200")).toString());

    ui->portsCombo->clear();
    const QVector<SerialPortEntry> ports = listSerialPorts();
    for (const SerialPortEntry &port : ports)
        ui->portsCombo->addItem(port.name, port.serialNumber);
    ui->portsCombo->setCurrentText(settings.value(QStringLiteral("UI/Port"), ui->portsCombo->itemText(0)).toString());

    // Without a port there is nothing to accept; a click outside dismisses the popup.
    ui->applyButton->setEnabled(ui->portsCombo->count() > 0);
}

void ConnectionPopup::save()
{
    QSettings settings;
    settings.setValue(QStringLiteral("UI/Baud"), ui->baudCombo->currentText());
    if (!ui->portsCombo->currentText().isEmpty())
        settings.setValue(QStringLiteral("UI/Port"), ui->portsCombo->currentText());
    settings.setValue(QStringLiteral("UI/MC"), ui->mcCombo->currentIndex());
}

QString ConnectionPopup::portName() const
{
    return ui->portsCombo->currentText();
}

int ConnectionPopup::boardType() const
{
    return ui->mcCombo->currentIndex();
}

void ConnectionPopup::configure(QSerialPort &port, QString &serial)
{
    port.setPortName(ui->portsCombo->currentText());
    serial = ui->portsCombo->currentData().toString();
    port.setParity(QSerialPort::NoParity);
    port.setStopBits(QSerialPort::OneStop);
    port.setDataBits(QSerialPort::Data8);
    port.setBaudRate(ui->baudCombo->currentText().toInt(), QSerialPort::AllDirections);
    port.setFlowControl(QSerialPort::NoFlowControl);
}

void ConnectionPopup::on_applyButton_clicked()
{
    isAccepted = true;
    close();
}

void ConnectionPopup::closeEvent(QCloseEvent *event)
{
    // Escape and a click outside close a popup too; then accepted stays false.
    QFrame::closeEvent(event);
    emit done();
}
