#include "syncconfigurationdialog.h"
#include "ui_syncconfigurationdialog.h"

#include <QSettings>

SyncConfigurationDialog::SyncConfigurationDialog(QWidget *parent)
    : QDialog(parent)
    , ui(new Ui::SyncConfigurationDialog)
{
    ui->setupUi(this);
    connect(ui->buttonBox, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(ui->buttonBox, &QDialogButtonBox::rejected, this, &QDialog::reject);
}

SyncConfigurationDialog::~SyncConfigurationDialog()
{
    delete ui;
}

QString SyncConfigurationDialog::source() const
{
    return ui->srcEdit->text();
}

QString SyncConfigurationDialog::destination() const
{
    return ui->destEdit->text();
}

bool SyncConfigurationDialog::recursive() const
{
    return ui->recursiveCheck->isChecked();
}

bool SyncConfigurationDialog::missing() const
{
    return ui->missingCheck->isChecked();
}

void SyncConfigurationDialog::load()
{
    QSettings settings;
    ui->recursiveCheck->setChecked(settings.value(QStringLiteral("Sync/Recursive"), true).toBool());
    ui->missingCheck->setChecked(settings.value(QStringLiteral("Sync/Missing"), true).toBool());
}

void SyncConfigurationDialog::save()
{
    QSettings settings;
    settings.setValue(QStringLiteral("Sync/Recursive"), ui->recursiveCheck->isChecked());
    settings.setValue(QStringLiteral("Sync/Missing"), ui->missingCheck->isChecked());
}

void SyncConfigurationDialog::setSource(const QString &src)
{
    if (src == ui->srcEdit->text())
        return;
    ui->srcEdit->setText(src);
    emit sourceChanged(src);
}

void SyncConfigurationDialog::setDestination(const QString &dest)
{
    if (dest == ui->destEdit->text())
        return;
    ui->destEdit->setText(dest);
    emit destinationChanged(dest);
}
