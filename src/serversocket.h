#ifndef SERVERSOCKET_H
#define SERVERSOCKET_H

#include "groupmembership.h"

#include <netinet/in.h>

class MvdpDatagram;

// The UDP socket of the service: port 58553 on all local addresses, member of the protocol's multicast group.
// Server thread only.
class ServerSocket
{
public:
    // What cannot be set up is warned of. While the kernel has no socket to give, as when it is short of
    // memory or descriptors, the constructor asks again each second. A socket without its port receives no
    // requests, ever; one outside the group none that are sent to the group, until it could be joined.
    ServerSocket();
    ~ServerSocket();

    // Waits for a datagram and puts up to 256 bytes of it at the start of the buffer; the rest of the buffer
    // stays as it was. False when the datagram was empty or the receive failed, then after a pause of 10 ms.
    // Meanwhile joins the group, if that could not be done before.
    bool receive(MvdpDatagram &datagram, sockaddr_in &sender);

    // Sends the whole 256 bytes; true when the kernel took them.
    bool send(const MvdpDatagram &datagram, const sockaddr_in &destination) const;

private:
    ServerSocket(const ServerSocket &);
    ServerSocket &operator=(const ServerSocket &);

    const int m_descriptor;
    GroupMembership m_membership;
};

#endif // SERVERSOCKET_H
