#include "VelkorResources.h"

#include <QtGlobal>

static void initVelkorQrc()
{
    Q_INIT_RESOURCE(velkor);
    Q_INIT_RESOURCE(translations);
    Q_INIT_RESOURCE(icons);
}

void VelkorResources::init()
{
    static bool done = false;
    if (!done) {
        initVelkorQrc();
        done = true;
    }
}
