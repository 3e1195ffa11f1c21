#include "interfaces.h"

#include "failure.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>

#include <cerrno>
#include <cstring>
#include <map>
#include <memory>

namespace
{

std::uint32_t hostOrder(const sockaddr *address)
{
    if (address == nullptr)
        return 0;
    sockaddr_in internet;
    std::memcpy(&internet, address, sizeof internet);
    return ntohl(internet.sin_addr.s_addr);
}

} // namespace

std::vector<NetworkInterface> upInterfaces()
{
    ifaddrs *head = nullptr;
    if (getifaddrs(&head) != 0) {
        throw Failure{
            ExitCode::NetworkTrouble,
            QStringLiteral("the network interfaces of this computer cannot be listed: %1")
                .arg(QString::fromLocal8Bit(std::strerror(errno))),
            QStringLiteral("See whether 'ip -4 address' can, and what keeps this program from it.")};
    }
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> list(head, &freeifaddrs);

    std::map<unsigned, NetworkInterface> byIndex;
    for (const ifaddrs *entry = head; entry != nullptr; entry = entry->ifa_next) {
        if (entry->ifa_addr == nullptr || entry->ifa_addr->sa_family != AF_INET ||
            (entry->ifa_flags & IFF_UP) == 0)
            continue;
        const unsigned index = if_nametoindex(entry->ifa_name);
        if (index == 0) // gone since the list was made
            continue;
        NetworkInterface &interface = byIndex[index];
        interface.index = index;
        // Without the ":1" that old tools give to a second address of the same interface.
        char name[IF_NAMESIZE] = {};
        interface.name =
            QString::fromLocal8Bit(if_indextoname(index, name) != nullptr ? name : entry->ifa_name);
        interface.isLoopback = (entry->ifa_flags & IFF_LOOPBACK) != 0;
        // The kernel delivers broadcasts on the loopback interface although it does not flag it so.
        interface.canBroadcast = (entry->ifa_flags & (IFF_BROADCAST | IFF_LOOPBACK)) != 0;
        interface.canMulticast = (entry->ifa_flags & IFF_MULTICAST) != 0;
        interface.addresses.push_back({hostOrder(entry->ifa_addr), hostOrder(entry->ifa_netmask)});
    }

    std::vector<NetworkInterface> interfaces;
    interfaces.reserve(byIndex.size());
    for (auto &entry : byIndex)
        interfaces.push_back(std::move(entry.second));
    return interfaces;
}
