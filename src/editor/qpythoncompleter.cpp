#include "qpythoncompleter.h"

#include "languageresource.h"

QPythonCompleter::QPythonCompleter(QObject *parent)
    : QCompleter(parent)
{
    fillWordCompleter(this, QStringLiteral(":/languages/python.xml"));
}
