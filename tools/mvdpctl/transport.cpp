#include "transport.h"

#include "addresses.h"
#include "failure.h"
#include "interrupt.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace
{

// The hop limit that panels give to what they send to the group.
const int GroupHopLimit = 16;
// Forty panels answer a broadcast at the same moment, each three times.
const int ReceiveBufferBytes = 1 << 20;

QString lastError()
{
    return QString::fromLocal8Bit(std::strerror(errno));
}

sockaddr_in socketAddress(std::uint32_t address, std::uint16_t port)
{
    sockaddr_in result = {};
    result.sin_family = AF_INET;
    result.sin_addr.s_addr = htonl(address);
    result.sin_port = htons(port);
    return result;
}

bool isMulticast(std::uint32_t address)
{
    return address >> 28 == 0xE;
}

bool setIntOption(int socket, int level, int option, int value)
{
    return setsockopt(socket, level, option, &value, sizeof value) == 0;
}

QString sendAdvice(int error)
{
    switch (error) {
    case ENETUNREACH:
    case EHOSTUNREACH:
        return QStringLiteral("there is no route to it");
    case EPERM:
        return QStringLiteral("a firewall of this computer forbids it");
    default:
        return QString::fromLocal8Bit(std::strerror(error));
    }
}

std::uint16_t portOf(int descriptor)
{
    sockaddr_in address = {};
    socklen_t size = sizeof address;
    const bool known = getsockname(descriptor, reinterpret_cast<sockaddr *>(&address), &size) == 0;
    return known ? ntohs(address.sin_port) : 0;
}

// Port 0 takes a free one, but never the panels' own, which the kernel hands out now and then: replies to
// all, by broadcast or to the group, would reach the panels themselves, and an echo is one more request to
// them.
int boundSocket(std::uint16_t port)
{
    const int descriptor = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP);
    if (descriptor < 0) {
        throw Failure{
            ExitCode::NetworkTrouble, QStringLiteral("no UDP socket: %1").arg(lastError()),
            QStringLiteral("See what forbids it: a sandbox, a limit of open files, a security policy.")};
    }
    sockaddr_in address = socketAddress(INADDR_ANY, port);
    if (bind(descriptor, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0) {
        const QString error = lastError();
        close(descriptor);
        throw Failure{ExitCode::NetworkTrouble,
                      QStringLiteral("UDP port %1 cannot be used: %2").arg(port).arg(error),
                      QStringLiteral("Give another --source-port, or leave it out to take any free port.")};
    }
    if (port != 0 || portOf(descriptor) != MvdpDatagram::Port)
        return descriptor;
    // Held until there is another one.
    try {
        const int other = boundSocket(0);
        close(descriptor);
        return other;
    } catch (...) {
        close(descriptor);
        throw;
    }
}

} // namespace

QString wayName(Way way)
{
    switch (way) {
    case Way::Broadcast:
        return QStringLiteral("broadcast");
    case Way::Multicast:
        return QStringLiteral("multicast");
    case Way::Unicast:
        break;
    }
    return QStringLiteral("unicast");
}

Transport::Transport(const TransportOptions &options)
    : m_socket(boundSocket(options.sourcePort))
    , m_localPort(portOf(m_socket))
    , m_onlyOneInterface(!options.interface.isEmpty())
{
    try {
        chooseInterfaces(options.interface);
        setOptions(options.interface);
        joinGroup();
    } catch (...) {
        close(m_socket);
        throw;
    }
}

Transport::~Transport()
{
    close(m_socket);
}

void Transport::chooseInterfaces(const QString &name)
{
    QStringList names;
    for (const NetworkInterface &interface : upInterfaces()) {
        names << interface.name;
        if (name.isEmpty() ? !interface.isLoopback : interface.name == name)
            m_interfaces.push_back(interface);
    }
    if (!name.isEmpty() && m_interfaces.empty()) {
        throw Failure{
            ExitCode::NetworkTrouble,
            QStringLiteral("there is no interface '%1' that is up and has an IPv4 address").arg(name),
            names.isEmpty() ? QStringLiteral("This computer has none at all: see 'ip -4 address'.")
                            : QStringLiteral("Choose one of: %1.").arg(names.join(QStringLiteral(", ")))};
    }
}

