#pragma once

#include <QHash>
#include <QString>

class QIODevice;

// Reads the icon font's name table, one "name hexcode" a line; lines of any
// other shape are skipped and a repeated name keeps its last code.
QHash<QString, unsigned int> readCodepoints(QIODevice &device);
