#include "testsupport.h"

#include "connectionpopup.h"
#include "morvexwindowprobe.h"
#include "virtualboard.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QFileDialog>
#include <QInputDialog>
#include <QLineEdit>
#include <QSettings>
#include <QStandardPaths>
#include <QTest>
#include <QTextBrowser>
#include <QToolButton>

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
    QWidget *widget = QApplication::activeModalWidget();
    if (!widget)
        widget = QApplication::activePopupWidget();
    if (!widget || widget == m_last || !widget->isVisible())
        return;
    if (auto *box = qobject_cast<QMessageBox *>(widget))
        m_texts << box->text();
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

void connectThroughPopup(MorvexWindow &window, const VirtualBoard &board, int family, const QString &baud)
{
    // Added to what is there: windows of earlier boards still reconnect through the list.
    QStringList extra = qEnvironmentVariable("MORVEX_EXTRA_PORTS").split(QLatin1Char(':'), Qt::SkipEmptyParts);
    if (!extra.contains(board.portPath()))
        extra << board.portPath();
    qputenv("MORVEX_EXTRA_PORTS", extra.join(QLatin1Char(':')).toLocal8Bit());
    const QString port = board.portPath();
    DialogAnswerer answerer([&](QWidget *widget) {
        auto *popup = qobject_cast<ConnectionPopup *>(widget);
        if (!popup)
            popup = widget->findChild<ConnectionPopup *>();
        if (!popup)
            return false;
        popup->findChild<QComboBox *>(QStringLiteral("mcCombo"))->setCurrentIndex(family);
        popup->findChild<QComboBox *>(QStringLiteral("portsCombo"))->setCurrentText(port);
        popup->findChild<QComboBox *>(QStringLiteral("baudCombo"))->setCurrentText(baud);
        popup->findChild<QToolButton *>(QStringLiteral("applyButton"))->click();
        return true;
    });
    window.findChild<QAction *>(QStringLiteral("actionConnect"))->trigger();
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

bool writeLocalFile(const QString &path, const QByteArray &data)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(data) == data.size();
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
