// The facade's actions on the device.

#include "hwsdinterface.h"
#include "hwsdlink.h"
#include "hwsdplatform.h"
#include "networkmanagerinterface.h"

#include <QtDBus/QDBusPendingReply>

bool HWSDPlatform::resetConfiguration()
{
    const HwsdLink *service = link();
    if (!service)
        return false;
    QDBusPendingReply<int> reply = service->networkManager->resetConfiguration();
    reply.waitForFinished();
    return !reply.isError();
}

bool HWSDPlatform::restartSystem()
{
    HwsdLink *service = link();
    ComZeltHWSDInterface *root = service ? service->rootMadeIfMissing() : nullptr;
    if (!root)
        return false;
    root->restartSystem();
    return true;
}
