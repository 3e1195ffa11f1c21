#include "interfacequeries.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
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

// Lets the kernel choose a route and reads back the source address that it took.
Route routeTo(quint32 peer)
{
    Route route = {false, INADDR_LOOPBACK};
    const int probe = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const sockaddr_in destination = socketAddress(peer, ProbePort);
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

quint32 hostOrderAddress(const sockaddr *address)
{
    sockaddr_in ipv4;
    std::memcpy(&ipv4, address, sizeof ipv4);
    return ntohl(ipv4.sin_addr.s_addr);
}

bool hasIpv4(const ifaddrs &entry)
{
    return entry.ifa_addr && entry.ifa_addr->sa_family == AF_INET;
}

bool isUpWithIpv4(const ifaddrs &entry)
{
    return hasIpv4(entry) && (entry.ifa_flags & IFF_UP);
}

bool subnetHolds(const ifaddrs &entry, quint32 peer)
{
    // The kernel gives every IPv4 address a mask. An address without one counts as a subnet of its own.
    const quint32 mask = entry.ifa_netmask ? hostOrderAddress(entry.ifa_netmask) : 0xFFFFFFFFu;
    const quint32 network = hostOrderAddress(entry.ifa_addr) & mask;
    const quint32 broadcast = ~mask | network;
    return network <= peer && peer <= broadcast;
}

bool isSourceOf(const ifaddrs &entry, const Route &route)
{
    const quint32 address = hostOrderAddress(entry.ifa_addr);
    return route.found ? address == route.sourceAddress : address != INADDR_LOOPBACK;
}

const ifaddrs *chooseInterface(const ifaddrs *list, quint32 peer, const Route &route)
{
    for (const ifaddrs *entry = list; entry; entry = entry->ifa_next) {
        if (isUpWithIpv4(*entry) && subnetHolds(*entry, peer))
            return entry;
    }
    for (const ifaddrs *entry = list; entry; entry = entry->ifa_next) {
        if (isUpWithIpv4(*entry) && isSourceOf(*entry, route))
            return entry;
    }
    return nullptr;
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
    const Route route = routeTo(peer);
    ifaddrs *list = nullptr;
    if (::getifaddrs(&list) != 0)
        return 1;
    if (const ifaddrs *chosen = chooseInterface(list, ntohl(peer), route))
        std::strncpy(name, chosen->ifa_name, IF_NAMESIZE);
    ::freeifaddrs(list);
    return 1;
}

bool isOwnAddress(quint32 address)
{
    ifaddrs *list = nullptr;
    if (::getifaddrs(&list) != 0)
        return false;
    const quint32 wanted = ntohl(address);
    const ifaddrs *entry = list;
    while (entry && !(hasIpv4(*entry) && hostOrderAddress(entry->ifa_addr) == wanted))
        entry = entry->ifa_next;
    const bool found = entry != nullptr;
    ::freeifaddrs(list);
    return found;
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
