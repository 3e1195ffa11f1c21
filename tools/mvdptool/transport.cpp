#include "transport.h"

#include "addresses.h"
#include "sockets.h"
#include "toolerror.h"

#include <QtCore/QVariant>
#include <QtNetwork/QNetworkDatagram>
#include <QtNetwork/QNetworkProxy>
#include <QtNetwork/QUdpSocket>

#include <algorithm>
#include <cerrno>

namespace
{

// The hop limit that panels give to what they send to the group.
const int GroupHopLimit = 16;
// As many panels as a network may have answer at the same moment, each three times. Linux charges an answer
// with up to 2304 bytes, depending on the network card's driver.
const int ReceiveBufferBytes = 32 << 20;
// The longest wait for a full send buffer; even a slow link drains it much sooner.
const int SendPatienceMilliseconds = 5000;

bool isMulticast(std::uint32_t address)
{
    return address >> 28 == 0xE;
}

// Linux goes by the interface alone; other systems choose it by the source address.
Destination throughInterface(const NetworkInterface &interface, std::uint32_t address)
{
    return {address, interface.index, interface.addresses.front().address};
}

// Port 0 takes a free port other than the panels' own, which systems also hand out. On that port replies by
// broadcast or to the group would reach the panels themselves, and an echo would be a request to them.
std::unique_ptr<QUdpSocket> boundSocket(std::uint16_t port)
{
    auto socket = std::make_unique<QUdpSocket>();
    socket->setProxy(QNetworkProxy::NoProxy); // panels are never behind one, whatever the environment says
    if (!socket->bind(QHostAddress(QHostAddress::AnyIPv4), port, QAbstractSocket::DontShareAddress)) {
        const QString reason = socket->errorString();
        if (port == 0)
            throw ToolError{ToolError::NetworkTrouble, QStringLiteral("no UDP socket: %1").arg(reason),
                            QStringLiteral("See what forbids it: a sandbox, a limit of open files, a "
                                           "security policy.")};
        throw ToolError{
            ToolError::PortTaken, QStringLiteral("UDP port %1 cannot be used: %2").arg(port).arg(reason), {}};
    }
    if (port != 0 || socket->localPort() != MvdpDatagram::Port)
        return socket;
    return boundSocket(0); // `socket` holds the port until there is another one
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
    , m_onlyOneInterface(!options.interface.isEmpty())
{
    chooseInterfaces(options.interface);
    setOptions();
    joinGroup();
}

Transport::~Transport() = default;

void Transport::chooseInterfaces(const QString &name)
{
    m_localInterfaces = upInterfaces();
    for (const NetworkInterface &interface : m_localInterfaces) {
        if (name.isEmpty() ? interface.isLoopback : interface.name != name)
            continue;
        if (!interface.addresses.empty())
            m_interfaces.push_back(interface);
        else if (interface.hasCarrier)
            m_interfacesWithoutAddress << interface.name;
    }
    if (!name.isEmpty() && m_interfaces.empty())
        failWithoutInterface(name, m_localInterfaces);
}

void Transport::failWithoutInterface(const QString &name, const std::vector<NetworkInterface> &all)
{
    QStringList usable;
    for (const NetworkInterface &interface : all) {
        if (!interface.addresses.empty())
            usable << interface.name;
        else if (interface.name == name)
            throw ToolError{ToolError::NetworkTrouble,
                            QStringLiteral("the interface '%1' has no IPv4 address").arg(name),
                            QStringLiteral("Give it one: any will do, also outside the panels' subnets.")};
    }
    throw ToolError{
        ToolError::NetworkTrouble, QStringLiteral("there is no interface '%1' that is up").arg(name),
        usable.isEmpty() ? QStringLiteral("This computer has none with an IPv4 address.")
                         : QStringLiteral("Choose one of: %1.").arg(usable.join(QStringLiteral(", ")))};
}

void Transport::setOptions()
{
    m_receiveBufferBytes = growReceiveBuffer(m_socket->socketDescriptor(), ReceiveBufferBytes);
    m_socket->setSocketOption(QAbstractSocket::MulticastTtlOption, GroupHopLimit);
}

void Transport::joinGroup()
{
    for (const NetworkInterface &interface : m_interfaces) {
        if (!interface.canMulticast)
            continue;
        errno = 0;
        if (!joinMulticastGroup(m_socket->socketDescriptor(), MvdpDatagram::MulticastGroup, interface.index,
                                interface.addresses.front().address)) {
            addProblem(QStringLiteral("answers to the multicast group are not heard on %1: %2")
                           .arg(interface.name,
                                socketErrorText(errno, QStringLiteral("the system does not say why"))));
        }
    }
}

std::uint16_t Transport::localPort() const
{
    return m_socket->localPort();
}

std::uint32_t Transport::overruns() const
{
    return droppedDatagrams(m_socket->socketDescriptor());
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
            destinations.push_back(throughInterface(interface, LimitedBroadcast));
            for (const InterfaceAddress &own : interface.addresses) {
                // Subnets of one or two addresses have no broadcast address.
                if (~own.netmask > 1)
                    destinations.push_back({own.broadcast(), interface.index, own.address});
            }
        }
        if (interface.canMulticast)
            destinations.push_back(throughInterface(interface, MvdpDatagram::MulticastGroup));
    }
    return destinations;
}

