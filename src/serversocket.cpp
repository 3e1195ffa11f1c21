#include "serversocket.h"

#include "mvdpdatagram.h"
#include "portowner.h"

#include <QtCore/QByteArray>
#include <QtCore/QDebug>
#include <QtCore/QString>
#include <QtCore/QtGlobal>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace
{

// Enough for a plant's network; datagrams do not travel far beyond it.
const unsigned char MulticastTtl = 16;

// error is the system's number; culprit says who is in the way, if that is known.
void warnOfFailure(const char *what, int error, const QByteArray &culprit = QByteArray())
{
    const QString reason = QString::fromLocal8Bit(std::strerror(error));
    if (culprit.isEmpty())
        qWarning() << "Cannot" << what << reason;
    else
        qWarning() << "Cannot" << what << reason << "by" << culprit.constData();
}

// Waits until there is one to be had.
int openSocket()
{
    bool isTold = false;
    for (;;) {
        const int descriptor = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP);
        if (descriptor >= 0) {
            if (isTold)
                qWarning() << "Opened a UDP socket";
            return descriptor;
        }
        if (!isTold)
            warnOfFailure("open a UDP socket:", errno);
        isTold = true;
        ::sleep(1);
    }
}

void bindToPort(int descriptor)
{
    sockaddr_in local;
    std::memset(&local, 0, sizeof local);
    local.sin_family = AF_INET;
    local.sin_port = htons(MvdpDatagram::Port);
    local.sin_addr.s_addr = htonl(INADDR_ANY);
    if (::bind(descriptor, reinterpret_cast<const sockaddr *>(&local), sizeof local) == 0)
        return;
    const int error = errno;
    const QByteArray owner = error == EADDRINUSE ? portOwner(MvdpDatagram::Port) : QByteArray();
    warnOfFailure("listen on UDP port 58553:", error, owner);
}

} // namespace

ServerSocket::ServerSocket()
    : m_descriptor(openSocket())
    , m_membership(m_descriptor)
{
    // One byte on purpose, here and for SO_BROADCAST: the kernel refuses values of these options that are
    // shorter than an int. Therefore no second server can share the port. Broadcasts fail, so that replies to
    // other subnets leave by the multicast group, which routers can forward.
    const unsigned char on = 1;
    ::setsockopt(m_descriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    bindToPort(m_descriptor);
    ::setsockopt(m_descriptor, SOL_SOCKET, SO_BROADCAST, &on, sizeof on);
    if (!m_membership.join())
        warnOfFailure("join multicast group 224.0.5.128:", errno);
    ::setsockopt(m_descriptor, IPPROTO_IP, IP_MULTICAST_TTL, &MulticastTtl, sizeof MulticastTtl);
}

ServerSocket::~ServerSocket()
{
    ::close(m_descriptor);
}

bool ServerSocket::receive(MvdpDatagram &datagram, sockaddr_in &sender)
{
    m_membership.joinUntilReadable();
    socklen_t length = sizeof sender;
    const ssize_t received = ::recvfrom(m_descriptor, datagram.data(), MvdpDatagram::Size, 0,
                                        reinterpret_cast<sockaddr *>(&sender), &length);
    // An error that comes again and again must not keep a core busy.
    if (received < 0)
        ::usleep(10000);
    return received >= 1;
}

bool ServerSocket::send(const MvdpDatagram &datagram, const sockaddr_in &destination) const
{
    return ::sendto(m_descriptor, datagram.data(), MvdpDatagram::Size, 0,
                    reinterpret_cast<const sockaddr *>(&destination), sizeof destination) >= 0;
}
