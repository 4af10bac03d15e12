// Listing a board folder into the board pane and changing the board's directory.
#include "morvexwindow.h"

#include <QJsonDocument>
#include <QRegularExpression>

QString MorvexWindow::formatSize(int bytes)
{
    // The uneven thresholds are deliberate.
    if (bytes > 1048576)
        return QStringLiteral("%1Mb").arg(bytes / 1048576.0, 0, 'f', 1);
    if (bytes >= 1231)
        return QStringLiteral("%1kB").arg(bytes / 1024.0, 0, 'f', 1);
    if (bytes >= 1)
        return QString::number(bytes);
    return QString();
}

QStringList MorvexWindow::parseListReply(const QString &text)
{
    static const QRegularExpression item(QStringLiteral("\\'([^\\']+)\\'[\\,\\]]"));
    QStringList names;
    int start = 0;
    for (;;) {
        const QRegularExpressionMatch match = item.match(text, start);
        if (!match.hasMatch())
            break;
        names << match.captured(1);
        start = match.capturedStart() + match.capturedLength();
    }
    return names;
}

QJsonArray MorvexWindow::listBoard(QString path, MorvexWindow::MC_LIST mode)
{
    if (path.size() > 1 && path.endsWith(QLatin1Char('/')))
        path.chop(1);
    if (!enterRepl())
        return QJsonArray();
    QString command;
    if (mode == MC_LIST_ALL) {
        command = boardCommand(QStringLiteral("PY/lsdir"), QStringLiteral("import os;print(os.listdir($dir))"));
    } else if (mode & MC_LIST_FILES) {
        command = boardCommand(QStringLiteral("PY/lsfiles"),
                               QStringLiteral("import os,json;print(json.dumps([{'n': item[0], 's': item[3] if "
                                              "(len(item)>3) else -1} for item in os.ilistdir($dir) if "
                                              "item[1]==0x8000]))"));
    } else if (mode & MC_LIST_DIRS) {
        command = boardCommand(QStringLiteral("PY/lsdirs"),
                               QStringLiteral("import os,json;print(json.dumps([{'n': item[0], 's': -1} for item "
                                              "in os.ilistdir($dir) if item[1]==0x4000]))"));
    } else {
        return QJsonArray();
    }
    command.replace(QStringLiteral("$dir"), QStringLiteral("'%1'").arg(path));
    if (!exchange(command.toLatin1() + EOL, 5000))
        return QJsonArray();
    // The echo of the command comes first; the reply is the JSON line.
    const QByteArray reply = takeReplyStartingWith(rxQueue, '[');
    if (reply.isEmpty()) {
        logLine(tr("Cannot list files - invalid reply"));
        return QJsonArray();
    }
    processQueue();
    return listingRows(reply);
}

QJsonArray MorvexWindow::listingRows(const QByteArray &reply)
{
    return QJsonDocument::fromJson(reply).array();
}

void MorvexWindow::changeBoardDir(QString path)
{
    if (path.isEmpty())
        path = QStringLiteral("/");
    else if (path != QLatin1String("/") && path.endsWith(QLatin1Char('/')))
        path.chop(1);
    mcModel.clear();
    if (path != QLatin1String("/"))
        mcModel.append({QStringLiteral("..")}, true);
    mcModel.setRootPath(path);
    mcModel.appendExt(listBoard(path, MC_LIST_DIRS), true, QStringLiteral("n"), QStringLiteral("s"));
    mcModel.appendExt(listBoard(path, MC_LIST_FILES), false, QStringLiteral("n"), QStringLiteral("s"));
    if (!exchange(QByteArrayLiteral("import os; os.chdir('") + path.toLatin1() + QByteArrayLiteral("')") + EOL,
                  5000))
        logLine(tr("Cannot change directory to %1").arg(path));
    settleBoard(false);
}
