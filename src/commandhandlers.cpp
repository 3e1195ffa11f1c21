#include "commandhandlers.h"

#include "hwsdplatform.h"
#include "identityreply.h"
#include "mvdpdatagram.h"
#include "winkwidget/winkrequest.h"

#include <QtCore/QDebug>
#include <QtCore/QFile>

#include <unistd.h>

namespace
{

// Empty files whose existence is the message to what starts next. The first lies in the working directory;
// the carriage return is part of its name.
const char RelativeMarker[] = "mntdatahmi\restorecdsdefault.bin";
const char AbsoluteMarker[] = "/mnt/data/hmi/restorecdsdefault.bin";

bool isForThisPanel(const MvdpDatagram &datagram)
{
    unsigned char own[MvdpDatagram::MacAddressSize];
    HWSDPlatform::instance()->macAddress(own);
    return datagram.hasMacAddress(own);
}

// Creates the file when it is not there and leaves it as it is when it is; false when it cannot be opened.
bool leaveMarker(const char *name)
{
    QFile marker(QString::fromLatin1(name));
    if (!marker.open(QIODevice::ReadWrite))
        return false;
    marker.flush();
    marker.close();
    ::sync();
    return true;
}

bool discover(MvdpDatagram &datagram)
{
    datagram.setPacketType(MvdpPacketType::Reply);
    buildIdentityReply(datagram);
    return true;
}

// The request is its own reply, packet type included.
bool echo(MvdpDatagram &)
{
    return true;
}

bool identify(MvdpDatagram &datagram)
{
    datagram.setPacketType(MvdpPacketType::Reply);
    if (!isForThisPanel(datagram))
        return false;
    buildIdentityReply(datagram);
    return true;
}

bool setAddress(MvdpDatagram &datagram)
{
    datagram.setPacketType(MvdpPacketType::Reply);
    if (!isForThisPanel(datagram))
        return false;
    HWSDPlatform *platform = HWSDPlatform::instance();
    platform->setIpAddress(datagram.ipAddress());
    platform->setNetmask(datagram.netmask());
    platform->setGateway(datagram.gateway());
    if (!platform->applyConfiguration())
        datagram.setPacketType(MvdpPacketType::ReplyNotApplied);
    buildIdentityReply(datagram);
    return true;
}

bool restoreDefaultsRelative(MvdpDatagram &datagram)
{
    datagram.setPacketType(MvdpPacketType::Reply);
    if (!isForThisPanel(datagram))
        return false;
    leaveMarker(RelativeMarker);
    HWSDPlatform::instance()->resetConfiguration();
    HWSDPlatform::instance()->restartSystem();
    buildIdentityReply(datagram);
    return true;
}

bool wink(MvdpDatagram &datagram)
{
    datagram.setPacketType(MvdpPacketType::Reply);
    if (!isForThisPanel(datagram))
        return false;
    requestWink();
    buildIdentityReply(datagram);
    return true;
}

bool resetNetwork(MvdpDatagram &datagram)
{
    datagram.setPacketType(MvdpPacketType::Reply);
    if (!isForThisPanel(datagram))
        return false;
    HWSDPlatform::instance()->resetConfiguration();
    ::sync();
    HWSDPlatform::instance()->restartSystem();
    return true;
}

bool restoreDefaults(MvdpDatagram &datagram)
{
    datagram.setPacketType(MvdpPacketType::Reply);
    if (!isForThisPanel(datagram))
        return false;
    if (!leaveMarker(AbsoluteMarker))
        qWarning() << "creation of file failed";
    HWSDPlatform::instance()->resetConfiguration();
    HWSDPlatform::instance()->restartSystem();
    return true;
}

bool restart(MvdpDatagram &datagram)
{
    datagram.setPacketType(MvdpPacketType::Reply);
    if (!isForThisPanel(datagram))
        return false;
    HWSDPlatform::instance()->restartSystem();
    buildIdentityReply(datagram);
    return true;
}

struct CommandEntry {
    MvdpCommand command;
    bool (*handler)(MvdpDatagram &datagram);
};

const CommandEntry Commands[] = {
    {MvdpCommand::Discover, discover},
    {MvdpCommand::Echo, echo},
    {MvdpCommand::Identify, identify},
    {MvdpCommand::SetAddress, setAddress},
    {MvdpCommand::RestoreDefaultsRelative, restoreDefaultsRelative},
    {MvdpCommand::Wink, wink},
    {MvdpCommand::ResetNetwork, resetNetwork},
    {MvdpCommand::RestoreDefaults, restoreDefaults},
    {MvdpCommand::Restart, restart},
};

} // namespace

bool handleCommand(MvdpDatagram &datagram)
{
    for (const CommandEntry &entry : Commands) {
        if (datagram.command() == static_cast<std::uint8_t>(entry.command))
            return entry.handler(datagram);
    }
    return false;
}
