#include "interfacequeries.h"

#include "localaddresses.h"

#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>

namespace
{

// Any port serves: connecting a datagram socket sends nothing.
const quint16 ProbePort = 1234;

struct Route {
    bool found;
    quint32 sourceAddress; // host byte order
};

sockaddr_in socketAddress(quint32 address, quint16 port)
{
    sockaddr_in result;
    std::memset(&result, 0, sizeof result);
    result.sin_family = AF_INET;
    result.sin_addr.s_addr = address;
    result.sin_port = htons(port);
    return result;
}

// Lets the kernel choose a route to a peer (host byte order) and reads back the source address that it took.
Route routeTo(quint32 peer)
{
    Route route = {false, INADDR_LOOPBACK};
    const int probe = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const sockaddr_in destination = socketAddress(htonl(peer), ProbePort);
    sockaddr_in source = socketAddress(INADDR_ANY, 0);
    socklen_t length = sizeof source;
    if (::connect(probe, reinterpret_cast<const sockaddr *>(&destination), sizeof destination) == 0 &&
        ::getsockname(probe, reinterpret_cast<sockaddr *>(&source), &length) == 0) {
        route.found = true;
        route.sourceAddress = ntohl(source.sin_addr.s_addr);
    }
    if (probe >= 0)
        ::close(probe);
    return route;
}

bool subnetHolds(const LocalAddress &local, quint32 peer)
{
    const quint32 network = local.address & local.netmask;
    const quint32 broadcast = ~local.netmask | network;
    return network <= peer && peer <= broadcast;
}

bool isSourceOf(const LocalAddress &local, const Route &route)
{
    return route.found ? local.address == route.sourceAddress : local.address != INADDR_LOOPBACK;
}

// Both in host byte order; null when no interface fits.
const LocalAddress *chooseAddress(const std::vector<LocalAddress> &addresses, quint32 peer)
{
    for (const LocalAddress &local : addresses) {
        if (local.isUp && subnetHolds(local, peer))
            return &local;
    }
    const Route route = routeTo(peer);
    for (const LocalAddress &local : addresses) {
        if (local.isUp && isSourceOf(local, route))
            return &local;
    }
    return nullptr;
}

// For the server thread. Never destroyed: that thread may still run while exit() runs destructors.
const std::vector<LocalAddress> &localAddresses()
{
    static LocalAddresses *const addresses = new LocalAddresses;
    return addresses->current();
}

// Issues one interface request for "eth0".
bool ethRequest(unsigned long request, ifreq &data)
{
    const int socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (socket == -1)
        return false;
    std::strncpy(data.ifr_name, "eth0", IFNAMSIZ - 1);
    data.ifr_addr.sa_family = AF_INET;
    const bool done = ::ioctl(socket, request, &data) >= 0;
    ::close(socket);
    return done;
}

quint32 ethAddress(unsigned long request)
{
    ifreq data;
    std::memset(&data, 0, sizeof data);
    return ethRequest(request, data) ? hostOrderAddress(&data.ifr_addr) : 0;
}

quint32 ethSetAddress(unsigned long request, quint32 value)
{
    ifreq data;
    std::memset(&data, 0, sizeof data);
    const sockaddr_in address = socketAddress(htonl(value), 0);
    std::memcpy(&data.ifr_addr, &address, sizeof address);
    return ethRequest(request, data) ? 1 : 0;
}

} // namespace

quint32 findInterfaceForPeer(quint32 peer, char *name)
{
    if (const LocalAddress *chosen = chooseAddress(localAddresses(), ntohl(peer)))
        std::memcpy(name, chosen->interfaceName, sizeof chosen->interfaceName);
    return 1;
}

bool isOwnAddress(quint32 address)
{
    const quint32 wanted = ntohl(address);
    for (const LocalAddress &local : localAddresses()) {
        if (local.address == wanted)
            return true;
    }
    return false;
}

quint32 ethMacAddress(unsigned char *mac)
{
    ifreq data;
    std::memset(&data, 0, sizeof data);
    if (!ethRequest(SIOCGIFHWADDR, data))
        return 0;
    std::memcpy(mac, data.ifr_hwaddr.sa_data, 6);
    return 1;
}

quint32 ethIpAddress()
{
    return ethAddress(SIOCGIFADDR);
}

quint32 ethSetIpAddress(quint32 address)
{
    return ethSetAddress(SIOCSIFADDR, address);
}

quint32 ethNetmask()
{
    return ethAddress(SIOCGIFNETMASK);
}

quint32 ethSetNetmask(quint32 netmask)
{
    return ethSetAddress(SIOCSIFNETMASK, netmask);
}
