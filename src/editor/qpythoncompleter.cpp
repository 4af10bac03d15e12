#include "qpythoncompleter.h"

#include "languageresource.h"

#include <QStringListModel>

QPythonCompleter::QPythonCompleter(QObject *parent)
    : QCompleter(parent)
{
    QStringList list;

    LanguageSections sections;
    if (!readLanguageResource(QStringLiteral(":/languages/python.xml"), &sections))
        return;

    for (const auto &section : qAsConst(sections))
        list.append(section.second);

    setModel(new QStringListModel(list, this));

    // The list keeps section order. It is declared case-insensitively sorted
    // all the same, so QCompleter's binary search may pass over some words.
    setCompletionColumn(0);
    setModelSorting(QCompleter::CaseInsensitivelySortedModel);
    setCaseSensitivity(Qt::CaseSensitive);
    setWrapAround(true);
}
