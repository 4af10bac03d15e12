// Reading the board's answer to what the console typed: echo, output, the closing prompt.
#include "replexchange.h"

namespace {
const QByteArray prompt = QByteArrayLiteral(">>> ");
const QByteArray lineEndPrompt = QByteArrayLiteral("\r\n>>> ");

// Length of the longest end of data that may be the start of the prompt.
int promptStartAtEnd(const QByteArray &data)
{
    for (int n = qMin(prompt.size() - 1, data.size()); n > 0; --n) {
        if (data.endsWith(prompt.left(n)))
            return n;
    }
    return 0;
}
} // namespace

ReplExchange ReplExchange::statement(const QByteArray &echo)
{
    ReplExchange exchange;
    exchange.m_kind = Statement;
    exchange.m_echo = echo;
    return exchange;
}

ReplExchange ReplExchange::completion(const QByteArray &stem)
{
    ReplExchange exchange;
    exchange.m_kind = Completion;
    exchange.m_echo = stem;
    exchange.m_stem = stem;
    return exchange;
}

ReplExchange ReplExchange::reboot()
{
    ReplExchange exchange;
    exchange.m_kind = Reboot;
    return exchange;
}

QByteArray ReplExchange::feed(const QByteArray &data)
{
    if (!active())
        return QByteArray();
    m_pending += data;
    // A Ctrl-C that reached the board's prompt rather than a program leaves a
    // prompt of its own ahead of the echo.
    while (!m_echo.isEmpty() && !m_echo.startsWith(lineEndPrompt.left(m_pending.size()))) {
        if (m_pending.startsWith(lineEndPrompt))
            m_pending.remove(0, lineEndPrompt.size());
        else if (lineEndPrompt.startsWith(m_pending))
            return QByteArray();
        else
            break;
    }
    if (!m_echo.isEmpty()) {
        const int n = qMin(m_echo.size(), m_pending.size());
        if (m_pending.left(n) != m_echo.left(n)) {
            m_echo.clear(); // not the echo we typed: show all of it
        } else if (n < m_echo.size()) {
            return QByteArray();
        } else {
            m_pending.remove(0, n);
            m_echo.clear();
        }
    }
    if (m_kind == Completion) {
        // Either "rest>>> " or a listing, the prompt with the stem again, and the
        // prompt of Ctrl-C; nothing of it is output.
        const bool listed = m_pending.startsWith("\r\n") && m_pending != lineEndPrompt;
        if (m_pending.endsWith(lineEndPrompt)
            && (!listed || m_pending.endsWith(prompt + m_stem + lineEndPrompt)))
            finishCompletion();
        return QByteArray();
    }
    return takeOutput();
}

QByteArray ReplExchange::takeOutput()
{
    if (m_pending.endsWith(prompt)) {
        m_finished = true;
        m_pending.chop(prompt.size());
        QByteArray out;
        out.swap(m_pending);
        return out;
    }
    // Hold back what may grow into the prompt.
    const int held = promptStartAtEnd(m_pending);
    QByteArray out = m_pending.left(m_pending.size() - held);
    m_pending.remove(0, out.size());
    return out;
}

void ReplExchange::finishCompletion()
{
    m_finished = true;
    QByteArray answer = m_pending.left(m_pending.size() - lineEndPrompt.size());
    m_pending.clear();
    if (!answer.startsWith("\r\n")) {
        for (const char c : qAsConst(answer)) {
            if (quint8(c) < 0x20 || quint8(c) > 0x7e)
                return; // not an insertion of a name
        }
        m_insertion = answer;
        return;
    }
    answer.chop(prompt.size() + m_stem.size());
    for (const QByteArray &word : answer.simplified().split(' ')) {
        if (!word.isEmpty())
            m_candidates.append(word);
    }
}
