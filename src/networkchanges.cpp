#include "networkchanges.h"

#include <linux/netlink.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>

int openNetworkChanges(quint32 groups)
{
    const int changes = ::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE);
    if (changes < 0)
        return -1;
    sockaddr_nl local;
    std::memset(&local, 0, sizeof local);
    local.nl_family = AF_NETLINK;
    local.nl_groups = groups;
    if (::bind(changes, reinterpret_cast<const sockaddr *>(&local), sizeof local) == 0)
        return changes;
    ::close(changes);
    return -1;
}
