#pragma once

#include <QByteArray>
#include <QList>

// The board's answer to one thing the console typed at the friendly prompt,
// read as it arrives in pieces of any size: the echo of what was typed is
// taken off, what the board printed is handed on for display, and the prompt
// that ends the answer is recognised ("... output>>> " at the end of the
// stream). A stream that departs from the expected echo is shown whole.
class ReplExchange
{
public:
    enum Kind { None, Statement, Completion, Reboot };

    ReplExchange() = default;
    // A statement typed as echo says: its output streams until the prompt.
    static ReplExchange statement(const QByteArray &echo);
    // stem, then Tab, then Ctrl-C to clear the board's line again.
    static ReplExchange completion(const QByteArray &stem);
    // Ctrl-D at the empty prompt: the reboot's output until the prompt.
    static ReplExchange reboot();

    Kind kind() const { return m_kind; }
    bool active() const { return m_kind != None && !m_finished; }
    bool finished() const { return m_finished; }

    // Takes the next bytes of the stream; returns those to show now.
    QByteArray feed(const QByteArray &data);

    // Completion only, once finished: the text the board inserted in place,
    // or the candidates it listed.
    QByteArray insertion() const { return m_insertion; }
    QList<QByteArray> candidates() const { return m_candidates; }

private:
    QByteArray takeOutput();
    void finishCompletion();

    Kind m_kind = None;
    QByteArray m_echo;    // still expected before the output
    QByteArray m_stem;    // completion: what was typed
    QByteArray m_pending; // received, not yet shown or understood
    bool m_finished = false;
    QByteArray m_insertion;
    QList<QByteArray> m_candidates;
};
