#include "languageresource.h"

#include "appresources.h"
#include "qlanguage.h"

#include <QFile>

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
