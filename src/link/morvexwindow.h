#pragma once

#include "mcdirmodel.h"
#include "pcfileicons.h"

#include <QByteArray>
#include <QFileSystemModel>
#include <QHash>
#include <QJsonArray>
#include <QList>
#include <QMainWindow>
#include <QModelIndex>
#include <QPointer>
#include <QSerialPort>
#include <QSettings>
#include <QString>
#include <QTimer>

#include <functional>

class MVUpdater;
class PlotView;
class QCloseEvent;
class QFile;
class QFileInfo;
class QIODevice;
class QMenu;
class QTemporaryFile;
class QTextEdit;
class QuaZip;
class CodeEditor;
class ReplConsole;
struct TarArchive;
struct TarHeader;
struct MorvexWindowProbe;
struct BatchItem;

namespace Ui {
class MorvexWindow;
}

// The main window and the board link at once: it owns the serial port, the
// receive buffer and reply queue, the board state and every board operation.
// All of it runs on the GUI thread; waits are nested event loops.
class MorvexWindow : public QMainWindow
{
    Q_OBJECT
    Q_PROPERTY(MC_STATE state READ state NOTIFY stateChanged)

public:
    enum MC_STATE { MC_UNKNOWN = 0, MC_RUNNING = 1, MC_REPL = 2, MC_RAW = 3 };
    Q_ENUM(MC_STATE)
    enum MC_LIST { MC_LIST_FILES = 1, MC_LIST_DIRS = 2, MC_LIST_ALL = 3 };
    Q_ENUM(MC_LIST)
    enum MC_TYPES : qint32 { MC_STM32 = 0, MC_ESP32 = 1 };
    Q_ENUM(MC_TYPES)
    enum MC_RES { MC_FAILED = -1, MC_STOPPED = 0, MC_DEFERRED = 1 };
    Q_ENUM(MC_RES)
    enum TerminalColors {
        TC_None = 0,
        TC_Black = 30,
        TC_Red = 31,
        TC_Green = 32,
        TC_Yellow = 33,
        TC_Blue = 34,
        TC_Magenta = 35,
        TC_Cyan = 36,
        TC_White = 37
    };
    Q_ENUM(TerminalColors)

    static const QByteArray EOL;        // "\r\n"
    static const QByteArray CTRL_D;     // "\x04"
    static const QByteArray PROMPT;     // ">>> "
    static const QByteArray RAW_PROMPT; // ">"
    static const QByteArray EOL_PROMPT;     // "\r\n>>> ", kept for completeness
    static const QByteArray EOL_RAW_PROMPT; // "\r\n>"
    static const QByteArray RESET_LINE;     // machine.reset(1), the reset
    static const QByteArray LAUNCH_LINE;    // machine.reset(), the launch

    explicit MorvexWindow(QWidget *parent = nullptr);
    ~MorvexWindow() override;

    MC_STATE state() const { return mcState; }

    // morvexwindow_form.cpp (src/shell)
    void loadWindowState();
    void saveConnectionFlags();

    // morvexwindow_bytes.cpp
    // Tells whether one reply item is what a wait is waiting for. It sees each
    // item once, in the order of arrival, so it may keep state of its own.
    using ReplyTest = std::function<bool(const QByteArray &item)>;
    // Where a wait's time limit counts from: its start, or the last byte received.
    enum class Deadline { FromStart, FromLastByte };

