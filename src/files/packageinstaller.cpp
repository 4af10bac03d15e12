#include "packageinstaller.h"

#include "batchitem.h"

#include "morvexwindow.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QSettings>
#include <QTimer>

#include <memory>

namespace {
const QString indexKey = QStringLiteral("Packages/Index");
constexpr int defaultTimeoutMs = 30000;
// No board holds more in one file; a reply that runs past it is no package file.
constexpr qint64 largestFile = 8 * 1024 * 1024;

QString joinPath(const QString &folder, const QString &name)
{
    return folder.endsWith(QLatin1Char('/')) ? folder + name : folder + QLatin1Char('/') + name;
}
} // namespace

QString PackageInstaller::indexUrl()
{
    return QSettings().value(indexKey, QStringLiteral("https://micropython.org/pi/v2")).toString();
}

void PackageInstaller::setIndexUrl(const QString &url)
{
    if (url.trimmed().isEmpty())
        QSettings().remove(indexKey);
    else
        QSettings().setValue(indexKey, url.trimmed());
}

PackageInstaller::PackageInstaller(MorvexWindow *window)
    : QObject(window)
    , m_window(window)
{
}

void PackageInstaller::cancel()
{
    if (!m_running)
        return;
    m_cancelled = true;
    if (m_reply)
        m_reply->abort();
}

bool PackageInstaller::install(const QString &package, const QString &version, const QString &targetFolder)
{
    if (m_running)
        return false;
    m_running = true;
    m_cancelled = false;
    m_boardFailed = false;
    m_resolved.clear();
    m_written.clear();
    m_skipped = 0;
    QString shownVersion;
    const Outcome outcome = run(package.trimmed(), version.trimmed(), targetFolder.trimmed(), shownVersion);
    report(outcome, package.trimmed(), shownVersion);
    m_running = false;
    return outcome == Outcome::Installed;
}

PackageInstaller::Outcome PackageInstaller::run(const QString &package, const QString &version,
                                                const QString &targetFolder, QString &shownVersion)
{
    m_window->setBoardActions(false);
    PackageIndex::BoardInfo board;
    if (!readBoard(board))
        return Outcome::Failed;

    m_target = targetFolder.isEmpty() ? board.libFolder : targetFolder;
    if (m_target.isEmpty())
        m_target = joinPath(m_window->boardFolder(), QStringLiteral("lib"));
    if (!m_target.startsWith(QLatin1Char('/')))
        m_target = joinPath(m_window->boardFolder(), m_target);
    while (m_target.size() > 1 && m_target.endsWith(QLatin1Char('/')))
        m_target.chop(1);
    if (!PackageIndex::safeBoardPath(m_target, true))
        return failed(tr("Cannot install into %1").arg(m_target));
    m_index = indexUrl();
    m_mpy = m_preferMpy && board.mpy >= 0 ? QString::number(board.mpy) : QStringLiteral("py");
    m_window->logLine(tr("Installing %1 into %2 (index folder %3)").arg(package, m_target, m_mpy));

    QList<Planned> plan;
    QStringList chain;
    Outcome outcome = resolve(package, version, chain, plan, &shownVersion);
    if (outcome != Outcome::Installed)
        return outcome;
    QList<Write> writes;
    outcome = check(plan, writes);
    if (outcome != Outcome::Installed)
        return outcome;
    return writeFiles(writes);
}

bool PackageInstaller::readBoard(PackageIndex::BoardInfo &info)
{
    // The sync's hash script first: the installer's own moves its hash to SHA-256 where it can.
    const QString hashScript =
        m_window->scriptPath(QStringLiteral("Scripts/Hash"), QStringLiteral(":/data/hash.py"), QStringLiteral(":/data/hash.py"));
    if (!m_window->loadScript(hashScript) || !m_window->loadScript(QStringLiteral(":/data/pkginfo.py")))
        return false;
    QList<QByteArray> lines;
    if (m_window->replLines(QStringLiteral("_pkginfo()"), 3000, lines))
        info = PackageIndex::parseBoardInfo(lines);
    if (!info.valid)
        m_window->logLine(tr("The board did not tell its .mpy version and library folder"));
    return info.valid;
}

