#pragma once

#include <QDialog>

namespace Ui {
class SyncConfigurationDialog;
}

// Asks the two options of a synchronisation and shows the folders concerned;
// the folders themselves are always those of the two panes.
class SyncConfigurationDialog : public QDialog
{
    Q_OBJECT
    Q_PROPERTY(QString source READ source WRITE setSource NOTIFY sourceChanged)
    Q_PROPERTY(QString destination READ destination WRITE setDestination NOTIFY destinationChanged)

public:
    explicit SyncConfigurationDialog(QWidget *parent = nullptr);
    ~SyncConfigurationDialog() override;

    QString source() const;
    QString destination() const;
    bool recursive() const;
    bool missing() const;

    void setSource(const QString &src);
    void setDestination(const QString &dest);

    void load();
    void save();

signals:
    void sourceChanged(const QString &src);
    void destinationChanged(const QString &dest);

private:
    Ui::SyncConfigurationDialog *ui;
};
