// The REPL console's place in the window and its turns on the link.
#include "morvexwindow.h"

#include "replconsole.h"
#include "ui_morvexwindow.h"

#include <QVBoxLayout>

void MorvexWindow::setupReplConsole()
{
    auto *page = new QWidget;
    page->setObjectName(QStringLiteral("logReplTab"));
    auto *layout = new QVBoxLayout(page);
    replConsole = new ReplConsole(this, ui->logTabWidget, page);
    layout->addWidget(replConsole);
    ui->logTabWidget->insertTab(2, page, tr("REPL"));
    connect(this, &MorvexWindow::stateChanged, replConsole, &ReplConsole::linkStateChanged);
}

bool MorvexWindow::boardActionsOn() const
{
    return ui->actionUpload->isEnabled();
}

void MorvexWindow::consoleTakesLink(bool taken)
{
    if (taken) {
        m_actionsBeforeConsole = boardActionsOn();
        setBoardActions(false);
        ui->fileSystemGroup->setEnabled(false);
        return;
    }
    setBoardActions(m_actionsBeforeConsole);
    ui->fileSystemGroup->setEnabled(mcState == MC_REPL || mcState == MC_RAW);
}
