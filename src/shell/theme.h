#pragma once

#include <QString>

class QCommandLineParser;

// The dark look is decided once, before any window exists.
void addThemeOption(QCommandLineParser &parser);
bool isDarkTheme();
bool applyTheme(QCommandLineParser *parser, const QString &key);
