#include "serverloop.h"

#include "commandhandlers.h"
#include "hwsdplatform.h"
#include "interfacequeries.h"
#include "mvdpdatagram.h"
#include "serversocket.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QtGlobal>

#include <arpa/inet.h>

namespace
{

// Whether our own socket sent this: no other program of this device can hold the port. The kernel gives a
// member of the group its own datagrams too. An echo that was asked for from our port by another subnet is
// such a datagram, and a request again; answering it would go on without end.
bool isOurOwn(const sockaddr_in &sender)
{
    return ntohs(sender.sin_port) == MvdpDatagram::Port && isOwnAddress(sender.sin_addr.s_addr);
}

// Points the platform facade at the local interface that reaches the sender. Asks the kernel alone.
void selectInterfaceFor(const sockaddr_in &sender)
{
    char name[256] = {};
    findInterfaceForPeer(sender.sin_addr.s_addr, name);
    HWSDPlatform::instance()->setInterface(name);
}

// A netmask of 0, of an interface without address, makes every sender local.
bool isOnLocalSubnet(const sockaddr_in &sender)
{
    const HWSDPlatform *platform = HWSDPlatform::instance();
    return ((platform->ipAddress() ^ ntohl(sender.sin_addr.s_addr)) & platform->netmask()) == 0;
}

// To the sender on the local subnet; else by broadcast, and to the multicast group when the kernel refuses
// that. Always to the sender's port.
void sendReply(const ServerSocket &socket, const MvdpDatagram &datagram, const sockaddr_in &sender)
{
    sockaddr_in destination = sender;
    if (isOnLocalSubnet(sender)) {
        socket.send(datagram, destination);
        return;
    }
    destination.sin_addr.s_addr = htonl(INADDR_BROADCAST);
    if (socket.send(datagram, destination))
        return;
    destination.sin_addr.s_addr = htonl(MvdpDatagram::MulticastGroup);
    socket.send(datagram, destination);
}

// In Qt 4 the connection to the bus lives on this thread, which has no event loop; answers that nobody waits
// for are taken off here. Since Qt 5 the connection has a thread of its own.
void takeUnawaitedAnswers()
{
#if QT_VERSION < 0x050000
    QCoreApplication::processEvents();
#endif
}

} // namespace

void runServerLoop()
{
    ServerSocket socket;
    // One buffer for all datagrams: what a short one does not overwrite stays from the one before.
    MvdpDatagram datagram;
    sockaddr_in sender;
    for (;;) {
        takeUnawaitedAnswers();
        if (!socket.receive(datagram, sender) || isOurOwn(sender))
            continue;
        selectInterfaceFor(sender);
        // Before the header is looked at, every datagram costs a call to the platform service.
        HWSDPlatform::instance()->refreshNetworkState();
        if (datagram.isRequest() && handleCommand(datagram))
            sendReply(socket, datagram, sender);
    }
}
