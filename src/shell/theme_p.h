#pragma once

#include <QProcessEnvironment>
#include <QString>

#include <functional>

// The desktop's dark preference on Linux, in the order GTK itself honours it:
// GTK_THEME, then GNOME's colour scheme, then the GTK settings files. The
// colour scheme is asked for only when GTK_THEME does not decide.
bool desktopPrefersDark(const QProcessEnvironment &env, const std::function<QString()> &colorScheme);

// GNOME's org.gnome.desktop.interface color-scheme without quotes, or empty
// when gsettings is not on the environment's PATH or does not answer quickly.
QString gnomeColorScheme(const QProcessEnvironment &env);

// Forgets the one-time detection, so that tests can run it again.
void resetThemeDetection();
