// The interactive console: running what is typed at the board's REPL, and showing the session.
#include "replconsole.h"

#include "ansicolors.h"
#include "morvexwindow.h"
#include "qpythonhighlighter.h"
#include "qsyntaxstyle.h"
#include "replinput.h"
#include "replsource.h"
#include "theme.h"

#include <QEventLoop>
#include <QFontDatabase>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QSettings>
#include <QTabWidget>
#include <QTextBlock>
#include <QVBoxLayout>

namespace {
const QString historyKey = QStringLiteral("REPL/History");
const int viewLimit = 20000;         // lines kept in the session view
const int yieldLimitMs = 2000;       // for a stopped statement's prompt
const int completionLimitMs = 3000; // for the board's answer to Tab
const int interruptRetryMs = 500;
const int interruptRetries = 2;

QFont consoleFont()
{
    // The code editor's font.
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setFixedPitch(true);
    font.setPointSize(10);
    return font;
}

QByteArray typedLine(const QString &text)
{
    QByteArray bytes = text.toUtf8();
    bytes.replace('\n', '\r');
    return bytes + '\r';
}
} // namespace

ReplConsole::ReplConsole(MorvexWindow *window, QTabWidget *tabs, QWidget *parent)
    : QWidget(parent)
    , m_window(window)
    , m_tabs(tabs)
    , m_view(new QPlainTextEdit(this))
    , m_input(new ReplInput(this))
{
    m_view->setObjectName(QStringLiteral("replView"));
    m_view->setReadOnly(true);
    m_view->setMaximumBlockCount(viewLimit);
    m_view->setFont(consoleFont());
    m_input->setObjectName(QStringLiteral("replInput"));
    m_input->setFont(consoleFont());
    auto *highlighter = new QPythonHighlighter();
    highlighter->setParent(m_input);
    highlighter->setSyntaxStyle(isDarkTheme() ? QSyntaxStyle::darkScheme() : QSyntaxStyle::defaultScheme());
    highlighter->setDocument(m_input->document());

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_view);
    layout->addWidget(m_input);
    setFocusProxy(m_input);

    connect(m_input, &ReplInput::enterPressed, this, &ReplConsole::enterPressed);
    connect(m_input, &ReplInput::interruptPressed, this, &ReplConsole::interruptPressed);
    connect(m_input, &ReplInput::rebootPressed, this, &ReplConsole::softReboot);
    connect(m_input, &ReplInput::clearViewPressed, m_view, &QPlainTextEdit::clear);
    connect(m_input, &ReplInput::completionPressed, this, &ReplConsole::requestCompletion);
    connect(m_input, &ReplInput::historyPressed, this, &ReplConsole::walkHistory);

    m_history = QSettings().value(historyKey).toStringList();
    m_historyIndex = m_history.size();

    // The link gives no signal when an operation starts or ends; a glance a
    // tenth of a second is cheap and soon enough for the eye.
    m_availability.setInterval(100);
    connect(&m_availability, &QTimer::timeout, this, &ReplConsole::refreshAvailability);
    m_availability.start();
    m_completionLimit.setSingleShot(true);
    m_completionLimit.setInterval(completionLimitMs);
    connect(&m_completionLimit, &QTimer::timeout, this, [this] {
        if (m_exchange.active() && m_exchange.kind() == ReplExchange::Completion)
            abandonExchange();
    });
    // A Ctrl-C that reaches the board before the statement runs is only input;
    // while the board stays silent, it is sent again.
    m_interruptRetry.setSingleShot(true);
    m_interruptRetry.setInterval(interruptRetryMs);
    connect(&m_interruptRetry, &QTimer::timeout, this, [this] {
        if (statementRunning() && m_quietSinceInterrupt && m_interruptRetries-- > 0) {
            send(QByteArrayLiteral("\x03"));
            m_interruptRetry.start();
        }
    });
    refreshAvailability();
}

ReplConsole::~ReplConsole() = default;

ReplConsole::Mode ReplConsole::mode() const
{
    if (!m_window->linkOpen())
        return Mode::Off;
    if (m_exchange.active() || m_driving)
        return Mode::Repl;
    if (m_window->linkBusy())
        return Mode::Busy;
    switch (m_window->state()) {
    case MorvexWindow::MC_UNKNOWN:
    case MorvexWindow::MC_RUNNING:
        return Mode::Terminal;
    default:
        // Until the board is announced, and while a transfer runs, the board is not ours.
        return m_window->boardActionsOn() ? Mode::Repl : Mode::Busy;
    }
}

