// Board output as a terminal shows it: colour runs, line ends, backspaces.
#include "ansitext.h"

#include <QTextCodec>

namespace {
constexpr int longestEscape = 32; // longer ones are not sequences a board sends

bool isFinalByte(QChar c)
{
    return c.unicode() >= 0x40 && c.unicode() <= 0x7e;
}

bool isIntermediateByte(QChar c)
{
    return c.unicode() >= 0x20 && c.unicode() <= 0x2f;
}

bool isInnerByte(QChar c)
{
    return c.unicode() >= 0x20 && c.unicode() <= 0x3f;
}
} // namespace

AnsiText::AnsiText()
    : m_decoder(QTextCodec::codecForName("UTF-8")->makeDecoder())
{
}

QList<AnsiText::Run> AnsiText::feed(const QByteArray &data)
{
    QList<Run> runs;
    auto addText = [&](QChar c) {
        if (runs.isEmpty() || runs.last().kind != Run::Text || runs.last().color != m_color)
            runs.append({Run::Text, QString(), m_color});
        runs.last().text += c;
    };
    const QString text = m_decoder->toUnicode(data);
    for (const QChar c : text) {
        if (!m_escape.isEmpty()) {
            const ushort code = c.unicode();
            if (m_escape.size() == 1) {
                // "[" opens a control sequence, an intermediate byte a longer escape;
                // anything else ends a two-byte one.
                if (c == QLatin1Char('[') || isIntermediateByte(c))
                    m_escape += c;
                else
                    m_escape.clear();
                continue;
            }
            const bool sequence = m_escape.at(1) == QLatin1Char('[');
            const bool inner = sequence ? isInnerByte(c) : isIntermediateByte(c);
            if (inner && m_escape.size() < longestEscape) {
                m_escape += c;
                continue;
            }
            const bool ended = sequence ? isFinalByte(c) : code >= 0x30 && code <= 0x7e;
            if (sequence && c == QLatin1Char('m'))
                applyColorSequence(m_escape.mid(2));
            m_escape.clear();
            if (ended)
                continue;
        }
        const ushort code = c.unicode();
        if (code == 0x1b)
            m_escape = c;
        else if (code == '\n')
            runs.append({Run::LineEnd, QString(), m_color});
        else if (code == '\b')
            runs.append({Run::Backspace, QString(), m_color});
        else if (code == '\t' || (code >= 0x20 && code != 0x7f))
            addText(c);
    }
    return runs;
}

void AnsiText::applyColorSequence(const QString &parameters)
{
    const QStringList numbers = parameters.split(QLatin1Char(';'));
    for (const QString &number : numbers) {
        bool digits = !number.isEmpty();
        for (const QChar c : number)
            digits = digits && c.isDigit();
        if (!digits)
            return; // the Terminal takes such a sequence for text; here it just goes
    }
    // As in the Terminal, only the last two numbers are seen.
    for (int i = qMax(0, numbers.size() - 2); i < numbers.size(); ++i)
        m_color = numbers.at(i).toInt();
}
