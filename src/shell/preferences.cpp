#include "preferences.h"
#include "ui_preferences.h"

#include "translations.h"

#include <QLocale>
#include <QMessageBox>
#include <QSettings>

Preferences::Preferences(QWidget *parent)
    : QDialog(parent)
    , ui(new Ui::Preferences)
{
    ui->setupUi(this);
    connect(ui->buttonBox, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(ui->buttonBox, &QDialogButtonBox::rejected, this, &QDialog::reject);
}

Preferences::~Preferences()
{
    delete ui;
}

void Preferences::load()
{
    QSettings settings;
    fillLanguageCombo(settings, ui->global_langCombo);

    // The theme selector stays in the form but is out of use.
    ui->global_darkText->hide();
    ui->global_darkCombo->hide();
    ui->global_darkWarning->hide();

    const bool download = settings.value(QStringLiteral("MC/ClickAction")).toString() == QLatin1String("download");
    ui->global_MCClickCombo->setCurrentIndex(download ? 1 : 0);
    // Out-of-range sizes stored by hand are clamped by the spin box; 31 reads "Default".
    ui->global_TransferSizeSpin->setValue(settings.value(QStringLiteral("MC/TransferSize"), 0).toInt());
    const int target = settings.value(QStringLiteral("MC/SubDirsSel"), int(Target_Ask)).toInt();
    ui->globat_DirStructCombo->setCurrentIndex(target >= 0 && target < ui->globat_DirStructCombo->count()
                                                   ? target
                                                   : int(Target_Ask));
    ui->global_MCExecCheck->setChecked(settings.value(QStringLiteral("MC/SuggestExecute"), false).toBool());
    ui->global_STMFolderEdit->setText(settings.value(QStringLiteral("MC/STMDir"), QStringLiteral("/flash")).toString());
    ui->global_ESPFolderEdit->setText(settings.value(QStringLiteral("MC/ESPDir"), QStringLiteral("/")).toString());

    // These two defaults are the opposite of the editor's own until OK writes them.
    ui->editor_AutoIndentCheck->setChecked(settings.value(QStringLiteral("Code/Indent"), false).toBool());
    ui->editor_AutoParentCheck->setChecked(settings.value(QStringLiteral("Code/Parenth"), true).toBool());
    ui->editor_TabsCombo->setCurrentIndex(settings.value(QStringLiteral("Code/Tabs"), true).toBool() ? 0 : 1);
    ui->editor_TabSizeSpin->setValue(settings.value(QStringLiteral("Code/TabSize"), 4).toInt());
    ui->editor_WordWrapCheck->setChecked(settings.value(QStringLiteral("Code/Wrap"), false).toBool());
    ui->editor_WhiteSpaceCheck->setChecked(settings.value(QStringLiteral("Code/ShowSpaces"), false).toBool());
}

void Preferences::save()
{
    QSettings settings;

    QString language;
    if (ui->global_langCombo->currentIndex() != 0)
        language = ui->global_langCombo->currentData().value<QLocale>().name();
    // A language number written at first start differs from "System" too.
    const QString stored = settings.value(QStringLiteral("UI/Language")).toString();
    if (!stored.isEmpty() && stored != language) {
        // In English whatever the language: the new one is not loaded yet either way.
        QMessageBox::warning(this, QStringLiteral("Change Language"),
                             QStringLiteral("Language will be changed after an application restart."),
                             QMessageBox::Ok);
    }
    settings.setValue(QStringLiteral("UI/Language"), language);

    settings.setValue(QStringLiteral("MC/ClickAction"), ui->global_MCClickCombo->currentIndex() == 1
                                                            ? QStringLiteral("download")
                                                            : QStringLiteral("edit"));
    settings.setValue(QStringLiteral("MC/TransferSize"), ui->global_TransferSizeSpin->value());
    settings.setValue(QStringLiteral("MC/SubDirsSel"), ui->globat_DirStructCombo->currentIndex());
    settings.setValue(QStringLiteral("MC/STMDir"), ui->global_STMFolderEdit->text());
    settings.setValue(QStringLiteral("MC/ESPDir"), ui->global_ESPFolderEdit->text());
    settings.setValue(QStringLiteral("MC/SuggestExecute"), ui->global_MCExecCheck->isChecked());

    settings.setValue(QStringLiteral("Code/Parenth"), ui->editor_AutoParentCheck->isChecked());
    settings.setValue(QStringLiteral("Code/Indent"), ui->editor_AutoIndentCheck->isChecked());
    settings.setValue(QStringLiteral("Code/Tabs"), ui->editor_TabsCombo->currentIndex() == 0);
    settings.setValue(QStringLiteral("Code/TabSize"), ui->editor_TabSizeSpin->value());
    settings.setValue(QStringLiteral("Code/Wrap"), ui->editor_WordWrapCheck->isChecked());
    settings.setValue(QStringLiteral("Code/ShowSpaces"), ui->editor_WhiteSpaceCheck->isChecked());
}