void ReplConsole::refreshAvailability()
{
    const Mode now = mode();
    m_input->setEnabled(now != Mode::Off && now != Mode::Busy);
    const bool running = statementRunning();
    m_input->setPromptsShown(now == Mode::Repl && !running);
    QString hint;
    switch (now) {
    case Mode::Off:
        hint = tr("Connect to a board to use its REPL");
        break;
    case Mode::Busy:
        hint = tr("The board is busy");
        break;
    case Mode::Terminal:
        hint = tr("Lines go to the board as they are typed");
        break;
    case Mode::Repl:
        hint = running ? tr("Input for the running program; Ctrl+C stops it")
                       : tr("Python for the board: Enter runs it, Shift+Enter adds a line, Tab completes");
        break;
    }
    if (m_input->placeholderText() != hint)
        m_input->setPlaceholderText(hint);
}

void ReplConsole::linkStateChanged()
{
    // A link that closes under a statement ends it.
    if (m_exchange.active() && !m_window->linkOpen())
        abandonExchange();
    refreshAvailability();
}

bool ReplConsole::statementRunning() const
{
    return m_exchange.active() && m_exchange.kind() != ReplExchange::Completion;
}

bool ReplConsole::boardOutput(const QByteArray &data)
{
    if (data.isEmpty())
        return false;
    if (m_exchange.active()) {
        const QByteArray shown = m_exchange.feed(data);
        m_quietSinceInterrupt = m_quietSinceInterrupt && shown.isEmpty();
        showBoardText(shown, true);
        if (m_exchange.finished())
            endExchange();
        return true;
    }
    const MorvexWindow::MC_STATE state = m_window->state();
    if (state == MorvexWindow::MC_UNKNOWN || state == MorvexWindow::MC_RUNNING)
        showBoardText(data);
    return false;
}

bool ReplConsole::interruptStatement()
{
    if (!statementRunning())
        return false;
    m_quietSinceInterrupt = true;
    m_interruptRetries = interruptRetries;
    send(QByteArrayLiteral("\x03"));
    m_interruptRetry.start();
    return true;
}

void ReplConsole::yieldLink()
{
    if (!m_exchange.active())
        return;
    // A completion ends by itself: its Ctrl-C is on the way already.
    interruptStatement();
    QEventLoop loop;
    QTimer limit;
    limit.setSingleShot(true);
    connect(&limit, &QTimer::timeout, &loop, &QEventLoop::quit);
    connect(this, &ReplConsole::exchangeEnded, &loop, &QEventLoop::quit);
    limit.start(yieldLimitMs);
    if (m_exchange.active())
        loop.exec();
    if (m_exchange.active())
        abandonExchange();
}

void ReplConsole::enterPressed()
{
    const QString text = m_input->toPlainText();
    const Mode now = mode();
    if (now == Mode::Terminal || statementRunning()) {
        // A terminal, or a program reading its input: lines go as typed.
        m_input->clear();
        if (now == Mode::Terminal)
            remember(text);
        send(typedLine(text));
        return;
    }
    if (now != Mode::Repl || m_exchange.active())
        return;
    if (!m_input->holdsPastedBlock() && ReplSource::needsMoreInput(text)) {
        m_input->textCursor().insertText(QStringLiteral("\n"));
        return;
    }
    m_input->clear();
    if (text.trimmed().isEmpty()) {
        showInput(QString());
        return;
    }
    remember(text);
    runStatement(text);
}

void ReplConsole::runStatement(const QString &text)
{
    if (!prepareBoard()) {
        if (m_input->toPlainText().isEmpty())
            m_input->setInput(text);
        return;
    }
    showInput(text);
    const QByteArray line = ReplSource::friendlyLine(text);
    if (!line.isEmpty())
        startExchange(ReplExchange::statement(line + "\r\n"), line + '\r');
    else
        startExchange(ReplExchange::statement(ReplSource::pasteEcho(text)), ReplSource::pasteBlock(text));
}

