#include "connectionpopup.h"
#include "ui_connectionpopup.h"

#include "qmaterialicon.h"
#include "serialports.h"

#include <QAbstractItemView>
#include <QSerialPort>
#include <QSettings>
#include <QToolTip>

ConnectionPopup::ConnectionPopup(QWidget *parent)
    : QFrame(parent, Qt::Popup)
    , ui(new Ui::ConnectionPopup)
{
    ui->setupUi(this);
    ui->applyButton->setIcon(QMaterialIcon::instance()->icon(QStringLiteral("done")));
    // Descriptions of ports plugged in later must fit as well.
    ui->portsCombo->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    connect(ui->portsCombo, QOverload<int>::of(&QComboBox::activated), this, [this] { m_portChosen = true; });
    connect(ui->mcCombo, QOverload<int>::of(&QComboBox::activated), this, [this] { m_familyChosen = true; });
    connect(ui->portsCombo, QOverload<int>::of(&QComboBox::currentIndexChanged), this, &ConnectionPopup::showPortToolTip);
    // Within a second of a board being plugged in or pulled out.
    m_refreshTimer.setInterval(500);
    connect(&m_refreshTimer, &QTimer::timeout, this, &ConnectionPopup::refreshPorts);
}

ConnectionPopup::~ConnectionPopup()
{
    delete ui;
}

void ConnectionPopup::load()
{
    QSettings settings;

    const int mc = settings.value(QStringLiteral("UI/MC"), 0).toInt();
    m_rememberedFamily = -1;
    if (mc >= 0 && mc < ui->mcCombo->count()) {
        ui->mcCombo->setCurrentIndex(mc);
        m_rememberedFamily = mc;
    }

    // An unknown rate matches no item and leaves the first one.
    ui->baudCombo->setCurrentText(settings.value(QStringLiteral("UI/Baud"), QStringLiteral("115200")).toString());

    m_ports = offeredPorts(listSerialPorts());
    fillPorts(m_ports);
    m_rememberedPort = settings.value(QStringLiteral("UI/Port")).toString();
    applyChoice(preselectPort(m_ports, m_rememberedPort));
}

void ConnectionPopup::save()
{
    QSettings settings;
    settings.setValue(QStringLiteral("UI/Baud"), ui->baudCombo->currentText());
    if (!portName().isEmpty())
        settings.setValue(QStringLiteral("UI/Port"), portName());
    settings.setValue(QStringLiteral("UI/MC"), ui->mcCombo->currentIndex());
}

QString ConnectionPopup::portName() const
{
    return ui->portsCombo->currentData(PortNameRole).toString();
}

int ConnectionPopup::boardType() const
{
    return ui->mcCombo->currentIndex();
}

void ConnectionPopup::configure(QSerialPort &port, QString &serial)
{
    port.setPortName(portName());
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

void ConnectionPopup::showEvent(QShowEvent *event)
{
    QFrame::showEvent(event);
    m_refreshTimer.start();
}

void ConnectionPopup::hideEvent(QHideEvent *event)
{
    m_refreshTimer.stop();
    QFrame::hideEvent(event);
}

QString ConnectionPopup::portText(const SerialPortEntry &port)
{
    if (!port.description.isEmpty() && !port.manufacturer.isEmpty() && port.manufacturer != port.description)
        return tr("%1 — %2 (%3)", "port name, description, manufacturer").arg(port.name, port.description, port.manufacturer);
    const QString about = port.description.isEmpty() ? port.manufacturer : port.description;
    return about.isEmpty() ? port.name : tr("%1 — %2", "port name, description or manufacturer").arg(port.name, about);
}

QString ConnectionPopup::portToolTip(const SerialPortEntry &port)
{
    const auto hex = [](quint16 id) { return QStringLiteral("%1").arg(id, 4, 16, QLatin1Char('0')); };
    QStringList lines;
    if (port.hasIds)
        lines << tr("VID:PID %1:%2").arg(hex(port.vendorId), hex(port.productId));
    if (!port.serialNumber.isEmpty())
        lines << tr("Serial number: %1").arg(port.serialNumber);
    lines << tr("Device: %1").arg(port.path);
    return lines.join(QLatin1Char('\n'));
}

void ConnectionPopup::refreshPorts()
{
    // An open list would change under the user's pointer; the next tick catches up.
    if (ui->portsCombo->view()->isVisible())
        return;
    const QVector<SerialPortEntry> fresh = offeredPorts(listSerialPorts());
    if (fresh == m_ports)
        return;
    const PortPreselection choice = reselectPort(m_ports, fresh, portName(), m_portChosen, m_rememberedPort);
    m_ports = fresh;
    // A tip left open would still describe the port that was under it.
    QToolTip::hideText();
    fillPorts(m_ports);
    applyChoice(choice);
    resize(size().expandedTo(sizeHint()));
}

void ConnectionPopup::fillPorts(const QVector<SerialPortEntry> &ports)
{
    ui->portsCombo->clear();
    for (const SerialPortEntry &port : ports) {
        ui->portsCombo->addItem(portText(port), port.serialNumber);
        const int row = ui->portsCombo->count() - 1;
        ui->portsCombo->setItemData(row, port.name, PortNameRole);
        ui->portsCombo->setItemData(row, portToolTip(port), Qt::ToolTipRole);
    }
    // Without a port there is nothing to accept; a click outside dismisses the popup.
    ui->applyButton->setEnabled(!ports.isEmpty());
}

void ConnectionPopup::showPortToolTip()
{
    ui->portsCombo->setToolTip(ui->portsCombo->currentData(Qt::ToolTipRole).toString());
}

void ConnectionPopup::applyChoice(const PortPreselection &choice)
{
    ui->portsCombo->setCurrentIndex(choice.index);
    // The index may not have changed while the item under it did.
    showPortToolTip();
    if (m_familyChosen)
        return;
    if (choice.family != BoardFamily::None)
        ui->mcCombo->setCurrentIndex(static_cast<int>(choice.family));
    else if (m_rememberedFamily >= 0 && portName() == m_rememberedPort)
        ui->mcCombo->setCurrentIndex(m_rememberedFamily);
}
