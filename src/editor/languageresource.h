#pragma once

#include <QPair>
#include <QString>
#include <QStringList>
#include <QVector>

using LanguageSections = QVector<QPair<QString, QStringList>>;

// Reads a word list resource through QLanguage: its sections in name order,
// each with its words. False, with nothing filled in, when the resource can't
// be opened or doesn't parse.
bool readLanguageResource(const QString &path, LanguageSections *sections);