void ReplConsole::requestCompletion()
{
    if (mode() != Mode::Repl || m_exchange.active()) {
        m_input->textCursor().insertText(QStringLiteral("    "));
        return;
    }
    const QTextCursor cursor = m_input->textCursor();
    const QByteArray stem = ReplSource::completionStem(cursor.block().text().left(cursor.positionInBlock()));
    if (stem.isEmpty())
        return;
    m_completionInput = m_input->toPlainText();
    m_completionCursor = cursor.position();
    if (!prepareBoard())
        return;
    // Ctrl-C right behind the Tab clears the board's line whatever Tab did to it.
    startExchange(ReplExchange::completion(stem), stem + "\t\x03");
    m_completionLimit.start();
}

void ReplConsole::softReboot()
{
    if (mode() == Mode::Terminal) {
        send(QByteArrayLiteral("\x04"));
        return;
    }
    if (mode() != Mode::Repl || m_exchange.active() || !prepareBoard())
        return;
    startLine();
    startExchange(ReplExchange::reboot(), QByteArrayLiteral("\x04"));
}

void ReplConsole::interruptPressed()
{
    if (mode() == Mode::Terminal) {
        send(QByteArrayLiteral("\x03"));
        return;
    }
    if (!interruptStatement())
        m_input->clear();
}

void ReplConsole::walkHistory(int step)
{
    const int next = m_historyIndex + step;
    if (next < 0 || next > m_history.size())
        return;
    if (m_historyIndex == m_history.size())
        m_draft = m_input->toPlainText();
    m_historyIndex = next;
    m_input->setInput(next == m_history.size() ? m_draft : m_history.at(next));
}

void ReplConsole::remember(const QString &text)
{
    m_historyIndex = m_history.size();
    m_draft.clear();
    if (text.trimmed().isEmpty() || (!m_history.isEmpty() && m_history.last() == text))
        return;
    m_history.append(text);
    while (m_history.size() > historyLimit)
        m_history.removeFirst();
    m_historyIndex = m_history.size();
    QSettings().setValue(historyKey, m_history);
}

bool ReplConsole::prepareBoard()
{
    if (m_window->state() == MorvexWindow::MC_REPL)
        return true;
    // Leaving the raw REPL shows the system log; the user stays with the console.
    QWidget *page = m_tabs ? m_tabs->currentWidget() : nullptr;
    m_driving = true;
    const bool ready = m_window->enterRepl();
    m_driving = false;
    if (m_tabs && page)
        m_tabs->setCurrentWidget(page);
    if (!ready)
        showNote(tr("The board does not answer at its prompt"));
    return ready;
}

void ReplConsole::startExchange(const ReplExchange &exchange, const QByteArray &bytes)
{
    // Whatever earlier operations left behind goes where it belongs first.
    m_window->processQueue();
    m_exchange = exchange;
    m_outputLine.clear();
    if (exchange.kind() != ReplExchange::Completion)
        m_window->consoleTakesLink(true);
    refreshAvailability();
    send(bytes);
}

void ReplConsole::endExchange()
{
    const ReplExchange ended = m_exchange;
    m_exchange = ReplExchange();
    m_completionLimit.stop();
    m_interruptRetry.stop();
    if (ended.kind() == ReplExchange::Completion) {
        // Typing went on meanwhile: the answer is for a text that is gone.
        if (m_input->toPlainText() == m_completionInput && m_input->textCursor().position() == m_completionCursor) {
            if (!ended.insertion().isEmpty())
                m_input->textCursor().insertText(QString::fromLatin1(ended.insertion()));
            else if (!ended.candidates().isEmpty())
                showCandidates(ended.candidates());
        }
    } else {
        if (!m_outputLine.isEmpty())
            emit outputLine(m_outputLine); // printed without a line end before the prompt
        m_outputLine.clear();
        m_window->consoleTakesLink(false);
        if (ended.kind() == ReplExchange::Reboot) {
            // As after a reset; not from here, where the board's bytes are being read.
            QTimer::singleShot(0, m_window, &MorvexWindow::queryInfo);
        }
    }
    refreshAvailability();
    emit exchangeEnded();
}

