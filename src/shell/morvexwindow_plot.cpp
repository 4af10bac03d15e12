// The Plot tab of the log area, fed by the board text of the terminal and the REPL console.
#include "morvexwindow.h"

#include "plotview.h"
#include "replconsole.h"
#include "ui_morvexwindow.h"

#include <QVBoxLayout>

void MorvexWindow::setupPlot()
{
    auto *page = new QWidget();
    page->setObjectName(QStringLiteral("logPlotTab"));
    auto *layout = new QVBoxLayout(page);
    plotView = new PlotView(page);
    plotView->setObjectName(QStringLiteral("plotView"));
    layout->addWidget(plotView);
    // Behind the REPL console where there is one, else last.
    QTabWidget *tabs = ui->logTabWidget;
    const int repl = tabs->indexOf(tabs->findChild<QWidget *>(QStringLiteral("logReplTab")));
    if (repl >= 0)
        tabs->insertTab(repl + 1, page, tr("Plot"));
    else
        tabs->addTab(page, tr("Plot"));
    connect(plotView, &PlotView::message, this, &MorvexWindow::logLine);
    if (replConsole)
        connect(replConsole, &ReplConsole::outputLine, plotView, &PlotView::addLine);
}
