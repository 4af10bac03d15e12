#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QTextDecoder>

#include <memory>

// Board output as a terminal shows it, read in pieces of any size: UTF-8 text
// in runs of one colour, line ends and backspaces. Colour sequences take the
// Terminal's colours (the last two numbers count; 0 resets, any other number
// without a colour of its own is black); other escape sequences and control
// bytes are dropped.
class AnsiText
{
public:
    struct Run {
        enum Kind { Text, LineEnd, Backspace };
        Kind kind = Text;
        QString text;
        int color = 0; // the ANSI number, 0 for the view's own colour
    };

    AnsiText();
    QList<Run> feed(const QByteArray &data);
    int color() const { return m_color; }

private:
    void applyColorSequence(const QString &parameters);

    std::unique_ptr<QTextDecoder> m_decoder;
    QString m_escape; // an escape sequence not yet complete
    int m_color = 0;
};
