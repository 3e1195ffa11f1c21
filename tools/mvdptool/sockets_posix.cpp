#include "sockets.h"

#include <arpa/inet.h>
#ifdef __linux__
#include <linux/sock_diag.h>
#endif
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>

namespace
{

bool setReceiveBuffer(std::intptr_t socket, int option, int bytes)
{
    return setsockopt(static_cast<int>(socket), SOL_SOCKET, option, &bytes, sizeof bytes) == 0;
}

} // namespace

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

int growReceiveBuffer(std::intptr_t socket, int bytes)
{
    bool isForced = false;
#ifdef SO_RCVBUFFORCE
    isForced = setReceiveBuffer(socket, SO_RCVBUFFORCE, bytes);
#endif
    if (!isForced)
        setReceiveBuffer(socket, SO_RCVBUF, bytes); // Linux grants its limit when the wish is above it
    int granted = 0;
    socklen_t size = sizeof granted;
    const int result = getsockopt(static_cast<int>(socket), SOL_SOCKET, SO_RCVBUF, &granted, &size);
    return result == 0 ? granted : 0;
}

std::uint32_t droppedDatagrams(std::intptr_t socket)
{
#ifdef SO_MEMINFO
    // The counter that SO_RXQ_OVFL would attach to each datagram; QUdpSocket does not pass that on.
    std::uint32_t values[SK_MEMINFO_VARS] = {};
    socklen_t size = sizeof values;
    if (getsockopt(static_cast<int>(socket), SOL_SOCKET, SO_MEMINFO, values, &size) == 0)
        return values[SK_MEMINFO_DROPS];
#else
    static_cast<void>(socket);
#endif
    return 0;
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