void Transport::setOptions(const QString &interface)
{
    setIntOption(m_socket, SOL_SOCKET, SO_BROADCAST, 1);
    setIntOption(m_socket, SOL_SOCKET, SO_RCVBUF, ReceiveBufferBytes);
    setIntOption(m_socket, IPPROTO_IP, IP_MULTICAST_TTL, GroupHopLimit);
    // Tells with each datagram on which interface it came and how it was addressed.
    setIntOption(m_socket, IPPROTO_IP, IP_PKTINFO, 1);
    if (!interface.isEmpty()) {
        // Older kernels allow this to root only. Without it receive() sorts out the other interfaces.
        const QByteArray name = interface.toLocal8Bit();
        setsockopt(m_socket, SOL_SOCKET, SO_BINDTODEVICE, name.constData(),
                   static_cast<socklen_t>(name.size()));
    }
}

void Transport::joinGroup()
{
    for (const NetworkInterface &interface : m_interfaces) {
        if (!interface.canMulticast)
            continue;
        ip_mreqn membership = {};
        membership.imr_multiaddr.s_addr = htonl(MvdpDatagram::MulticastGroup);
        membership.imr_ifindex = static_cast<int>(interface.index);
        if (setsockopt(m_socket, IPPROTO_IP, IP_ADD_MEMBERSHIP, &membership, sizeof membership) != 0) {
            addProblem(QStringLiteral("answers to the multicast group are not heard on %1: %2")
                           .arg(interface.name, lastError()));
        }
    }
}

void Transport::addProblem(const QString &problem)
{
    if (!m_problems.contains(problem))
        m_problems << problem;
}

QString Transport::interfaceName(unsigned index) const
{
    for (const NetworkInterface &interface : m_interfaces) {
        if (interface.index == index)
            return interface.name;
    }
    return QString();
}

std::vector<Destination> Transport::everywhere() const
{
    std::vector<Destination> destinations;
    for (const NetworkInterface &interface : m_interfaces) {
        if (interface.canBroadcast) {
            destinations.push_back({INADDR_BROADCAST, interface.index, 0});
            for (const InterfaceAddress &own : interface.addresses) {
                // Subnets of one or two addresses have no broadcast address.
                if (~own.netmask > 1)
                    destinations.push_back({own.broadcast(), interface.index, own.address});
            }
        }
        if (interface.canMulticast)
            destinations.push_back({MvdpDatagram::MulticastGroup, interface.index, 0});
    }
    return destinations;
}

std::vector<Destination> Transport::limitedBroadcasts() const
{
    return towards(INADDR_BROADCAST);
}

std::vector<Destination> Transport::towards(std::uint32_t address) const
{
    if (!isMulticast(address) && address != INADDR_BROADCAST)
        return {{address, 0, 0}};
    std::vector<Destination> destinations;
    for (const NetworkInterface &interface : m_interfaces) {
        if (isMulticast(address) ? interface.canMulticast : interface.canBroadcast)
            destinations.push_back({address, interface.index, 0});
    }
    return destinations;
}

bool Transport::hasRouteTo(std::uint32_t address)
{
    const int probe = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP);
    if (probe < 0)
        return false;
    // Sends nothing: the kernel only chooses the way.
    const sockaddr_in peer = socketAddress(address, MvdpDatagram::Port);
    const bool hasRoute = connect(probe, reinterpret_cast<const sockaddr *>(&peer), sizeof peer) == 0;
    close(probe);
    return hasRoute;
}

