#include "appresources.h"

#include <QtGlobal>

static void initAll()
{
    Q_INIT_RESOURCE(morvex);
    Q_INIT_RESOURCE(editor);
    Q_INIT_RESOURCE(qtmf);
    Q_INIT_RESOURCE(lang);
}

void initResources()
{
    static const bool done = (initAll(), true);
    Q_UNUSED(done)
}
