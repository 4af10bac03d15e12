#include "installpackagedialog.h"
#include "ui_installpackagedialog.h"

#include "packageinstaller.h"

#include <QPushButton>

InstallPackageDialog::InstallPackageDialog(PackageInstaller &installer, QWidget *parent)
    : QDialog(parent)
    , ui(new Ui::InstallPackageDialog)
    , m_installer(installer)
{
    ui->setupUi(this);
    ui->progressBar->hide();
    ui->indexEdit->setText(PackageInstaller::indexUrl());
    m_installButton = ui->buttonBox->addButton(tr("Install"), QDialogButtonBox::AcceptRole);
    m_installButton->setEnabled(false);
    connect(ui->packageEdit, &QLineEdit::textChanged, this,
            [this](const QString &text) { m_installButton->setEnabled(!text.trimmed().isEmpty()); });
    connect(ui->advancedButton, &QPushButton::toggled, this, [this](bool on) { ui->indexEdit->setReadOnly(!on); });
    connect(ui->buttonBox, &QDialogButtonBox::accepted, this, &InstallPackageDialog::install);
    connect(ui->buttonBox, &QDialogButtonBox::rejected, this, &InstallPackageDialog::reject);
    connect(&installer, &PackageInstaller::progress, this, &InstallPackageDialog::showProgress);
}

InstallPackageDialog::~InstallPackageDialog()
{
    delete ui;
}

void InstallPackageDialog::reject()
{
    // Closing while an install runs would leave it without its window.
    if (m_installer.isRunning()) {
        ui->statusLabel->setText(tr("Cancelling after the current file..."));
        m_installer.cancel();
        return;
    }
    QDialog::reject();
}

void InstallPackageDialog::install()
{
    if (m_installer.isRunning() || ui->packageEdit->text().trimmed().isEmpty())
        return;
    // An index edited under Advanced is the one used from now on; emptied, the default again.
    if (ui->advancedButton->isChecked()) {
        PackageInstaller::setIndexUrl(ui->indexEdit->text());
        ui->indexEdit->setText(PackageInstaller::indexUrl());
    }
    setBusy(true);
    ui->statusLabel->setText(tr("Installing..."));
    m_installer.setPreferMpy(ui->mpyCheck->isChecked());
    const bool installed =
        m_installer.install(ui->packageEdit->text(), ui->versionEdit->text(), ui->targetEdit->text());
    setBusy(false);
    if (installed) {
        accept();
        return;
    }
    ui->statusLabel->setText(m_installer.wasCancelled() ? tr("Cancelled; the system log lists what was written.")
                                                        : tr("The install failed; the system log tells why."));
}

void InstallPackageDialog::showProgress(const QString &text, qint64 value, qint64 maximum)
{
    ui->statusLabel->setText(text);
    // Bytes can outgrow the bar's int; it counts in thousandths.
    ui->progressBar->setRange(0, 1000);
    ui->progressBar->setValue(maximum > 0 ? int(qBound<qint64>(0, value * 1000 / maximum, 1000)) : 0);
}

void InstallPackageDialog::setBusy(bool busy)
{
    for (QWidget *field : {static_cast<QWidget *>(ui->packageEdit), static_cast<QWidget *>(ui->versionEdit),
                           static_cast<QWidget *>(ui->targetEdit), static_cast<QWidget *>(ui->mpyCheck),
                           static_cast<QWidget *>(ui->indexEdit), static_cast<QWidget *>(ui->advancedButton)})
        field->setEnabled(!busy);
    m_installButton->setEnabled(!busy);
    ui->progressBar->setVisible(busy);
    ui->progressBar->setValue(0);
}
