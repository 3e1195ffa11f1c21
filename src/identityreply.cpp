#include "identityreply.h"

#include "hwsdplatform.h"
#include "mvdpdatagram.h"

void buildIdentityReply(MvdpDatagram &datagram)
{
    HWSDPlatform *platform = HWSDPlatform::instance();
    MvdpIdentity identity;
    identity.partitionVersion = platform->partitionVersion();
    platform->refreshNetworkState();
    platform->systemInfo(identity.description);
    identity.ipAddress = platform->ipAddress();
    identity.netmask = platform->netmask();
    identity.gateway = platform->gateway();
    platform->macAddress(identity.macAddress);
    datagram.setIdentity(identity);
}
