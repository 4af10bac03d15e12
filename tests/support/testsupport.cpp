#include "testsupport.h"

#include "connectionpopup.h"
#include "morvexwindowprobe.h"
#include "qmaterialicon.h"
#include "serialports.h"
#include "virtualboard.h"

#include <QAbstractItemView>
#include <QAction>
#include <QApplication>
#include <QBuffer>
#include <QComboBox>
#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QFileDialog>
#include <QIcon>
#include <QImage>
#include <QInputDialog>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLineEdit>
#include <QMetaEnum>
#include <QProcess>
#include <QPushButton>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QSettings>
#include <QStandardPaths>
#include <QTest>
#include <QTextBrowser>
#include <QToolButton>
#include <quazip.h>
#include <quazipfile.h>

#include <algorithm>

SettingsSandbox::SettingsSandbox()
{
    QStandardPaths::setTestModeEnabled(true);
    qputenv("XDG_CONFIG_HOME", m_dir.path().toLocal8Bit());
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_dir.path());
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, m_dir.path());
    QCoreApplication::setOrganizationName(QStringLiteral("Halvorn."));
    QCoreApplication::setApplicationName(QStringLiteral("Morvex"));
    clear();
}

SettingsSandbox::~SettingsSandbox()
{
    clear();
}

void SettingsSandbox::clear()
{
    QSettings settings;
    settings.clear();
    settings.sync();
}

DialogAnswerer::DialogAnswerer(Handler handler, QObject *parent)
    : QObject(parent)
    , m_handler(std::move(handler))
{
    connect(&m_timer, &QTimer::timeout, this, &DialogAnswerer::poll);
    m_timer.start(20);
}

void DialogAnswerer::poll()
{
    if (m_last && !m_last->isVisible())
        m_last.clear(); // closed: shown again, it is a new question
    QWidget *widget = QApplication::activeModalWidget();
    if (!widget)
        widget = QApplication::activePopupWidget();
    if (!widget || widget == m_last || !widget->isVisible())
        return;
    if (auto *box = qobject_cast<QMessageBox *>(widget)) {
        m_texts << box->text();
        m_titles << box->windowTitle();
        QMap<int, QString> names; // in the order of their values, not of the platform's layout
        for (QAbstractButton *button : box->buttons()) // "Show Details..." is no standard button
            if (const int value = box->standardButton(button))
                names.insert(value, QMetaEnum::fromType<QMessageBox::StandardButtons>().valueToKey(value)
                                        + QLatin1String(button == box->defaultButton() ? "*" : ""));
        m_buttons << QStringList(names.values()).join(QLatin1Char(' '));
    }
    if (m_handler(widget)) {
        m_last = widget;
        ++m_answered;
    }
}

DialogAnswerer *DialogAnswerer::messageBox(QMessageBox::StandardButton button, QObject *parent)
{
    return new DialogAnswerer([button](QWidget *widget) {
        auto *box = qobject_cast<QMessageBox *>(widget);
        if (!box)
            return false;
        QAbstractButton *target = box->button(button);
        if (target)
            target->click();
        else
            box->reject();
        return true;
    }, parent);
}

DialogAnswerer *DialogAnswerer::inputText(const QString &text, QObject *parent)
{
    return new DialogAnswerer([text](QWidget *widget) {
        auto *dialog = qobject_cast<QInputDialog *>(widget);
        if (!dialog)
            return false;
        if (text.isNull()) {
            dialog->reject();
        } else {
            dialog->setTextValue(text);
            dialog->accept();
        }
        return true;
    }, parent);
}

