#include "qglslcompleter.h"

#include "languageresource.h"

QGLSLCompleter::QGLSLCompleter(QObject *parent)
    : QCompleter(parent)
{
    fillWordCompleter(this, QStringLiteral(":/languages/glsl.xml"));
}
