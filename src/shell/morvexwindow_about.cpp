// Preferences, update checks and the About boxes of the main window.
#include "morvexwindow.h"

#include "mvupdater.h"
#include "preferences.h"
#include "ui_morvexwindow.h"

#include <QMessageBox>

void MorvexWindow::setupUpdater()
{
    const QString feed = settings.value(QStringLiteral("Updates/URL"), MVUpdater::defaultFeedUrl()).toString();
    updater = createUpdater(feed, this);
    connect(ui->actionCheck_for_updates, &QAction::triggered, this, &MorvexWindow::checkUpdate);
}

void MorvexWindow::checkUpdate()
{
    if (updater)
        updater->checkForUpdates();
}

void MorvexWindow::on_actionPreferences_triggered()
{
    Preferences preferences(this);
    preferences.load();
    if (preferences.exec() == QDialog::Accepted)
        preferences.save();
}

void MorvexWindow::on_actionAbout_triggered()
{
    const QString text = tr("MVX Board Toolkit v%1").arg(QStringLiteral(MORVEX_VERSION))
        + QStringLiteral("<br>") + tr("Developed by: Halvorn Works LLC")
        + QStringLiteral(" ") + QChar(0x00A9) + QStringLiteral("2020<br>")
        + QStringLiteral("<a href=\"https://support.halvorn.works/\">support.halvorn.works</a><br><br>")
        + tr("3rd party software:")
        + QStringLiteral("<ul>"
                         "<li><a href=\"https://github.com/google/material-design-icons\">Material design icons</a>"
                         " (Apache License 2.0)</li>"
                         "<li><a href=\"https://github.com/Megaxela/QCodeEditor\">QCodeEditor</a> (MIT License)</li>"
                         "<li><a href=\"https://github.com/rxi/microtar\">microtar</a> (MIT License)</li>"
                         "<li><a href=\"https://qwt.sourceforge.io/\">Qwt</a> (Qwt License 1.0)</li>"
                         "</ul>");
    QMessageBox::about(this, tr("Morvex"), text);
}

void MorvexWindow::on_actionAbout_Qt_triggered()
{
    QMessageBox::aboutQt(this, tr("Morvex"));
}
