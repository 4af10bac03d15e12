// The terminal and system log views: time-stamped lines, ANSI colours, saving.
#include "morvexwindow.h"

#include "ansicolors.h"
#include "savepath.h"
#include "ui_morvexwindow.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QRegExp>
#include <QScrollBar>

namespace {
QString timeStampedLine(const QString &color, const QString &text)
{
    const QString stamp = QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd hh:mm:ss"));
    // Not escaped: callers pass markup of their own and board markup renders as markup.
    QString line = QStringLiteral("<font color=%2>[%1]</font>: ").arg(stamp, color) + text;
    return MorvexWindow::ansiToHtml(line);
}
} // namespace

void MorvexWindow::logLine(const QString &text)
{
    ui->logBrowser->append(timeStampedLine(logTimeColor, text));
    ui->logBrowser->verticalScrollBar()->setValue(ui->logBrowser->verticalScrollBar()->maximum());
}

void MorvexWindow::termLine(const QString &text)
{
    ui->runtimeLogBrowser->append(timeStampedLine(termTimeColor, text));
}

QString &MorvexWindow::ansiToHtml(QString &text)
{
    QRegExp pattern(QStringLiteral("\x1b\\[(?:(\\d+)\\;)*(\\d+)m"));
    bool fontOpen = false;
    int position = 0;
    for (;;) {
        position = pattern.indexIn(text, position);
        if (position < 0)
            break;
        QString replacement;
        for (int i = 1; i <= pattern.captureCount(); ++i) {
            const QString capture = pattern.cap(i);
            if (capture.isEmpty())
                continue;
            const int code = capture.toInt();
            if (code != 0) {
                if (fontOpen)
                    replacement += QStringLiteral("</font>");
                replacement += QStringLiteral("<font color=%1>").arg(ansiColorName(code));
                fontOpen = true;
            } else {
                if (fontOpen)
                    replacement += QStringLiteral("</font>");
                fontOpen = false;
            }
        }
        const int matched = pattern.matchedLength();
        const int next = position + replacement.length() - matched;
        text.replace(position, matched, replacement);
        // Deliberately not the end of the replacement: a negative start counts from the end.
        position = next;
    }
    return text;
}

void MorvexWindow::saveLog(QTextEdit *view, const QString &baseName)
{
    const QString name = askTimestampedSavePath(this, tr("Save Log As"), tr("Log files (*.log)"), QStringLiteral("UI/LogDir"),
                                                baseName, QStringLiteral(".log"));
    if (name.isEmpty())
        return;
    const QFileInfo info(name);
    QFile file(name);
    if (file.open(QIODevice::WriteOnly)) {
        file.write(view->toPlainText().toUtf8());
        logLine(tr("Saved to %1").arg(info.fileName()));
    } else {
        logLine(tr("Cannot save to %1: %2").arg(name, file.errorString()));
    }
}

void MorvexWindow::on_actionSaveTerminal_triggered()
{
    saveLog(ui->runtimeLogBrowser, QStringLiteral("morvex_terminal"));
}

void MorvexWindow::on_actionSaveSyslog_triggered()
{
    saveLog(ui->logBrowser, QStringLiteral("morvex_syslog"));
}

void MorvexWindow::on_actionClear_Terminal_triggered()
{
    ui->runtimeLogBrowser->clear();
}

void MorvexWindow::on_actionClear_Syslog_triggered()
{
    ui->logBrowser->clear();
}