    // The end of a piece in a state: the raw REPL's ">", else the line end.
    static const QByteArray &pieceTerminator(MC_STATE state);
    void splitReplies(const QByteArray &terminator);
    bool transmit(const QByteArray &data);
    int transferChunkSize() const; // "MC/TransferSize", or 512 below 32
    // Drops pieces from the front of queue up to the first that starts with
    // lead, and takes that one; empty when the queue runs out first.
    static QByteArray takeReplyStartingWith(QList<QByteArray> &queue, char lead);
    bool exchange(const QByteArray &data, int timeoutMs);
    bool exchange(const QByteArray &data, int timeoutMs, const ReplyTest &answers);
    // Marks the reply items queued so far: a wait looks only at items queued after its mark.
    quint64 replyMark() const { return m_itemsQueued; }
    // The one wait on the board: a nested loop until an item queued after mark
    // passes answers, or the time limit runs out (false).
    bool awaitReply(quint64 mark, const ReplyTest &answers, int limitMs, Deadline deadline = Deadline::FromStart);
    // What answers data sent in the present state: in the friendly REPL the
    // prompt that follows this command's echo, in the raw REPL every record.
    ReplyTest defaultAnswer(const QByteArray &data) const;
    // The raw REPL's end of a command: 0x04 before its '>', or the soft reboot of an empty one.
    static bool endsRawCommand(const QByteArray &item);
    void waitInput(int ms);
    void delayMs(int ms);

    // morvexwindow_connect.cpp
    void setState(MorvexWindow::MC_STATE to);
    void settleBoard(bool afterReset);
    bool enterRepl();
    bool enterRawRepl();
    MC_RES stopBoard(bool noReset);
    bool openPort();
    void closeLink();

    // morvexwindow_portaccess.cpp
    // After a failed open: a line in the system log on how to get the right to
    // the device, when the device's permissions are what refused it.
    void hintPortAccess();

    // morvexwindow_commands.cpp
    // The board command stored under key; empty or absent means builtIn.
    QString boardCommand(const QString &key, const QString &builtIn) const;
    QHash<QString, QString> readUname();
    // The uname line of a reply: the first piece that starts with "(" is read and
    // taken, with the pieces before it; the rest stay in queue.
    static QHash<QString, QString> takeUname(QList<QByteArray> &queue);
    void reportBoard();
    QByteArray boardHash(const QString &path);
    // A reply line of firmware that refuses the reset line's argument, as stock firmware does.
    static bool refusesReset(const QByteArray &item);
    // Sends the launch line if the board refuses the reset line sent after mark.
    void answerResetRefusal(quint64 mark);

    // morvexwindow_scripts.cpp
    bool loadScript(const QString &path);
    bool runScript(const QString &path);
    bool debugEcho();
    // Reads a script and brings the board to its raw REPL; false, reported, if either fails.
    bool readScriptForRawRepl(const QString &path, QByteArray &text);
    QString scriptPath(const QString &key, const QString &stmDefault, const QString &espDefault) const;

    // morvexwindow_views.cpp (src/shell)
    void logLine(const QString &text);
    void termLine(const QString &text);
    static QString &ansiToHtml(QString &text);
    void saveLog(QTextEdit *view, const QString &baseName);

    // morvexwindow_form.cpp (src/shell)
    void setBoardActions(bool on);

    // morvexwindow_listing.cpp (src/files)
    QJsonArray listBoard(QString path, MorvexWindow::MC_LIST mode);
    void changeBoardDir(QString path);
    static QString formatSize(int bytes);
    static QStringList parseListReply(const QString &text);
    // The rows of a JSON listing reply; empty when it does not parse.
    static QJsonArray listingRows(const QByteArray &reply);

    // morvexwindow_boardfs.cpp (src/files)
    bool removeBoardPath(const QString &path, bool isDir);
    void removeEntry(const QModelIndex &index);
    bool boardDirExists(const QString &path);
    bool makeBoardDirs(const QString &path);

    // morvexwindow_upload.cpp (src/files)
    bool uploadData(QIODevice &source, const QString &target);
    bool uploadFile(const QString &localPath, const QString &target);
    // uploadFile's checks of target and its log line, then the file opened; false, reported, if any fails.
    bool openUploadSource(QFile &file, const QString &target);

