#include "localaddresses.h"

#include "networkchanges.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <linux/rtnetlink.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace
{

LocalAddress localAddress(const ifaddrs &entry)
{
    LocalAddress result;
    std::memset(&result, 0, sizeof result);
    result.address = hostOrderAddress(entry.ifa_addr);
    // The kernel gives every IPv4 address a mask. An address without one counts as a subnet of its own.
    result.netmask = entry.ifa_netmask ? hostOrderAddress(entry.ifa_netmask) : 0xFFFFFFFFu;
    result.isUp = (entry.ifa_flags & IFF_UP) != 0;
    std::strncpy(result.interfaceName, entry.ifa_name, sizeof result.interfaceName - 1);
    return result;
}

} // namespace

quint32 hostOrderAddress(const sockaddr *address)
{
    sockaddr_in ipv4;
    std::memcpy(&ipv4, address, sizeof ipv4);
    return ntohl(ipv4.sin_addr.s_addr);
}

LocalAddresses::LocalAddresses()
    : m_changes(-1)
{
}

LocalAddresses::~LocalAddresses()
{
    stopWatching();
}

const std::vector<LocalAddress> &LocalAddresses::current()
{
    if (!hasChanged())
        return m_addresses;
    stopWatching();
    m_changes = openNetworkChanges(RTMGRP_LINK | RTMGRP_IPV4_IFADDR);
    if (!list())
        stopWatching();
    return m_addresses;
}

// Also true without a socket: that is an error like any other.
bool LocalAddresses::hasChanged() const
{
    char ignored;
    return ::recv(m_changes, &ignored, sizeof ignored, 0) >= 0 || errno != EAGAIN;
}

void LocalAddresses::stopWatching()
{
    if (m_changes >= 0)
        ::close(m_changes);
    m_changes = -1;
}

// False when the kernel did not list them.
bool LocalAddresses::list()
{
    m_addresses.clear();
    ifaddrs *entries = nullptr;
    if (::getifaddrs(&entries) != 0)
        return false;
    for (const ifaddrs *entry = entries; entry; entry = entry->ifa_next) {
        if (entry->ifa_addr && entry->ifa_addr->sa_family == AF_INET)
            m_addresses.push_back(localAddress(*entry));
    }
    ::freeifaddrs(entries);
    return true;
}
