#include "sockets.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>

bool waitForSocket(std::intptr_t socket, SocketEvent event, int milliseconds)
{
    const short events = event == SocketEvent::Readable ? POLLIN : POLLOUT;
    pollfd waiting = {static_cast<int>(socket), events, 0};
    return poll(&waiting, 1, milliseconds) > 0;
}

bool joinMulticastGroup(std::intptr_t socket, std::uint32_t group, unsigned interfaceIndex, std::uint32_t)
{
    ip_mreqn membership = {};
    membership.imr_multiaddr.s_addr = htonl(group);
    membership.imr_ifindex = static_cast<int>(interfaceIndex);
    return setsockopt(static_cast<int>(socket), IPPROTO_IP, IP_ADD_MEMBERSHIP, &membership,
                      sizeof membership) == 0;
}

QString socketErrorText(int error, const QString &otherwise)
{
    switch (error) {
    case 0:
        return otherwise;
    case ENETUNREACH:
    case EHOSTUNREACH:
        return QStringLiteral("there is no route to it");
    case EPERM:
        return QStringLiteral("a firewall of this computer forbids it");
    default:
        return QString::fromLocal8Bit(std::strerror(error));
    }
}
