#pragma once

#include <QByteArray>
#include <QString>

// What the console types at the board's friendly prompt, and how. Pure
// functions over the text in the input box (lines separated by "\n").
namespace ReplSource {

// Whether the board's REPL would ask for another line after text: an open
// bracket or string, a trailing backslash, or a compound statement whose
// block has not been closed by an empty line.
bool needsMoreInput(const QString &text);

// The bytes to type at the friendly prompt for text, without the Enter; empty
// when text must go through paste mode instead. The friendly line editor
// keeps printable ASCII only, so non-ASCII characters of plain string
// literals are written as escapes (the same string on the board); any other
// non-ASCII, a control character, more than one line or an unfinished
// statement needs paste mode. Only this path shows an expression's value.
QByteArray friendlyLine(const QString &text);

// Paste mode keeps every byte and adds no indent: Ctrl-E, the text with "\r"
// line ends (control characters dropped, trailing empty lines too), Ctrl-D.
QByteArray pasteBlock(const QString &text);

// What the board echoes for pasteBlock(text), up to and including the line
// end that Ctrl-D prints before the program's output.
QByteArray pasteEcho(const QString &text);

// The part of the line before the cursor that the board can complete: the
// line without its indent when it is printable ASCII, else the dotted name at
// its end. Empty when there is nothing to complete (Tab then indents).
QByteArray completionStem(const QString &lineBeforeCursor);

} // namespace ReplSource
