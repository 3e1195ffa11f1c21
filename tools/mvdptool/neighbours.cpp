#include "neighbours.h"

#include <arpa/inet.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>
#include <vector>

namespace
{

// The kernel fills no more into one part of its answer.
const std::size_t PartSize = 32768;

bool sendQuestion(int socket)
{
    struct {
        nlmsghdr header;
        ndmsg family;
    } question = {};
    question.header.nlmsg_len = sizeof question;
    question.header.nlmsg_type = RTM_GETNEIGH;
    question.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    question.family.ndm_family = AF_INET;
    return ::send(socket, &question, sizeof question, 0) == static_cast<ssize_t>(sizeof question);
}

template <typename Value>
Value valueOf(const rtattr *attribute)
{
    Value value = {};
    std::memcpy(&value, RTA_DATA(attribute), std::min<std::size_t>(sizeof value, RTA_PAYLOAD(attribute)));
    return value;
}

void addEntry(const nlmsghdr *message, Neighbours &neighbours)
{
    const auto *entry = static_cast<const ndmsg *>(NLMSG_DATA(message));
    if (entry->ndm_family != AF_INET)
        return;
    std::uint32_t address = 0;
    Neighbour neighbour;
    neighbour.isFixed = (entry->ndm_state & (NUD_PERMANENT | NUD_NOARP)) != 0;
    const bool isKnown = (entry->ndm_state & (NUD_REACHABLE | NUD_STALE | NUD_DELAY | NUD_PROBE)) != 0;
    const rtattr *attribute = RTM_RTA(entry);
    auto left = static_cast<int>(message->nlmsg_len - NLMSG_LENGTH(sizeof *entry));
    for (; RTA_OK(attribute, left); attribute = RTA_NEXT(attribute, left)) {
        if (attribute->rta_type == NDA_DST) {
            address = ntohl(valueOf<std::uint32_t>(attribute));
        } else if (attribute->rta_type == NDA_LLADDR && isKnown &&
                   RTA_PAYLOAD(attribute) == sizeof(MacAddress)) {
            neighbour.mac = valueOf<MacAddress>(attribute);
        } else if (attribute->rta_type == NDA_CACHEINFO) {
            const long ticks = valueOf<nda_cacheinfo>(attribute).ndm_confirmed;
            neighbour.confirmed = std::chrono::milliseconds(ticks * 1000 / ::sysconf(_SC_CLK_TCK));
        }
    }
    neighbours[{static_cast<unsigned>(entry->ndm_ifindex), address}] = neighbour;
}

// False when the kernel's answer breaks off.
bool receiveEntries(int socket, Neighbours &neighbours)
{
    alignas(nlmsghdr) char part[PartSize];
    for (;;) {
        const ssize_t received = ::recv(socket, part, sizeof part, 0);
        if (received <= 0)
            return false;
        auto left = static_cast<unsigned>(received);
        for (const auto *message = reinterpret_cast<const nlmsghdr *>(part); NLMSG_OK(message, left);
             message = NLMSG_NEXT(message, left)) {
            if (message->nlmsg_type == NLMSG_DONE)
                return true;
            if (message->nlmsg_type == NLMSG_ERROR)
                return false;
            if (message->nlmsg_type == RTM_NEWNEIGH)
                addEntry(message, neighbours);
        }
    }
}

} // namespace

std::optional<Neighbours> readNeighbours()
{
    const int socket = ::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE);
    if (socket < 0)
        return std::nullopt;
    Neighbours neighbours;
    const bool isComplete = sendQuestion(socket) && receiveEntries(socket, neighbours);
    ::close(socket);
    return isComplete ? std::optional<Neighbours>(std::move(neighbours)) : std::nullopt;
}

std::optional<bool> hasAnswered(const Neighbour *before, const Neighbour *now,
                                std::chrono::milliseconds sinceQuestion)
{
    if (now != nullptr && now->isFixed)
        return std::nullopt;
    if (now == nullptr || !now->mac)
        return false;
    const bool wasKnown = before != nullptr && before->mac;
    if (!wasKnown || now->confirmed <= sinceQuestion)
        return true;
    return std::nullopt;
}
