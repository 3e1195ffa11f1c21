#include "groupmembership.h"

#include "mvdpdatagram.h"
#include "networkchanges.h"

#include <QtCore/QDebug>

#include <arpa/inet.h>
#include <linux/rtnetlink.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

namespace
{

// How often to try where no change of the network tells when.
const int RetryMs = 1000;

} // namespace

GroupMembership::GroupMembership(int socket)
    : m_socket(socket)
    , m_pending(false)
    , m_refusal(0)
    , m_changes(-1)
{
}

GroupMembership::~GroupMembership()
{
    stopWatching();
}

bool GroupMembership::join()
{
    if (tryToJoin())
        return true;
    m_pending = true;
    // Addresses matter by their routes alone.
    m_changes = openNetworkChanges(RTMGRP_LINK | RTMGRP_IPV4_ROUTE | RTMGRP_IPV4_RULE);
    // Once more: the network may have changed before it was watched.
    if (!tryToJoin())
        return false;
    stopWatching();
    return true;
}

// Each round takes one change at most and then looks for a datagram, so that a flood of either does not keep
// the other waiting.
void GroupMembership::joinUntilReadable()
{
    while (m_pending) {
        // A route that is missing comes with a change; memory that was missing comes without one.
        const bool changeTells = m_changes >= 0 && m_refusal == ENODEV;
        pollfd watched[] = {{m_socket, POLLIN, 0}, {m_changes, POLLIN, 0}};
        if (::poll(watched, 2, changeTells ? -1 : RetryMs) < 0 && errno != EINTR)
            return;
        const bool isTimeToTry = !changeTells || watched[1].revents != 0;
        if (watched[1].revents != 0)
            takeChange();
        if (isTimeToTry && tryToJoin()) {
            qWarning() << "Joined multicast group 224.0.5.128";
            stopWatching();
        }
        if (watched[0].revents != 0)
            return;
    }
}

bool GroupMembership::tryToJoin()
{
    ip_mreq membership;
    membership.imr_multiaddr.s_addr = htonl(MvdpDatagram::MulticastGroup);
    membership.imr_interface.s_addr = htonl(INADDR_ANY);
    const bool joined =
        ::setsockopt(m_socket, IPPROTO_IP, IP_ADD_MEMBERSHIP, &membership, sizeof membership) == 0;
    m_refusal = joined ? 0 : errno;
    return joined;
}

// What has changed does not matter, nor that changes were lost because they came too fast (ENOBUFS).
void GroupMembership::takeChange()
{
    char ignored;
    if (::recv(m_changes, &ignored, sizeof ignored, 0) >= 0 || errno == ENOBUFS || errno == EAGAIN ||
        errno == EINTR)
        return;
    ::close(m_changes);
    m_changes = -1;
}

void GroupMembership::stopWatching()
{
    m_pending = false;
    if (m_changes >= 0)
        ::close(m_changes);
    m_changes = -1;
}
