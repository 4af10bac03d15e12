#include "languageresource.h"

#include "appresources.h"
#include "qlanguage.h"

#include <QCompleter>
#include <QFile>
#include <QStringListModel>

bool readLanguageResource(const QString &path, LanguageSections *sections)
{
    initResources();

    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;

    QLanguage language(&file);
    if (!language.isLoaded())
        return false;

    const QStringList names = language.sectionNames();
    for (const QString &name : names)
        sections->append(qMakePair(name, language.wordsOf(name)));
    return true;
}

void fillWordCompleter(QCompleter *completer, const QString &resource)
{
    LanguageSections sections;
    if (!readLanguageResource(resource, &sections))
        return;

    QStringList list;
    for (const auto &section : qAsConst(sections))
        list.append(section.second);

    completer->setModel(new QStringListModel(list, completer));

    // The list keeps section order. It is declared case-insensitively sorted
    // all the same, so QCompleter's binary search may pass over some words.
    completer->setCompletionColumn(0);
    completer->setModelSorting(QCompleter::CaseInsensitivelySortedModel);
    completer->setCaseSensitivity(Qt::CaseSensitive);
    completer->setWrapAround(true);
}
