#pragma once

#include <QPair>
#include <QString>
#include <QStringList>
#include <QVector>

class QCompleter;

using LanguageSections = QVector<QPair<QString, QStringList>>;

// Reads a word list resource through QLanguage: its sections in name order,
// each with its words. False, with nothing filled in, when the resource can't
// be opened or doesn't parse.
bool readLanguageResource(const QString &path, LanguageSections *sections);

// Gives a completer the words of a word list resource, all sections in name
// order, in a model of its own; no model when the resource can't be read.
void fillWordCompleter(QCompleter *completer, const QString &resource);
