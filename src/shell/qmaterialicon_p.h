#pragma once

#include <QByteArray>

// Looks a name up in the icon font's name table, one "name hexcode" a line;
// lines of any other shape are skipped and a repeated name takes its last
// code. False if no line names it.
bool lookupCodepoint(const QByteArray &table, const QByteArray &name, unsigned int *code);