bool Transport::send(const std::uint8_t *bytes, std::size_t size, const Destination &destination)
{
    sockaddr_in address = socketAddress(destination.address, MvdpDatagram::Port);
    iovec part = {const_cast<std::uint8_t *>(bytes), size};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(in_pktinfo))] = {};
    msghdr message = {};
    message.msg_name = &address;
    message.msg_namelen = sizeof address;
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    if (destination.interfaceIndex != 0) {
        in_pktinfo information = {};
        information.ipi_ifindex = static_cast<int>(destination.interfaceIndex);
        information.ipi_spec_dst.s_addr = htonl(destination.sourceAddress);
        message.msg_control = control;
        message.msg_controllen = sizeof control;
        cmsghdr *header = CMSG_FIRSTHDR(&message);
        header->cmsg_level = IPPROTO_IP;
        header->cmsg_type = IP_PKTINFO;
        header->cmsg_len = CMSG_LEN(sizeof information);
        std::memcpy(CMSG_DATA(header), &information, sizeof information);
    }
    ssize_t sent;
    do
        sent = sendmsg(m_socket, &message, 0);
    while (sent < 0 && errno == EINTR);
    if (sent >= 0)
        return true;
    const int error = errno;
    const QString name = interfaceName(destination.interfaceIndex);
    addProblem(QStringLiteral("nothing can be sent to %1%2: %3")
                   .arg(ipv4Text(destination.address),
                        name.isEmpty() ? QString() : QStringLiteral(" on ") + name, sendAdvice(error)));
    return false;
}

std::optional<Received> Transport::receive(Clock::time_point deadline)
{
    // The clock is read before each datagram: a flood of junk must not keep the program past its time.
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() <= 0)
            return std::nullopt;
        pollfd waiting = {m_socket, POLLIN, 0};
        const auto limit = std::min(left, std::chrono::milliseconds(std::chrono::hours(1)));
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(limit);
        timespec time = {};
        time.tv_sec = seconds.count();
        time.tv_nsec = std::chrono::nanoseconds(limit - seconds).count();
        const int ready = ppoll(&waiting, 1, &time, InterruptGuard::waitMask());
        if (ready < 0)
            return std::nullopt;
        if (ready == 0)
            continue;
        std::optional<Received> received = receiveWaiting();
        if (received && !(m_onlyOneInterface && received->interfaceIndex != m_interfaces.front().index))
            return received;
    }
}

std::optional<Received> Transport::receiveWaiting()
{
    Received received;
    sockaddr_in source = {};
    iovec part = {received.datagram.data(), MvdpDatagram::Size};
    alignas(cmsghdr) char control[256];
    msghdr message = {};
    message.msg_name = &source;
    message.msg_namelen = sizeof source;
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    // MSG_TRUNC: the length as it travelled, also when it was longer than the buffer.
    const ssize_t length = recvmsg(m_socket, &message, MSG_DONTWAIT | MSG_TRUNC);
    if (length < 0)
        return std::nullopt;
    received.length = static_cast<std::size_t>(length);
    received.source = ntohl(source.sin_addr.s_addr);
    received.sourcePort = ntohs(source.sin_port);
    for (cmsghdr *header = CMSG_FIRSTHDR(&message); header != nullptr;
         header = CMSG_NXTHDR(&message, header)) {
        if (header->cmsg_level == IPPROTO_IP && header->cmsg_type == IP_PKTINFO) {
            in_pktinfo information;
            std::memcpy(&information, CMSG_DATA(header), sizeof information);
            received.interfaceIndex = static_cast<unsigned>(information.ipi_ifindex);
            received.way = wayTo(ntohl(information.ipi_addr.s_addr));
        }
    }
    return received;
}

Way Transport::wayTo(std::uint32_t address) const
{
    if (isMulticast(address))
        return Way::Multicast;
    if (address == INADDR_BROADCAST)
        return Way::Broadcast;
    for (const NetworkInterface &interface : m_interfaces) {
        for (const InterfaceAddress &own : interface.addresses) {
            if (~own.netmask > 1 && address == own.broadcast())
                return Way::Broadcast;
        }
    }
    return Way::Unicast;
}
