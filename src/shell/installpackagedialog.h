#pragma once

#include <QDialog>

class PackageInstaller;
class QPushButton;

namespace Ui {
class InstallPackageDialog;
}

// Asks what to install from the package index and where, runs the install
// and shows its progress. Cancel stops an install under way before its next
// file; the dialog closes by itself once an install has succeeded.
class InstallPackageDialog : public QDialog
{
    Q_OBJECT

public:
    InstallPackageDialog(PackageInstaller &installer, QWidget *parent = nullptr);
    ~InstallPackageDialog() override;

    void reject() override;

private:
    void install();
    void showProgress(const QString &text, qint64 value, qint64 maximum);
    void setBusy(bool busy);

    Ui::InstallPackageDialog *ui;
    PackageInstaller &m_installer;
    QPushButton *m_installButton = nullptr;
};
