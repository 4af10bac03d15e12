#include "qluacompleter.h"

#include "languageresource.h"

QLuaCompleter::QLuaCompleter(QObject *parent)
    : QCompleter(parent)
{
    fillWordCompleter(this, QStringLiteral(":/languages/lua.xml"));
}