    // morvexwindow_batch.cpp (src/files)
    // Uploads the items in order through one run of the board's batch script;
    // their folders must exist. False, reported, at the first file that fails,
    // and the files before it stay. With "Scripts/Upload" set, each item goes
    // as a single upload instead.
    bool uploadBatch(const QList<BatchItem> &items);
    // An item that reads a local file at its turn, checked as uploadFile checks it.
    BatchItem batchFile(const QString &localPath, const QString &target);
    // The folders of the items' targets, each made once, in order.
    bool makeTargetDirs(const QList<BatchItem> &items);

    // morvexwindow_download.cpp (src/files)
    bool downloadData(const QString &source, QIODevice &sink);
    bool downloadToFile(const QString &source, const QString &localPath);
    void downloadEntry(const QModelIndex &index);

    // morvexwindow_targets.cpp (src/files)
    void uploadWithPolicy(const QFileInfo &file);
    // Where file goes on the board by "MC/SubDirsSel"; empty when the user cancels.
    QString policyTarget(const QFileInfo &file);

    // morvexwindow_selection.cpp (src/files)
    // Several files of the PC pane, copied as they are in one batch.
    void uploadSelection(const QList<QFileInfo> &files);

    // morvexwindow_packages.cpp (src/files)
    void uploadZPack(const QString &path);
    void uploadZfw(const QString &path);
    static QHash<QString, QString> parsePaxRecords(const QByteArray &data);
    // The data of the member whose header was read last, as much as its size
    // says; false for a member larger than a board could hold.
    static bool readZfwMember(TarArchive *archive, const TarHeader &header, QByteArray &data);

    // morvexwindow_sync.cpp (src/files)
    static QStringList collectLocalFiles(const QString &base, const QString &rel, bool recursive);
    void syncFiles(const QString &localRoot, const QStringList &names, bool uploadMissing);

    // morvexwindow_install.cpp (src/files)
    // The lines a call prints in the friendly REPL, up to the prompt that answers it.
    bool replLines(const QString &call, int timeoutMs, QList<QByteArray> &lines);
    const QString &boardFolder() const { return mcModel.rootPath; }

    // morvexwindow_panes.cpp (src/shell)
    void setPcFolder(const QString &path);

    // morvexwindow_edit.cpp (src/shell)
    void editBoardFile(const QModelIndex &index);

    // morvexwindow_repl.cpp (src/shell)
    bool linkOpen() const { return port.isOpen(); }
    // An operation waits on the board: the console keeps off the link.
    bool linkBusy() const { return m_linkWaits > 0; }
    bool boardActionsOn() const;
    // The console's statement has the board: the program's operations are
    // off until it gives it back.
    void consoleTakesLink(bool taken);

signals:
    void eod();
    void stateChanged(MorvexWindow::MC_STATE to);

public slots:
    // morvexwindow_bytes.cpp
    void io_ready();
    void io_error(QSerialPort::SerialPortError error);
    void io_disconnected();
    void processQueue();

    // morvexwindow_connect.cpp
    void postConnect();

    // morvexwindow_reconnect.cpp
    void tryReconnect();

    // morvexwindow_commands.cpp
    void queryInfo();

    // morvexwindow_about.cpp (src/shell)
    void checkUpdate();

private slots:
    // morvexwindow_connect.cpp
    void on_actionConnect_triggered();

    // morvexwindow_reconnect.cpp
    void on_actionAutomatic_Reconnect_toggled(bool on);

    // morvexwindow_commands.cpp
    void on_actionAbort_triggered();
    void on_actionLaunch_triggered();
    void on_actionReset_triggered();
    void on_actionDFU_triggered();

    // morvexwindow_views.cpp
    void on_actionSaveTerminal_triggered();
    void on_actionSaveSyslog_triggered();
    void on_actionClear_Terminal_triggered();
    void on_actionClear_Syslog_triggered();

    // morvexwindow_boardfs.cpp
    void on_actionRemove_triggered();
    void on_actionNew_Directory_triggered();

    // morvexwindow_download.cpp
    void on_actionDownload_triggered();

    // morvexwindow_targets.cpp
    void on_pcFileList_doubleClicked(const QModelIndex &index);
    void on_actionUpload_triggered();