PackageInstaller::Outcome PackageInstaller::resolve(const QString &package, const QString &version, QStringList &chain,
                                                    QList<Planned> &plan, QString *shownVersion)
{
    if (chain.contains(package))
        return failed(tr("Dependency cycle: %1").arg((chain + QStringList{package}).join(QStringLiteral(" -> "))));
    if (m_resolved.contains(package))
        return Outcome::Installed;
    if (m_cancelled)
        return Outcome::Cancelled;
    PackageIndex::Source source;
    QString error;
    if (!PackageIndex::locate(package, version, m_index, m_mpy, source, error))
        return failed(error);
    QString versionText = version.isEmpty() ? QStringLiteral("latest") : version;
    if (source.description.isEmpty()) {
        plan << Planned{joinPath(m_target, source.single.dest), source.single};
        m_resolved.insert(package);
        if (shownVersion)
            *shownVersion = versionText;
        return Outcome::Installed;
    }

    QByteArray json;
    switch (fetch(source.description, json, error)) {
    case Fetch::Done:
        break;
    case Fetch::NotFound:
        return failed(source.fromIndex ? tr("Package %1 not found in the index").arg(package) : error);
    case Fetch::Failed:
        return failed(error);
    case Fetch::Cancelled:
        return Outcome::Cancelled;
    }
    PackageIndex::Description description;
    if (!PackageIndex::parseDescription(json, source.description, m_index, description, error))
        return failed(error);

    chain << package;
    for (const PackageIndex::Dependency &dep : qAsConst(description.deps)) {
        const Outcome outcome = resolve(dep.name, dep.version, chain, plan, nullptr);
        if (outcome != Outcome::Installed)
            return outcome;
    }
    chain.removeLast();
    for (const PackageIndex::File &file : qAsConst(description.files))
        plan << Planned{joinPath(m_target, file.dest), file};
    m_resolved.insert(package);

    if (!description.version.isEmpty())
        versionText = description.version;
    m_window->logLine(tr("Package %1 %2: %3 file(s)").arg(package, versionText).arg(description.files.size()));
    if (shownVersion)
        *shownVersion = versionText;
    return Outcome::Installed;
}

PackageInstaller::Fetch PackageInstaller::fetch(const QUrl &url, QByteArray &data, QString &error)
{
    const int limitMs = qMax(1, QSettings().value(QStringLiteral("Packages/Timeout"), defaultTimeoutMs).toInt());
    QNetworkRequest request(url);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::NoLessSafeRedirectPolicy);
    request.setHeader(QNetworkRequest::UserAgentHeader,
                      QStringLiteral("%1/%2").arg(QCoreApplication::applicationName(),
                                                  QCoreApplication::applicationVersion()));
    const std::unique_ptr<QNetworkReply> reply(m_network.get(request));
    m_reply = reply.get();
    QEventLoop loop;
    // The limit is on silence: a slow transfer that keeps coming is waited for.
    QTimer silence;
    silence.setSingleShot(true);
    bool timedOut = false;
    bool tooLarge = false;
    connect(&silence, &QTimer::timeout, reply.get(), [&] {
        timedOut = true;
        reply->abort();
    });
    connect(reply.get(), &QNetworkReply::downloadProgress, &silence, [&](qint64 received, qint64) {
        if (received > largestFile && !tooLarge) {
            tooLarge = true;
            reply->abort();
        }
        silence.start();
    });
    connect(reply.get(), &QNetworkReply::finished, &loop, &QEventLoop::quit);
    silence.start(limitMs);
    if (!reply->isFinished())
        loop.exec();
    silence.stop();
    m_reply = nullptr;

    const QString where = url.toDisplayString();
    if (m_cancelled && reply->error() == QNetworkReply::OperationCanceledError && !timedOut && !tooLarge)
        return Fetch::Cancelled;
    if (timedOut) {
        error = tr("Cannot reach %1: %2").arg(where, tr("no answer for %1 ms").arg(limitMs));
        return Fetch::Failed;
    }
    if (tooLarge) {
        error = tr("Cannot reach %1: %2").arg(where, tr("more than %1 bytes").arg(largestFile));
        return Fetch::Failed;
    }
    if (reply->error() != QNetworkReply::NoError) {
        error = tr("Cannot reach %1: %2").arg(where, reply->errorString());
        const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        return status == 404 ? Fetch::NotFound : Fetch::Failed;
    }
    data = reply->readAll();
    return Fetch::Done;
}

