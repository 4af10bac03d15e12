#pragma once

#include <QList>
#include <QLocale>
#include <QString>

class QApplication;
class QComboBox;
class QCommandLineParser;
class QSettings;
class QTranslator;

// Settles "UI/Language" at start-up from --reset, --lang and the store.
void settleLanguageSetting(QSettings &settings, const QCommandLineParser &parser);
QList<QTranslator *> installTranslators(QApplication &app, QSettings *settings, const QString &dir);
QList<QLocale> availableLocales();
void fillLanguageCombo(QSettings &settings, QComboBox *combo);
