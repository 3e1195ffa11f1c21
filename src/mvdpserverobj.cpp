#include "mvdpserverobj.h"

#include "serverloop.h"

void MVDPServerObj::run()
{
    runServerLoop();
}
