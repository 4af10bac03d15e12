// What the console types at the board's prompt: statement completeness and the two ways in.
#include "replsource.h"

#include <QRegularExpression>

namespace {

enum Quote { None, Single, Double, TripleSingle, TripleDouble };

bool isPrintableAscii(QChar c)
{
    return c.unicode() >= 0x20 && c.unicode() <= 0x7e;
}

bool isIdentifierChar(QChar c)
{
    return c.isLetterOrNumber() || c == QLatin1Char('_');
}

// The string prefix (r, b, u, f and their pairs) standing right before the quote at i.
QString stringPrefix(const QString &text, int i)
{
    int start = i;
    while (start > 0 && start > i - 2 && text.at(start - 1).isLetter())
        --start;
    if (start > 0 && isIdentifierChar(text.at(start - 1)))
        return QString();
    const QString prefix = text.mid(start, i - start).toLower();
    static const QStringList known = {QStringLiteral("r"), QStringLiteral("b"), QStringLiteral("u"),
                                      QStringLiteral("f"), QStringLiteral("rb"), QStringLiteral("br"),
                                      QStringLiteral("fr"), QStringLiteral("rf")};
    return known.contains(prefix) ? prefix : QString();
}

// The same character as a string escape, for a plain string literal.
QByteArray escaped(uint code)
{
    if (code < 0x100)
        return QByteArrayLiteral("\\x") + QByteArray::number(code, 16).rightJustified(2, '0');
    if (code < 0x10000)
        return QByteArrayLiteral("\\u") + QByteArray::number(code, 16).rightJustified(4, '0');
    return QByteArrayLiteral("\\U") + QByteArray::number(code, 16).rightJustified(8, '0');
}

QString withoutTrailingEmptyLines(const QString &text)
{
    QStringList lines = text.split(QLatin1Char('\n'));
    while (!lines.isEmpty() && lines.last().trimmed().isEmpty())
        lines.removeLast();
    return lines.join(QLatin1Char('\n'));
}

} // namespace

bool ReplSource::needsMoreInput(const QString &text)
{
    if (text.isEmpty())
        return false;
    static const QRegularExpression compoundStart(
        QStringLiteral("^(if|while|for|try|with|def|class|async)(?![A-Za-z0-9_])"));
    const bool compound = text.startsWith(QLatin1Char('@')) || compoundStart.match(text).hasMatch();
    int depth[3] = {0, 0, 0}; // () [] {}
    Quote q = None;
    const int n = text.size();
    for (int i = 0; i < n; ++i) {
        const QChar c = text.at(i);
        if (c == QLatin1Char('\'') || c == QLatin1Char('"')) {
            const bool single = c == QLatin1Char('\'');
            const Quote one = single ? Single : Double;
            const Quote three = single ? TripleSingle : TripleDouble;
            if ((q == None || q == three) && text.mid(i + 1, 2) == QString(2, c)) {
                i += 2;
                q = q == None ? three : None;
            } else if (q == None || q == one) {
                q = q == None ? one : None;
            }
        } else if (c == QLatin1Char('\\') && i + 1 < n
                   && QStringLiteral("'\"\\").contains(text.at(i + 1))) {
            if (q != None)
                ++i;
        } else if (q == None) {
            const int open = QStringLiteral("([{").indexOf(c);
            const int close = QStringLiteral(")]}").indexOf(c);
            if (open >= 0)
                ++depth[open];
            else if (close >= 0)
                --depth[close];
        }
    }
    if (q == TripleSingle || q == TripleDouble)
        return true;
    if (q == None && (depth[0] > 0 || depth[1] > 0 || depth[2] > 0))
        return true;
    if (text.endsWith(QLatin1Char('\\')))
        return true;
    return compound && !text.endsWith(QLatin1Char('\n'));
}

QByteArray ReplSource::friendlyLine(const QString &text)
{
    if (text.contains(QLatin1Char('\n')) || needsMoreInput(text))
        return QByteArray();
    QByteArray line;
    QChar quote;
    bool triple = false;
    bool escapable = false;
    const int n = text.size();
    for (int i = 0; i < n; ++i) {
        const QChar c = text.at(i);
        if (quote.isNull()) {
            if (c == QLatin1Char('#')) {
                // A comment must be typed as it stands.
                for (; i < n; ++i) {
                    if (!isPrintableAscii(text.at(i)))
                        return QByteArray();
                    line += char(text.at(i).unicode());
                }
                break;
            }
            if (!isPrintableAscii(c))
                return QByteArray();
            line += char(c.unicode());
            if (c == QLatin1Char('\'') || c == QLatin1Char('"')) {
                const QString prefix = stringPrefix(text, i);
                quote = c;
                triple = text.mid(i, 3) == QString(3, c);
                escapable = prefix.isEmpty() || prefix == QLatin1String("u");
                if (triple) {
                    line += QByteArray(2, char(c.unicode()));
                    i += 2;
                }
            }
            continue;
        }
        if (c == QLatin1Char('\\')) {
            if (i + 1 < n && !isPrintableAscii(text.at(i + 1)))
                return QByteArray();
            line += text.mid(i, 2).toLatin1();
            ++i;
            continue;
        }
        if (c == quote && (!triple || text.mid(i, 3) == QString(3, c))) {
            line += QByteArray(triple ? 3 : 1, char(c.unicode()));
            i += triple ? 2 : 0;
            quote = QChar();
            continue;
        }
        if (isPrintableAscii(c)) {
            line += char(c.unicode());
            continue;
        }
        if (!escapable)
            return QByteArray();
        uint code = c.unicode();
        if (c.isHighSurrogate() && i + 1 < n && text.at(i + 1).isLowSurrogate())
            code = QChar::surrogateToUcs4(c, text.at(++i));
        line += escaped(code);
    }
    return line;
}

QByteArray ReplSource::pasteBlock(const QString &text)
{
    QByteArray body = withoutTrailingEmptyLines(text).toUtf8();
    QByteArray kept;
    kept.reserve(body.size());
    for (const char c : qAsConst(body)) {
        if (c == '\n')
            kept += '\r';
        else if (quint8(c) >= 0x20 || c == '\t')
            kept += c == 0x7f ? QByteArray() : QByteArray(1, c);
    }
    return '\x05' + kept + '\x04';
}

QByteArray ReplSource::pasteEcho(const QString &text)
{
    QByteArray body = pasteBlock(text);
    body = body.mid(1, body.size() - 2);
    return QByteArrayLiteral("\r\npaste mode; Ctrl-C to cancel, Ctrl-D to finish\r\n=== ")
           + body.replace('\r', QByteArrayLiteral("\r\n=== ")) + QByteArrayLiteral("\r\n");
}

QByteArray ReplSource::completionStem(const QString &lineBeforeCursor)
{
    int start = 0;
    while (start < lineBeforeCursor.size() && lineBeforeCursor.at(start).isSpace())
        ++start;
    const QString line = lineBeforeCursor.mid(start);
    // Only a name or a dotted name being typed has anything to complete.
    if (line.isEmpty() || !(isIdentifierChar(line.back()) || line.back() == QLatin1Char('.')))
        return QByteArray();
    bool ascii = true;
    for (const QChar c : line)
        ascii = ascii && isPrintableAscii(c);
    if (ascii)
        return line.toLatin1();
    int from = line.size();
    while (from > 0 && (line.at(from - 1) == QLatin1Char('.')
                        || (line.at(from - 1).unicode() < 0x80 && isIdentifierChar(line.at(from - 1)))))
        --from;
    return line.mid(from).toLatin1();
}