PackageInstaller::Outcome PackageInstaller::check(const QList<Planned> &plan, QList<Write> &writes)
{
    const auto skip = [this](const QString &path) {
        m_window->logLine(tr("Skipping %1 - identical file on the board").arg(path));
        ++m_skipped;
    };
    for (int i = 0; i < plan.size(); ++i) {
        if (m_cancelled)
            return Outcome::Cancelled;
        const Planned &planned = plan.at(i);
        emit progress(tr("Checking %1 (%2 of %3 files)").arg(planned.path).arg(i + 1).arg(plan.size()), i, plan.size());
        if (!m_window->enterRepl())
            return Outcome::Failed;
        const QByteArray onBoard = m_window->boardHash(planned.path);
        if (onBoard.isEmpty())
            return failed(tr("The board did not hash %1").arg(planned.path));
        // "err(...)" is the board's answer for a file it does not have.
        const bool present = !onBoard.startsWith("err");
        if (present && PackageIndex::boardHoldsShortHash(onBoard, planned.file.shortHash)) {
            skip(planned.path);
            continue;
        }
        QByteArray data;
        QString error;
        switch (fetch(planned.file.url, data, error)) {
        case Fetch::Done:
            break;
        case Fetch::NotFound:
        case Fetch::Failed:
            return failed(error);
        case Fetch::Cancelled:
            return Outcome::Cancelled;
        }
        if (!planned.file.shortHash.isEmpty() && !PackageIndex::matchesShortHash(data, planned.file.shortHash))
            return failed(tr("File %1 does not match its hash").arg(planned.path));
        if (present && PackageIndex::boardHolds(onBoard, data)) {
            skip(planned.path);
            continue;
        }
        writes << Write{planned.path, data};
    }
    return Outcome::Installed;
}

// Every write of an install to the board goes through here, in order, each
// file after the folders it needs; it stops between files when cancelled.
PackageInstaller::Outcome PackageInstaller::writeFiles(const QList<Write> &writes)
{
    qint64 total = 0;
    for (const Write &write : writes)
        total += write.data.size();
    // One batch for all files; a file's turn comes once those before it are on the board.
    QList<BatchItem> items;
    qint64 done = 0;
    for (int i = 0; i < writes.size(); ++i) {
        BatchItem item = BatchItem::fromData(writes.at(i).data, writes.at(i).path);
        item.read = [this, &writes, &done, total, i](QByteArray &data) {
            if (i > 0) {
                m_written << writes.at(i - 1).path;
                done += writes.at(i - 1).data.size();
            }
            if (m_cancelled)
                return false; // the batch ends cleanly before this file
            const Write &write = writes.at(i);
            emit progress(tr("Writing %1 (%2 of %3 files)").arg(write.path).arg(i + 1).arg(writes.size()), done,
                          total);
            m_window->logLine(tr("Writing %1 (%2 bytes)").arg(write.path).arg(write.data.size()));
            data = write.data;
            return true;
        };
        items << item;
    }
    if (!m_window->makeTargetDirs(items)) {
        m_boardFailed = true;
        return Outcome::Failed;
    }
    // Asked after the folders too: making them takes a while.
    if (m_cancelled)
        return Outcome::Cancelled;
    if (!m_window->uploadBatch(items)) {
        if (m_cancelled)
            return Outcome::Cancelled;
        m_boardFailed = true;
        return Outcome::Failed;
    }
    if (!writes.isEmpty())
        m_written << writes.last().path;
    emit progress(tr("Written %1 files").arg(writes.size()), total, total);
    return Outcome::Installed;
}

PackageInstaller::Outcome PackageInstaller::failed(const QString &message)
{
    m_window->logLine(message);
    return Outcome::Failed;
}

void PackageInstaller::report(Outcome outcome, const QString &package, const QString &shownVersion)
{
    const QString written = m_written.join(QStringLiteral(", "));
    switch (outcome) {
    case Outcome::Installed:
        m_window->logLine(tr("Installed %1 %2 (%3 files, %4 skipped)")
                              .arg(package, shownVersion)
                              .arg(m_written.size())
                              .arg(m_skipped));
        break;
    case Outcome::Cancelled:
        m_window->logLine(m_written.isEmpty() ? tr("Install of %1 cancelled; nothing was written").arg(package)
                                              : tr("Install of %1 cancelled; written: %2").arg(package, written));
        break;
    case Outcome::Failed:
        m_window->logLine(m_written.isEmpty()
                              ? tr("Install of %1 failed; nothing was written").arg(package)
                              : tr("Install of %1 failed; written before the failure: %2").arg(package, written));
        break;
    }
    // After a failed write the actions stay off, as after any failed upload:
    // the way out is Abort, Reset or a new connection.
    if (!m_boardFailed)
        m_window->setBoardActions(true);
    // The pane is listed again when it shows the target folder or one above it.
    if (outcome != Outcome::Failed && !m_written.isEmpty()
        && joinPath(m_target, QString()).startsWith(m_window->boardFolder()))
        m_window->changeBoardDir(m_window->boardFolder());
}