    // morvexwindow_packages.cpp
    void on_actionUpload_Package_triggered();

    // morvexwindow_sync.cpp
    void on_actionSync_triggered();

    // morvexwindow_install.cpp
    void on_actionInstall_Package_triggered();

    // morvexwindow_panes.cpp
    void on_pcFolderEdit_textChanged(const QString &text);
    void on_pcFolderSelTool_clicked();
    void on_pcFolderUpTool_clicked();
    void pcFileListMenu(const QPoint &p);
    void mcFileListMenu(const QPoint &p);
    void on_mcFileList_doubleClicked(const QModelIndex &index);

    // morvexwindow_edit.cpp
    void on_actionEdit_triggered();
    void on_actionNew_File_triggered();
    void codeeditor_accepted();
    void codeeditor_rejected();

    // morvexwindow_about.cpp
    void on_actionPreferences_triggered();
    void on_actionAbout_triggered();
    void on_actionAbout_Qt_triggered();

protected:
    // morvexwindow_reconnect.cpp
    void closeEvent(QCloseEvent *event) override;

private:
    friend struct MorvexWindowProbe; // test access to the link fields

    // morvexwindow_form.cpp
    void setupForm();
    void setConnectIcon(bool open);

    // morvexwindow_panes.cpp
    void setupPanes();

    // morvexwindow_about.cpp
    void setupUpdater();

    // morvexwindow_batch.cpp
    struct BatchRun;
    bool sendBatchItem(BatchRun &run, const BatchItem &item);
    // One packet and the board's answer: "#9" when it reads on, else a result that must start with "#0".
    bool batchPacket(BatchRun &run, const QByteArray &packet, int limitMs, const QString &unanswered,
                     const QString &noReply, bool result = false);
    bool endBatch(BatchRun &run);
    void showBatchProgress(const BatchRun &run);

    // morvexwindow_selection.cpp
    QList<QFileInfo> selectedPcFiles() const; // files only, in the order of their paths

    // morvexwindow_repl.cpp
    void setupReplConsole();

    // morvexwindow_plot.cpp (src/shell)
    void setupPlot();

    // morvexwindow_packages.cpp
    bool packageInProgress(); // warns when one is
    void endZPack();
    void endZfw();

    // morvexwindow_edit.cpp
    bool openEditTemp();
    void releaseEditTemp();
    CodeEditor *createEditor(bool modal);
    void offerLocalSave(CodeEditor *editor);
    // The dialog that editTemp belongs to; a dialog left open over a lost
    // link must not upload into, or end, a later edit.
    QPointer<CodeEditor> editDialog;

    QSettings settings;
    QString termTimeColor;
    QString logTimeColor;
    Ui::MorvexWindow *ui;
    MVUpdater *updater = nullptr;
    PcFileIcons pcIcons; // outlives pcModel, whose gatherer thread asks it
    QFileSystemModel pcModel;
    MCDirModel mcModel;
    QSerialPort port;
    QString portName;
    QString portSerial;
    MC_TYPES mcType = MC_STM32;
    bool reconnectOnLoss = false;
    bool stopOnConnect = false;
    int reconnectAttempts = 0;
    MC_STATE mcState = MC_UNKNOWN;
    QByteArray rxBuffer;
    QList<QByteArray> rxQueue;
    quint64 m_itemsQueued = 0; // every piece ever put into rxQueue, for the marks of waits
    int m_linkWaits = 0;       // nested waits on the board now running
    QTimer reconnectTimer;
    QTimer queryTimer;
    QTemporaryFile *editTemp = nullptr;
    QString editPath;
    QuaZip *zpackArchive = nullptr;
    TarArchive *zfwArchive = nullptr;
    QMenu *pcMenu = nullptr;
    QMenu *mcMenu = nullptr;
    ReplConsole *replConsole = nullptr;
    bool m_actionsBeforeConsole = false;
    PlotView *plotView = nullptr; // fed every line of board text the terminal shows
};
