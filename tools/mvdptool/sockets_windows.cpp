#include "sockets.h"

#include <winsock2.h>
#include <ws2tcpip.h>

bool waitForSocket(std::intptr_t socket, SocketEvent event, int milliseconds)
{
    WSAPOLLFD waiting = {};
    waiting.fd = static_cast<SOCKET>(socket);
    waiting.events = event == SocketEvent::Readable ? POLLRDNORM : POLLWRNORM;
    return WSAPoll(&waiting, 1, milliseconds) > 0;
}

bool joinMulticastGroup(std::intptr_t socket, std::uint32_t group, unsigned, std::uint32_t interfaceAddress)
{
    ip_mreq membership = {};
    membership.imr_multiaddr.s_addr = htonl(group);
    membership.imr_interface.s_addr = htonl(interfaceAddress);
    return setsockopt(static_cast<SOCKET>(socket), IPPROTO_IP, IP_ADD_MEMBERSHIP,
                      reinterpret_cast<const char *>(&membership), sizeof membership) == 0;
}

int growReceiveBuffer(std::intptr_t socket, int bytes)
{
    const auto own = static_cast<SOCKET>(socket);
    setsockopt(own, SOL_SOCKET, SO_RCVBUF, reinterpret_cast<const char *>(&bytes), sizeof bytes);
    int granted = 0;
    int size = sizeof granted;
    const int result = getsockopt(own, SOL_SOCKET, SO_RCVBUF, reinterpret_cast<char *>(&granted), &size);
    return result == 0 ? granted : 0;
}

std::uint32_t droppedDatagrams(std::intptr_t)
{
    return 0;
}

QString socketErrorText(int, const QString &otherwise)
{
    return otherwise;
}
