// Numbers and their names in a line of board text, for the plot.
#include "plotlineparser.h"

#include <QByteArray>

#include <charconv>
#include <cmath>

namespace {

bool isHardSeparator(QChar c)
{
    switch (c.unicode()) {
    case ',':
    case ';':
    case '(':
    case ')':
    case '[':
    case ']':
    case '{':
    case '}':
        return true;
    default:
        return false;
    }
}

// Spaces, and control characters such as the '\r' of a printed "\r\n".
bool isSoftSeparator(QChar c)
{
    return c.unicode() < 0x20 || c.unicode() == 0x7f || c.isSpace();
}

bool isSeparator(QChar c)
{
    return isSoftSeparator(c) || isHardSeparator(c);
}

bool isJoiner(QChar c)
{
    return c == QLatin1Char(':') || c == QLatin1Char('=');
}

bool isDigit(QChar c)
{
    return c >= QLatin1Char('0') && c <= QLatin1Char('9');
}

// Python prints a dict's keys quoted: {'a': 1}.
QStringView unquoted(QStringView field)
{
    if (field.size() >= 2 && field.front() == field.back()
        && (field.front() == QLatin1Char('\'') || field.front() == QLatin1Char('"')))
        return field.mid(1, field.size() - 2);
    return field;
}

// The name a field offers to a number after it, or empty.
QStringView wordOf(QStringView field)
{
    const QStringView word = unquoted(field);
    if (word.isEmpty() || word.size() > PlotLineParser::MaxNameLength)
        return QStringView();
    if (!word.front().isLetter() && word.front() != QLatin1Char('_'))
        return QStringView();
    for (const QChar c : word) {
        if (!c.isLetterOrNumber() && c != QLatin1Char('_') && c != QLatin1Char('.') && c != QLatin1Char('-'))
            return QStringView();
    }
    return word;
}

enum class Number { None, Finite, Skipped };

bool isNotANumberWord(QStringView text)
{
    return text.compare(QLatin1String("nan"), Qt::CaseInsensitive) == 0
           || text.compare(QLatin1String("inf"), Qt::CaseInsensitive) == 0
           || text.compare(QLatin1String("infinity"), Qt::CaseInsensitive) == 0;
}

// [+-] (digits [. digits] | . digits) [e [+-] digits], the whole field.
Number readNumber(QStringView field, double &value)
{
    const int size = int(field.size());
    int i = 0;
    const bool plus = size > 0 && field[0] == QLatin1Char('+');
    if (size > 0 && (plus || field[0] == QLatin1Char('-')))
        ++i;
    if (i < size && !isDigit(field[i]) && field[i] != QLatin1Char('.'))
        return isNotANumberWord(field.mid(i)) ? Number::Skipped : Number::None;
    int digits = 0;
    while (i < size && isDigit(field[i]))
        ++i, ++digits;
    if (i < size && field[i] == QLatin1Char('.')) {
        ++i;
        while (i < size && isDigit(field[i]))
            ++i, ++digits;
    }
    if (digits == 0)
        return Number::None;
    if (i < size && (field[i] == QLatin1Char('e') || field[i] == QLatin1Char('E'))) {
        ++i;
        if (i < size && (field[i] == QLatin1Char('+') || field[i] == QLatin1Char('-')))
            ++i;
        int exponentDigits = 0;
        while (i < size && isDigit(field[i]))
            ++i, ++exponentDigits;
        if (exponentDigits == 0)
            return Number::None;
    }
    if (i != size)
        return Number::None;

    // All ASCII now; from_chars reads it the same in every locale, but takes no '+'.
    const QStringView digitsOnly = plus ? field.mid(1) : field;
    char small[64];
    QByteArray large;
    char *text = small;
    const int length = int(digitsOnly.size());
    if (length > int(sizeof small)) {
        large.resize(length);
        text = large.data();
    }
    for (int k = 0; k < length; ++k)
        text[k] = char(digitsOnly[k].unicode());
    const auto result = std::from_chars(text, text + length, value);
    // Out of a double's range either way: as good as inf.
    if (result.ec != std::errc() || !std::isfinite(value))
        return Number::Skipped;
    return Number::Finite;
}

// ESC [ parameters intermediates final, or ESC and one more character.
QString withoutEscapes(QStringView line)
{
    QString out;
    out.reserve(int(line.size()));
    const int size = int(line.size());
    for (int i = 0; i < size; ++i) {
        if (line[i] != QChar(0x1b)) {
            out += line[i];
            continue;
        }
        if (i + 1 < size && line[i + 1] == QLatin1Char('[')) {
            i += 2;
            while (i < size && line[i].unicode() >= 0x20 && line[i].unicode() <= 0x3f)
                ++i;
            // i stands on the final byte, which the loop steps over.
        } else {
            ++i;
        }
    }
    return out;
}

} // namespace

bool PlotLineParser::parse(QStringView line, QVector<PlotValue> &values)
{
    values.clear();
    if (line.contains(QChar(0x1b))) {
        m_stripped = withoutEscapes(line);
        line = m_stripped;
    }
    const int size = int(line.size());
    QStringView pending; // a word waiting for its number
    int position = 0;
    const auto take = [&](QStringView name, Number kind, double value) {
        ++position;
        if (kind == Number::Finite)
            values.append(PlotValue{name, position, value});
        pending = QStringView();
    };

    int i = 0;
    while (i < size) {
        bool hard = false;
        while (i < size && isSeparator(line[i])) {
            hard = hard || isHardSeparator(line[i]);
            ++i;
        }
        // "temp, 5": a comma parts a word from the number.
        if (hard)
            pending = QStringView();
        if (i >= size)
            break;
        const int start = i;
        int joiner = -1;
        while (i < size && !isSeparator(line[i])) {
            if (joiner < 0 && isJoiner(line[i]))
                joiner = i - start;
            ++i;
        }
        const QStringView field = line.mid(start, i - start);
        double value = 0;

        if (joiner < 0) {
            const Number kind = readNumber(field, value);
            if (kind != Number::None)
                take(pending, kind, value);
            else
                pending = wordOf(field);
            continue;
        }
        const QStringView left = field.left(joiner);
        const QStringView right = field.mid(joiner + 1);
        // ":" or "=" on its own, or in front of the number: "x = 3", "x :3".
        QStringView name = pending;
        if (!left.isEmpty()) {
            name = wordOf(left);
            // "12:30:05", "a.b:c=1": not a name and a number.
            if (name.isEmpty()) {
                pending = QStringView();
                continue;
            }
        }
        if (right.isEmpty()) {
            pending = name;
            continue;
        }
        const Number kind = readNumber(right, value);
        if (kind != Number::None)
            take(name, kind, value);
        else
            pending = QStringView();
    }
    return !values.isEmpty();
}
