#pragma once

#include <QString>

// The colour that the log views give an ANSI foreground number.
inline QString ansiColorName(int code)
{
    switch (code) {
    case 31:
        return QStringLiteral("red");
    case 32:
        return QStringLiteral("green");
    case 33:
        return QStringLiteral("yellow");
    case 34:
        return QStringLiteral("blue");
    case 35:
        return QStringLiteral("magenta");
    case 36:
        return QStringLiteral("cyan");
    case 37:
        return QStringLiteral("white");
    default:
        return QStringLiteral("black");
    }
}