void ReplConsole::abandonExchange()
{
    if (!m_exchange.active())
        return;
    const bool completion = m_exchange.kind() == ReplExchange::Completion;
    m_exchange = ReplExchange();
    m_completionLimit.stop();
    m_interruptRetry.stop();
    if (!completion)
        m_window->consoleTakesLink(false);
    refreshAvailability();
    emit exchangeEnded();
}

void ReplConsole::send(const QByteArray &bytes)
{
    // Lines typed while a long text still goes out follow it, in order.
    if (m_sending) {
        m_outgoing += bytes;
        return;
    }
    m_sending = true;
    bool sent = m_window->transmit(bytes);
    while (sent && !m_outgoing.isEmpty()) {
        const QByteArray next = m_outgoing;
        m_outgoing.clear();
        sent = m_window->transmit(next);
    }
    m_outgoing.clear();
    m_sending = false;
    if (!sent)
        showNote(tr("The board could not be written to"));
}

void ReplConsole::startLine()
{
    QTextCursor cursor(m_view->document());
    cursor.movePosition(QTextCursor::End);
    if (!cursor.block().text().isEmpty())
        cursor.insertBlock();
}

void ReplConsole::showInput(const QString &text)
{
    startLine();
    QTextCursor cursor(m_view->document());
    cursor.movePosition(QTextCursor::End);
    QTextCharFormat prompt;
    prompt.setForeground(m_view->palette().color(QPalette::PlaceholderText));
    const QStringList lines = text.split(QLatin1Char('\n'));
    for (int i = 0; i < lines.size(); ++i) {
        if (i > 0)
            cursor.insertBlock();
        cursor.insertText(i == 0 ? QStringLiteral(">>> ") : QStringLiteral("... "), prompt);
        cursor.insertText(lines.at(i), QTextCharFormat());
    }
    cursor.insertBlock();
    scrollToEnd();
}

void ReplConsole::showBoardText(const QByteArray &bytes, bool lines)
{
    if (bytes.isEmpty())
        return;
    const bool following = m_view->verticalScrollBar()->value() == m_view->verticalScrollBar()->maximum();
    QTextCursor cursor(m_view->document());
    cursor.movePosition(QTextCursor::End);
    for (const AnsiText::Run &run : m_ansi.feed(bytes)) {
        switch (run.kind) {
        case AnsiText::Run::Text: {
            QTextCharFormat format;
            if (run.color != 0)
                format.setForeground(QColor(ansiColorName(run.color)));
            cursor.insertText(run.text, format);
            if (lines)
                m_outputLine += run.text;
            break;
        }
        case AnsiText::Run::LineEnd:
            cursor.insertBlock();
            if (lines)
                emit outputLine(m_outputLine);
            m_outputLine.clear();
            break;
        case AnsiText::Run::Backspace:
            if (!cursor.atBlockStart())
                cursor.deletePreviousChar();
            m_outputLine.chop(1);
            break;
        }
    }
    if (following)
        scrollToEnd();
}

void ReplConsole::showCandidates(const QList<QByteArray> &candidates)
{
    // In columns of 16, four to a line, as the board lists them.
    const int column = 16;
    QStringList lines;
    QString line;
    for (const QByteArray &candidate : candidates) {
        const QString word = QString::fromLatin1(candidate);
        if (!line.isEmpty()) {
            const int slot = (line.size() / column + 1) * column;
            if (slot + word.size() > 4 * column) {
                lines.append(line);
                line.clear();
            } else {
                line = line.leftJustified(slot);
            }
        }
        line += word;
    }
    lines.append(line);
    startLine();
    QTextCursor cursor(m_view->document());
    cursor.movePosition(QTextCursor::End);
    QTextCharFormat listed;
    listed.setForeground(m_view->palette().color(QPalette::PlaceholderText));
    cursor.insertText(lines.join(QLatin1Char('\n')), listed);
    cursor.insertBlock();
    scrollToEnd();
}

void ReplConsole::showNote(const QString &text)
{
    startLine();
    QTextCursor cursor(m_view->document());
    cursor.movePosition(QTextCursor::End);
    QTextCharFormat note;
    note.setForeground(QColor(ansiColorName(MorvexWindow::TC_Red)));
    cursor.insertText(text, note);
    cursor.insertBlock();
    scrollToEnd();
}

void ReplConsole::scrollToEnd()
{
    m_view->verticalScrollBar()->setValue(m_view->verticalScrollBar()->maximum());
}