std::vector<Destination> Transport::limitedBroadcasts() const
{
    return towards(LimitedBroadcast);
}

std::vector<Destination> Transport::towards(std::uint32_t address) const
{
    if (!isMulticast(address) && address != LimitedBroadcast)
        return {{address, m_onlyOneInterface ? m_interfaces.front().index : 0, 0}};
    std::vector<Destination> destinations;
    for (const NetworkInterface &interface : m_interfaces) {
        const auto towards = towardsOn(interface.index, address);
        destinations.insert(destinations.end(), towards.begin(), towards.end());
    }
    return destinations;
}

std::vector<Destination> Transport::towardsOn(unsigned interfaceIndex, std::uint32_t address) const
{
    for (const NetworkInterface &interface : m_interfaces) {
        if (interface.index == interfaceIndex &&
            (isMulticast(address) ? interface.canMulticast : interface.canBroadcast))
            return {throughInterface(interface, address)};
    }
    return {};
}

bool Transport::hasRouteTo(std::uint32_t address)
{
    // Sends nothing; connecting selects the route.
    QUdpSocket probe;
    probe.setProxy(QNetworkProxy::NoProxy);
    probe.connectToHost(QHostAddress(address), MvdpDatagram::Port);
    return probe.state() == QAbstractSocket::ConnectedState;
}

bool Transport::send(const std::uint8_t *bytes, std::size_t size, const Destination &destination)
{
    QNetworkDatagram datagram(QByteArray(reinterpret_cast<const char *>(bytes), static_cast<int>(size)),
                              QHostAddress(destination.address), MvdpDatagram::Port);
    datagram.setInterfaceIndex(destination.interfaceIndex);
    if (destination.sourceAddress != 0)
        datagram.setSender(QHostAddress(destination.sourceAddress));
    qint64 sent;
    bool isBufferFull;
    do {
        errno = 0;
        sent = m_socket->writeDatagram(datagram);
        isBufferFull = sent == -2 || (sent < 0 && errno == EAGAIN); // -2 is Qt's code for it
    } while (isBufferFull &&
             waitForSocket(m_socket->socketDescriptor(), SocketEvent::Writable, SendPatienceMilliseconds));
    const int error = errno;
    if (sent >= 0)
        return true;
    const QString name = interfaceName(destination.interfaceIndex);
    addProblem(QStringLiteral("nothing can be sent to %1%2: %3")
                   .arg(ipv4Text(destination.address),
                        name.isEmpty() ? QString() : QStringLiteral(" on ") + name,
                        socketErrorText(error, m_socket->errorString())));
    return false;
}

std::optional<Received> Transport::receive(Clock::time_point deadline)
{
    // The clock is read before each datagram, so that a flood of datagrams cannot extend the wait.
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() <= 0)
            return std::nullopt;
        const auto limit = std::min(left, std::chrono::milliseconds(std::chrono::hours(1)));
        if (!m_socket->hasPendingDatagrams() &&
            !waitForSocket(m_socket->socketDescriptor(), SocketEvent::Readable,
                           static_cast<int>(limit.count())))
            continue;
        std::optional<Received> received = receiveWaiting();
        const bool isElsewhere =
            m_onlyOneInterface && received && received->interfaceIndex != m_interfaces.front().index;
        if (received && !isElsewhere && !isOwn(*received))
            return received;
    }
}

std::optional<Received> Transport::receiveWaiting()
{
    const QNetworkDatagram datagram = m_socket->receiveDatagram();
    if (!datagram.isValid())
        return std::nullopt;
    const QByteArray bytes = datagram.data();
    Received received;
    received.length = static_cast<std::size_t>(bytes.size());
    std::copy_n(bytes.constData(), std::min<std::size_t>(received.length, MvdpDatagram::Size),
                received.datagram.data());
    received.source = datagram.senderAddress().toIPv4Address();
    received.sourcePort = static_cast<std::uint16_t>(datagram.senderPort());
    received.interfaceIndex = datagram.interfaceIndex();
    received.way = wayTo(datagram.destinationAddress().toIPv4Address());
    return received;
}

// When bound to the panels' own port, the socket receives its own requests to all.
bool Transport::isOwn(const Received &received) const
{
    return received.sourcePort == localPort() && std::any_of(m_interfaces.begin(), m_interfaces.end(),
                                                             [&received](const NetworkInterface &interface) {
                                                                 return interface.hasAddress(received.source);
                                                             });
}

Way Transport::wayTo(std::uint32_t address) const
{
    if (isMulticast(address))
        return Way::Multicast;
    if (address == LimitedBroadcast)
        return Way::Broadcast;
    for (const NetworkInterface &interface : m_interfaces) {
        for (const InterfaceAddress &own : interface.addresses) {
            if (~own.netmask > 1 && address == own.broadcast())
                return Way::Broadcast;
        }
    }
    return Way::Unicast;
}
