#pragma once

#include "packageindex.h"

#include <QNetworkAccessManager>
#include <QObject>
#include <QSet>
#include <QStringList>

class MorvexWindow;
class QNetworkReply;

// Installs a package of MicroPython's package index, dependencies first,
// onto the board over the link. The host does all network work and checks
// every file it fetches against the index's hash; the board tells its .mpy
// version, its library folder and the hashes of files already there, and
// only files that differ are written, through the link's own upload.
class PackageInstaller : public QObject
{
    Q_OBJECT

public:
    explicit PackageInstaller(MorvexWindow *window);

    // Returns when the install has ended: true when every file of the package
    // and its dependencies is on the board. An empty version means the latest,
    // an empty target the board's library folder.
    bool install(const QString &package, const QString &version, const QString &targetFolder);

    // The index of the setting "Packages/Index", MicroPython's own by default;
    // set empty, the default again.
    static QString indexUrl();
    static void setIndexUrl(const QString &url);

    // Compiled files where the board takes them (the default), else source.
    void setPreferMpy(bool on) { m_preferMpy = on; }
    bool isRunning() const { return m_running; }
    bool wasCancelled() const { return m_cancelled; }
    QStringList written() const { return m_written; } // board paths, in order

public slots:
    // Stops before the next file; a fetch under way ends at once.
    void cancel();

signals:
    void progress(const QString &text, qint64 value, qint64 maximum);

private:
    enum class Outcome { Installed, Failed, Cancelled };
    enum class Fetch { Done, NotFound, Failed, Cancelled };
    struct Planned
    {
        QString path; // on the board
        PackageIndex::File file;
    };
    struct Write
    {
        QString path;
        QByteArray data;
    };

    Outcome run(const QString &package, const QString &version, const QString &targetFolder, QString &shownVersion);
    bool readBoard(PackageIndex::BoardInfo &info);
    Outcome resolve(const QString &package, const QString &version, QStringList &chain, QList<Planned> &plan,
                    QString *shownVersion);
    Fetch fetch(const QUrl &url, QByteArray &data, QString &error);
    Outcome check(const QList<Planned> &plan, QList<Write> &writes);
    Outcome writeFiles(const QList<Write> &writes);
    void report(Outcome outcome, const QString &package, const QString &shownVersion);
    Outcome failed(const QString &message);

    MorvexWindow *m_window;
    QNetworkAccessManager m_network;
    QNetworkReply *m_reply = nullptr; // the fetch under way
    bool m_preferMpy = true;
    bool m_running = false;
    bool m_cancelled = false;
    bool m_boardFailed = false; // a write went wrong: the board is left as the upload left it
    QString m_index;
    QString m_mpy;
    QString m_target;
    QSet<QString> m_resolved;
    QStringList m_written;
    int m_skipped = 0;
};
