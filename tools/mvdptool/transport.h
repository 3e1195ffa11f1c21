#ifndef TRANSPORT_H
#define TRANSPORT_H

#include "clock.h"
#include "interfaces.h"
#include "mvdpdatagram.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

class QUdpSocket;

constexpr std::uint32_t LimitedBroadcast = 0xFFFFFFFF;

struct TransportOptions {
    QString interface;            // empty: every interface that is up, without loopback
    std::uint16_t sourcePort = 0; // 0: the system chooses
};

struct Destination {
    std::uint32_t address = 0;
    unsigned interfaceIndex = 0;     // 0: the routing table decides
    std::uint32_t sourceAddress = 0; // some systems choose the interface by it
};

// How a datagram was addressed. A panel answers senders outside its own subnet by broadcast or multicast, so
// this shows which panels are on another subnet.
enum class Way { Unicast, Broadcast, Multicast };
QString wayName(Way way);

struct Received {
    MvdpDatagram datagram;  // zero beyond `length`
    std::size_t length = 0; // of the received datagram; can be more than MvdpDatagram::Size
    std::uint32_t source = 0;
    std::uint16_t sourcePort = 0;
    unsigned interfaceIndex = 0;
    Way way = Way::Unicast;
};

// The one UDP socket of the program. Bound to all local addresses and a member of the protocol's group on
// every interface, so that answers by unicast, broadcast and multicast all arrive.
class Transport
{
public:
    // Throws ToolError when the socket cannot be bound or the interface does not exist.
    explicit Transport(const TransportOptions &options);
    ~Transport();
    Transport(const Transport &) = delete;
    Transport &operator=(const Transport &) = delete;

    // The interfaces in use.
    const std::vector<NetworkInterface> &interfaces() const { return m_interfaces; }
    // All interfaces of this computer that are up, in use or not, loopback included.
    const std::vector<NetworkInterface> &localInterfaces() const { return m_localInterfaces; }
    // Interfaces that are not used because they have no IPv4 address.
    const QStringList &interfacesWithoutAddress() const { return m_interfacesWithoutAddress; }
    QString interfaceName(unsigned index) const;
    std::uint16_t localPort() const;

    // Limited broadcast, the directed broadcast of each address and the group, on each interface.
    std::vector<Destination> everywhere() const;
    // The limited broadcast only, once on each interface: for requests that must not be carried out more than
    // once.
    std::vector<Destination> limitedBroadcasts() const;
    // Broadcast and multicast addresses go out on each interface, any other on the chosen interface or,
    // without one, by the routing table.
    std::vector<Destination> towards(std::uint32_t address) const;
    // The limited broadcast, a multicast address or an address on the interface's own link, on one interface;
    // empty where the interface cannot carry it.
    std::vector<Destination> towardsOn(unsigned interfaceIndex, std::uint32_t address) const;
    // True for multicast and broadcast addresses, those of our own subnets included.
    bool reachesMany(std::uint32_t address) const { return wayTo(address) != Way::Unicast; }

    // False when the routing table has no route to the address.
    static bool hasRouteTo(std::uint32_t address);

    // False when the system refused; problems() then has one more line, unless it has the same line already.
    bool send(const std::uint8_t *bytes, std::size_t size, const Destination &destination);

    // The next datagram that arrives before `deadline`.
    std::optional<Received> receive(Clock::time_point deadline);

    // How many datagrams were lost so far because they arrived faster than they were read. Wraps around; 0
    // where the system does not count them.
    std::uint32_t overruns() const;
    // The size of the receive buffer that the system granted; see growReceiveBuffer(). 0 where unknown.
    int receiveBufferBytes() const { return m_receiveBufferBytes; }

    // Problems that do not stop the program, each once.
    const QStringList &problems() const { return m_problems; }

private:
    void chooseInterfaces(const QString &name);
    [[noreturn]] static void failWithoutInterface(const QString &name,
                                                  const std::vector<NetworkInterface> &all);
    void setOptions();
    void joinGroup();
    void addProblem(const QString &problem);
    Way wayTo(std::uint32_t address) const;
    bool isOwn(const Received &received) const;
    std::optional<Received> receiveWaiting();

    std::unique_ptr<QUdpSocket> m_socket;
    std::vector<NetworkInterface> m_localInterfaces;
    std::vector<NetworkInterface> m_interfaces;
    QStringList m_interfacesWithoutAddress;
    bool m_onlyOneInterface;
    int m_receiveBufferBytes = 0;
    QStringList m_problems;
};

#endif // TRANSPORT_H