DialogAnswerer *DialogAnswerer::fileName(const QString &path, QObject *parent)
{
    return new DialogAnswerer([path](QWidget *widget) {
        auto *dialog = qobject_cast<QFileDialog *>(widget);
        if (!dialog)
            return false;
        if (path.isEmpty()) {
            dialog->reject();
        } else {
            // Qt's own dialog: the name goes into its file name field, as a user would type it.
            dialog->selectFile(path);
            if (auto *edit = dialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit")))
                edit->setText(path);
            QMetaObject::invokeMethod(dialog, "accept", Qt::DirectConnection);
        }
        return true;
    }, parent);
}

ActWhen::ActWhen(std::function<bool()> pred, std::function<void()> action, QObject *parent)
    : QObject(parent)
    , m_pred(std::move(pred))
    , m_action(std::move(action))
{
    connect(&m_timer, &QTimer::timeout, this, &ActWhen::poll);
    m_timer.start(10);
}

void ActWhen::poll()
{
    if (m_done || !m_pred())
        return;
    // Marked first: the action may itself wait, and the timer fires on meanwhile.
    m_done = true;
    m_timer.stop();
    m_action();
}

void connectThroughPopup(MorvexWindow &window, const VirtualBoard &board, int family, const QString &baud)
{
    connectThroughPopup(window, board.portPath(), family, baud);
}

void connectThroughPopup(MorvexWindow &window, const QString &port, int family, const QString &baud)
{
    // Added to what is there: windows of earlier boards still reconnect through the list.
    const QString extra = qEnvironmentVariable("MORVEX_EXTRA_PORTS");
    const QVector<SerialPortEntry> entries = parseExtraPorts(extra);
    const bool listed = std::any_of(entries.cbegin(), entries.cend(), [&](const SerialPortEntry &entry) { return entry.path == port; });
    if (!listed)
        qputenv("MORVEX_EXTRA_PORTS", (extra.isEmpty() ? port : extra + QLatin1Char(':') + port).toLocal8Bit());
    DialogAnswerer answerer([&](QWidget *widget) {
        auto *popup = qobject_cast<ConnectionPopup *>(widget);
        if (!popup)
            popup = widget->findChild<ConnectionPopup *>();
        if (!popup)
            return false;
        popup->findChild<QComboBox *>(QStringLiteral("mcCombo"))->setCurrentIndex(family);
        auto *ports = popup->findChild<QComboBox *>(QStringLiteral("portsCombo"));
        ports->setCurrentIndex(ports->findData(port, ConnectionPopup::PortNameRole));
        popup->findChild<QComboBox *>(QStringLiteral("baudCombo"))->setCurrentText(baud);
        popup->findChild<QToolButton *>(QStringLiteral("applyButton"))->click();
        return true;
    });
    window.findChild<QAction *>(QStringLiteral("actionConnect"))->trigger();
}

bool monitorBoard(MorvexWindow &window, const VirtualBoard &board, int family)
{
    window.findChild<QAction *>(QStringLiteral("actionMonitor_Only"))->setChecked(true);
    connectThroughPopup(window, board, family);
    return waitFor([&] { return !terminalText(window).isEmpty(); }, 5000);
}

bool connectBoard(MorvexWindow &window, const VirtualBoard &board, int family, int timeoutMs)
{
    // Counted, so that a second connection to the same board waits for its own listing.
    const int listed = board.received().count("os.chdir(");
    connectThroughPopup(window, board, family);
    // Conditions are checked between events, so a nested operation is never half done here.
    return waitFor([&] {
        return window.state() == MorvexWindow::MC_REPL && board.received().count("os.chdir(") > listed;
    }, timeoutMs);
}

QString syslogText(MorvexWindow &window)
{
    return window.findChild<QTextBrowser *>(QStringLiteral("logBrowser"))->toPlainText();
}

QString terminalText(MorvexWindow &window)
{
    return window.findChild<QTextBrowser *>(QStringLiteral("runtimeLogBrowser"))->toPlainText();
}

QAction *windowAction(MorvexWindow &window, const char *name)
{
    return window.findChild<QAction *>(QLatin1String(name));
}

QModelIndex boardRow(MorvexWindow &window, const QString &name)
{
    const MCDirModel &model = MorvexWindowProbe::mcModel(window);
    for (int i = 0; i < model.rowCount(); ++i) {
        if (model.fileName(model.index(i, 0)) == name)
            return model.index(i, 0);
    }
    return QModelIndex();
}

bool uploadBytes(MorvexWindow &window, QByteArray data, const QString &target)
{
    QBuffer source(&data);
    return source.open(QIODevice::ReadOnly) && window.uploadData(source, target);
}

QStringList batchTargets(const QByteArray &received)
{
    QStringList targets;
    auto calls = QRegularExpression(QStringLiteral("_batch\\(\\d+\\)\x04")).globalMatch(QString::fromLatin1(received));
    while (calls.hasNext()) {
        // Header, data and checksum packets follow one another; anything else ends the batch.
        for (int at = calls.next().capturedEnd(); at + 15 <= received.size() && received.at(at) == '!';) {
            const int length = received.mid(at + 1, 10).toInt(), name = received.mid(at + 11, 4).toInt();
            targets << QString::fromUtf8(QByteArray::fromBase64(received.mid(at + 15, name)));
            at += 15 + name + length + 11;
        }
    }
    return targets;
}

bool writeLocalFile(const QString &path, const QByteArray &data)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(data) == data.size();
}

