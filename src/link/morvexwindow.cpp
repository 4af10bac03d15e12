// Construction and destruction of the main window and its link fields.
#include "morvexwindow.h"

#include "ui_morvexwindow.h"

#include <QCoreApplication>

const QByteArray MorvexWindow::EOL = QByteArrayLiteral("\r\n");
const QByteArray MorvexWindow::CTRL_D = QByteArrayLiteral("\x04");
const QByteArray MorvexWindow::PROMPT = QByteArrayLiteral(">>> ");
const QByteArray MorvexWindow::RAW_PROMPT = QByteArrayLiteral(">");
const QByteArray MorvexWindow::EOL_PROMPT = QByteArrayLiteral("\r\n>>> ");
const QByteArray MorvexWindow::EOL_RAW_PROMPT = QByteArrayLiteral("\r\n>");
const QByteArray MorvexWindow::RESET_LINE = QByteArrayLiteral("import machine; machine.reset(1)\r\n");
const QByteArray MorvexWindow::LAUNCH_LINE = QByteArrayLiteral("import machine; machine.reset()\r\n");

MorvexWindow::MorvexWindow(QWidget *parent)
    : QMainWindow(parent)
    , ui(new Ui::MorvexWindow)
{
    ui->setupUi(this);
    ui->logTabWidget->setCurrentIndex(0);
    ui->fileSystemGroup->setEnabled(false);
    ui->progressBar->hide();
    ui->progressBar->setFormat(tr("%p% (%v of %m bytes)"));
    ui->b_actionsToolBar->setEnabled(false);
    setupUpdater();

    connect(&port, &QSerialPort::readyRead, this, &MorvexWindow::io_ready);
    connect(&port, &QSerialPort::aboutToClose, this, &MorvexWindow::io_disconnected);
    connect(&port, &QSerialPort::errorOccurred, this, &MorvexWindow::io_error);
    // Exit goes straight to quit, past closeEvent: no guard question, no window state saved.
    connect(ui->actionExit, &QAction::triggered, qApp, &QCoreApplication::quit);

    setupPanes();
    setupForm();
    setupReplConsole();
    setBoardActions(false);

    reconnectTimer.setInterval(400);
    reconnectTimer.setSingleShot(true);
    connect(&reconnectTimer, &QTimer::timeout, this, &MorvexWindow::tryReconnect);
    queryTimer.setInterval(200);
    queryTimer.setSingleShot(true);
    connect(&queryTimer, &QTimer::timeout, this, &MorvexWindow::queryInfo);
}

MorvexWindow::~MorvexWindow()
{
    // A window closed while a package uploads releases its archive.
    if (zpackArchive)
        endZPack();
    if (zfwArchive)
        endZfw();
    if (port.isOpen()) {
        // No io_disconnected in a dying window.
        disconnect(&port, nullptr, this, nullptr);
        port.close();
    }
    delete ui;
}
