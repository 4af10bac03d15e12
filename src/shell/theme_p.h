#pragma once

#include <QByteArray>
#include <QProcessEnvironment>
#include <QString>

#include <functional>

// The desktop's dark preference on Linux, in the order GTK itself honours it:
// GTK_THEME, then GNOME's colour scheme, then the GTK settings files. The
// colour scheme is asked for only when GTK_THEME does not decide.
bool desktopPrefersDark(const QProcessEnvironment &env, const std::function<QString()> &colorScheme);

// GNOME's org.gnome.desktop.interface color-scheme as the user set it, read
// from the user's dconf database; empty where that holds no such setting.
QString gnomeColorScheme(const QProcessEnvironment &env);

// The string stored under key (such as "/org/gnome/desktop/interface/color-scheme")
// in a dconf database file; empty if it holds none or the data is not one.
QByteArray dconfStringValue(const QByteArray &db, const QByteArray &key);

// Forgets the one-time detection, so that tests can run it again.
void resetThemeDetection();