QByteArray readLocalFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QByteArray randomBytes(int size, quint32 seed)
{
    QRandomGenerator generator(seed);
    QByteArray data(size, '\0');
    for (int i = 0; i < size; ++i)
        data[i] = char(generator.bounded(256));
    return data;
}

static QStringList messagesOf(const QString &text)
{
    QStringList messages;
    const QStringList lines = text.split(QLatin1Char('\n'));
    for (const QString &line : lines) {
        const int cut = line.indexOf(QStringLiteral("]: "));
        messages << (cut >= 0 ? line.mid(cut + 3) : line);
    }
    return messages;
}

QStringList syslogMessages(MorvexWindow &window)
{
    return messagesOf(syslogText(window));
}

QStringList terminalMessages(MorvexWindow &window)
{
    return messagesOf(terminalText(window));
}

bool inOrder(const QStringList &messages, const QStringList &expected)
{
    int at = 0;
    for (const QString &want : expected) {
        while (at < messages.size() && messages.at(at) != want)
            ++at;
        if (at == messages.size())
            return false;
        ++at;
    }
    return true;
}

bool writeZip(const QString &path, const QList<QPair<QString, QByteArray>> &members, const QString &comment)
{
    QuaZip zip(path);
    if (!zip.open(QuaZip::mdCreate))
        return false;
    zip.setComment(comment);
    for (const auto &member : members) {
        QuaZipFile file(&zip);
        if (!file.open(QIODevice::WriteOnly, QuaZipNewInfo(member.first))
            || file.write(member.second) != member.second.size())
            return false;
        file.close();
        if (file.getZipError() != 0)
            return false;
    }
    zip.close();
    return zip.getZipError() == 0;
}

bool runProgram(const QString &program, const QStringList &args, const QString &workDir, QByteArray *output, int timeoutMs)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    if (!workDir.isEmpty())
        process.setWorkingDirectory(workDir);
    process.start(program, args);
    const bool finished = process.waitForStarted(10000) && process.waitForFinished(timeoutMs);
    const QByteArray said = process.readAll();
    if (output)
        *output = said;
    if (!finished || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
        qWarning("%s failed: %s", qPrintable(program), said.constData());
        return false;
    }
    return true;
}

bool runPython(const QString &script, const QStringList &args, QByteArray *output)
{
    return runProgram(QStringLiteral(MORVEX_PYTHON), QStringList{QStringLiteral("-c"), script} + args, QString(),
                      output);
}

bool showsIcon(const QIcon &icon, const QString &name, const QColor &color)
{
    bool known = false;
    QMaterialIcon::instance()->codepoint(name, &known);
    const QImage expected = QMaterialIcon::instance()->icon(name, color).pixmap(24, 24).toImage();
    return known && !icon.isNull() && icon.pixmap(24, 24).toImage() == expected;
}

bool doubleClick(QAbstractItemView *view, const QModelIndex &index)
{
    return index.isValid() && QMetaObject::invokeMethod(view, "doubleClicked", Q_ARG(QModelIndex, index));
}

bool waitFor(const std::function<bool()> &pred, int timeoutMs)
{
    QDeadlineTimer deadline(timeoutMs);
    while (!pred()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        QTest::qWait(10);
    }
    return true;
}

bool writeZfw(const QString &path, const QVariantMap &pax, const QList<QPair<QString, QByteArray>> &members)
{
    QJsonArray list;
    for (const auto &member : members)
        list.append(QJsonArray{member.first, QString::fromLatin1(member.second.toBase64())});
    const QJsonObject layout{{QStringLiteral("pax"), QJsonObject::fromVariantMap(pax)}, {QStringLiteral("members"), list}};
    return runPython(QStringLiteral(R"(
import base64, io, json, sys, tarfile
layout = json.loads(sys.argv[2])
pax = layout['pax']
with tarfile.open(sys.argv[1], 'w', format=tarfile.PAX_FORMAT if pax else tarfile.USTAR_FORMAT,
                  pax_headers=pax) as t:
    for name, data in layout['members']:
        info = tarfile.TarInfo(name)
        info.mtime = 1700000000
        if name.endswith('/'):
            info.type = tarfile.DIRTYPE
            t.addfile(info)
        else:
            raw = base64.b64decode(data)
            info.size = len(raw)
            t.addfile(info, io.BytesIO(raw))
)"),
                     {path, QString::fromUtf8(QJsonDocument(layout).toJson(QJsonDocument::Compact))});
}
