#include "resourceinit.h"

#include <QtGlobal>

// Outside any namespace, as the resource macro requires.
static void registerResources()
{
    Q_INIT_RESOURCE(resources);
}

void initResources()
{
    static const bool ready = (registerResources(), true);
    Q_UNUSED(ready);
}
