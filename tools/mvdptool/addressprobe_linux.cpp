#include "addressprobe.h"
#include "arppacket.h"
#include "neighbours.h"

#include <arpa/inet.h>
#include <linux/errqueue.h>
#include <linux/if_arp.h>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <netinet/in.h>
#include <netinet/ip_icmp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <memory>
#include <set>
#include <utility>

namespace
{

const std::size_t ArpLimit = 1000;
// The kernel keeps no more than 1024 neighbours, and each interface has an entry of its own for an address.
const std::size_t DatagramLimit = 256;
const std::chrono::milliseconds PassTime(400);
const int Passes = 2;
// So many questions at once, then a pause, so that no switch and no queue has to drop any.
const std::size_t BatchSize = 50;
const std::chrono::milliseconds BatchPause(12);
const std::uint16_t DiscardPort = 9; // RFC 863: what arrives there is dropped
const int SendBufferBytes = 1 << 20; // datagrams wait there until their neighbours answer
const int Attempts = 3;
// Received before the clock is looked at again, so that a flood cannot extend the wait.
const int ReceivedAtOnce = 1000;

// Each that is asked for; the MAC address of a holder may become known later.
struct Finding {
    bool isAsked = false;
    bool isDoubtful = false;
    bool isHeld = false;
    std::optional<MacAddress> mac;
};
using Findings = std::map<std::uint32_t, Finding>;

void addHolder(Findings &findings, std::uint32_t address, const std::optional<MacAddress> &mac)
{
    const auto finding = findings.find(address);
    if (finding == findings.end())
        return;
    finding->second.isHeld = true;
    if (!finding->second.mac)
        finding->second.mac = mac;
}

sockaddr_in socketAddress(std::uint32_t address)
{
    sockaddr_in result = {};
    result.sin_family = AF_INET;
    result.sin_addr.s_addr = htonl(address);
    result.sin_port = htons(DiscardPort);
    return result;
}

class Descriptor
{
public:
    explicit Descriptor(int number)
        : m_number(number)
    {
    }
    ~Descriptor()
    {
        if (m_number >= 0)
            ::close(m_number);
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;

    bool isOpen() const { return m_number >= 0; }
    int number() const { return m_number; }

private:
    const int m_number;
};

// ARP on one interface.
class ArpAsker
{
public:
    explicit ArpAsker(unsigned interfaceIndex);

    bool isReady() const { return m_isReady; }
    int descriptor() const { return m_socket.number(); }
    bool ask(std::uint32_t address) const;
    void collect(Findings &findings) const;

private:
    const Descriptor m_socket{::socket(AF_PACKET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)};
    sockaddr_ll m_everybody = {};
    MacAddress m_own = {};
    bool m_isReady = false;
};

ArpAsker::ArpAsker(unsigned interfaceIndex)
{
    sockaddr_ll own = {};
    own.sll_family = AF_PACKET;
    own.sll_protocol = htons(ETH_P_ARP);
    own.sll_ifindex = static_cast<int>(interfaceIndex);
    socklen_t size = sizeof own;
    auto *address = reinterpret_cast<sockaddr *>(&own);
    if (!m_socket.isOpen() || ::bind(m_socket.number(), address, size) != 0 ||
        ::getsockname(m_socket.number(), address, &size) != 0)
        return;
    std::copy_n(own.sll_addr, m_own.size(), m_own.begin());
    m_everybody = own;
    std::fill_n(m_everybody.sll_addr, m_own.size(), std::uint8_t(0xFF));
    m_isReady = own.sll_hatype == ARPHRD_ETHER && own.sll_halen == m_own.size();
}

bool ArpAsker::ask(std::uint32_t address) const
{
    const ArpPacket packet = arpProbe(m_own, address);
    return ::sendto(m_socket.number(), packet.data(), packet.size(), 0,
                    reinterpret_cast<const sockaddr *>(&m_everybody),
                    sizeof m_everybody) == static_cast<ssize_t>(packet.size());
}

void ArpAsker::collect(Findings &findings) const
{
    for (int count = 0; count < ReceivedAtOnce; ++count) {
        std::uint8_t bytes[64];
        sockaddr_ll source = {};
        socklen_t size = sizeof source;
        const ssize_t received = ::recvfrom(m_socket.number(), bytes, sizeof bytes, 0,
                                            reinterpret_cast<sockaddr *>(&source), &size);
        if (received < 0)
            return;
        const auto sender = arpSender(bytes, static_cast<std::size_t>(received));
        if (sender && source.sll_pkttype != PACKET_OUTGOING)
            addHolder(findings, sender->first, sender->second);
    }
}

// Datagrams of one kind to addresses, and the answers of the addressed themselves.
class DatagramAsker
{
public:
    DatagramAsker(int protocol, std::vector<std::uint8_t> bytes);

    bool isReady() const { return m_socket.isOpen(); }
    int descriptor() const { return m_socket.number(); }
    // Only to neighbours on this interface, whatever the routes say; 0: by the routes.
    bool ask(std::uint32_t address, unsigned interfaceIndex) const;
    void collect(Findings &findings) const;

private:
    bool receive(int flags, Findings &findings) const;

    const Descriptor m_socket;
    const std::vector<std::uint8_t> m_bytes;
};

DatagramAsker::DatagramAsker(int protocol, std::vector<std::uint8_t> bytes)
    : m_socket(::socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, protocol))
    , m_bytes(std::move(bytes))
{
    const int on = 1;
    ::setsockopt(m_socket.number(), IPPROTO_IP, IP_RECVERR, &on, sizeof on);
    ::setsockopt(m_socket.number(), SOL_SOCKET, SO_SNDBUF, &SendBufferBytes, sizeof SendBufferBytes);
}

bool DatagramAsker::ask(std::uint32_t address, unsigned interfaceIndex) const
{
    sockaddr_in destination = socketAddress(address);
    iovec content = {const_cast<std::uint8_t *>(m_bytes.data()), m_bytes.size()};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(in_pktinfo))] = {};
    msghdr message = {};
    message.msg_name = &destination;
    message.msg_namelen = sizeof destination;
    message.msg_iov = &content;
    message.msg_iovlen = 1;
    if (interfaceIndex != 0) {
        message.msg_control = control;
        message.msg_controllen = sizeof control;
        cmsghdr *header = CMSG_FIRSTHDR(&message);
        header->cmsg_level = IPPROTO_IP;
        header->cmsg_type = IP_PKTINFO;
        header->cmsg_len = CMSG_LEN(sizeof(in_pktinfo));
        in_pktinfo information = {};
        information.ipi_ifindex = static_cast<int>(interfaceIndex);
        std::memcpy(CMSG_DATA(header), &information, sizeof information);
    }
    // A call fails first with what became of an earlier datagram.
    for (int attempt = 0; attempt < Attempts; ++attempt) {
        if (::sendmsg(m_socket.number(), &message, interfaceIndex != 0 ? MSG_DONTROUTE : 0) >= 0)
            return true;
    }
    return false;
}

void DatagramAsker::collect(Findings &findings) const
{
    int count = 0;
    while (isReady() && ++count <= ReceivedAtOnce &&
           (receive(0, findings) || receive(MSG_ERRQUEUE, findings))) {
    }
}

// False when there is nothing to receive.
bool DatagramAsker::receive(int flags, Findings &findings) const
{
    std::uint8_t bytes[64];
    sockaddr_in peer = {}; // of an error: where the datagram was sent to
    iovec content = {bytes, sizeof bytes};
    alignas(cmsghdr) char control[256];
    msghdr message = {};
    message.msg_name = &peer;
    message.msg_namelen = sizeof peer;
    message.msg_iov = &content;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    if (::recvmsg(m_socket.number(), &message, flags) < 0)
        return flags == 0 && errno != EAGAIN; // it told what became of an earlier datagram
    if (flags == 0) {
        addHolder(findings, ntohl(peer.sin_addr.s_addr), std::nullopt);
        return true;
    }
    for (cmsghdr *header = CMSG_FIRSTHDR(&message); header != nullptr;
         header = CMSG_NXTHDR(&message, header)) {
        if (header->cmsg_level != IPPROTO_IP || header->cmsg_type != IP_RECVERR)
            continue;
        // A router or a firewall on the way may have sent it. Only the addressed itself counts.
        struct {
            sock_extended_err error;
            sockaddr_in sender;
        } report = {};
        std::memcpy(&report, CMSG_DATA(header),
                    std::min<std::size_t>(sizeof report, header->cmsg_len - CMSG_LEN(0)));
        if (report.error.ee_origin == SO_EE_ORIGIN_ICMP &&
            report.sender.sin_addr.s_addr == peer.sin_addr.s_addr)
            addHolder(findings, ntohl(peer.sin_addr.s_addr), std::nullopt);
    }
    return true;
}

std::vector<std::uint8_t> echoRequest()
{
    std::vector<std::uint8_t> bytes(sizeof(icmphdr)); // the kernel fills in the checksum
    bytes[0] = ICMP_ECHO;
    return bytes;
}

class Probe
{
public:
    explicit Probe(const Transport &transport);

    ProbeResult run(const std::vector<std::uint32_t> &addresses);

private:
    void choose(const std::vector<std::uint32_t> &addresses);
    void askAll(Clock::time_point deadline);
    bool ask(std::uint32_t address);
    bool askNeighbours(std::uint32_t address, bool isNear);
    bool askByRoutes(std::uint32_t address);
    void collectUntil(Clock::time_point deadline);
    void collect();
    void readTable();
    bool isOwn(std::uint32_t address) const;
    bool isDone() const;
    QString how() const;

    const Transport &m_transport;
    std::vector<NetworkInterface> m_links;        // on which holders are asked directly
    std::vector<std::unique_ptr<ArpAsker>> m_arp; // one for each of them, or none
    const DatagramAsker m_datagrams{IPPROTO_UDP, {}};
    const DatagramAsker m_pings{IPPROTO_ICMP, echoRequest()};
    Neighbours m_before;
    std::set<std::pair<unsigned, std::uint32_t>> m_neighboursAsked;
    bool m_anyRouted = false;
    bool m_anyPinged = false;
    Clock::time_point m_start;
    Findings m_findings;
};

Probe::Probe(const Transport &transport)
    : m_transport(transport)
{
    for (const NetworkInterface &interface : transport.interfaces()) {
        auto asker = std::make_unique<ArpAsker>(interface.index);
        if (!asker->isReady())
            continue;
        m_arp.push_back(std::move(asker));
        m_links.push_back(interface);
    }
    if (!m_arp.empty())
        return;
    auto neighbours = readNeighbours();
    if (!neighbours)
        return;
    m_before = std::move(*neighbours);
    for (const NetworkInterface &interface : transport.interfaces()) {
        if (!interface.isLoopback)
            m_links.push_back(interface);
    }
}

ProbeResult Probe::run(const std::vector<std::uint32_t> &addresses)
{
    choose(addresses);
    m_start = Clock::now();
    for (int pass = 1; pass <= Passes && !isDone(); ++pass) {
        const auto deadline = m_start + pass * PassTime;
        askAll(deadline);
        collectUntil(deadline);
        readTable();
    }
    ProbeResult result;
    for (const std::uint32_t address : addresses) {
        const auto found = m_findings.find(address);
        const Finding finding = found == m_findings.end() ? Finding() : found->second;
        if (finding.isHeld || isOwn(address))
            result.held.push_back({address, finding.mac});
        else if (!finding.isAsked || finding.isDoubtful)
            result.unasked.push_back(address);
    }
    result.how = how();
    return result;
}

void Probe::choose(const std::vector<std::uint32_t> &addresses)
{
    const std::size_t limit = m_arp.empty() ? DatagramLimit : ArpLimit;
    for (const std::uint32_t address : addresses) {
        const bool isHost = address >> 24 != 0 && address >> 24 != 127 && address >> 28 < 0xE;
        if (isHost && !m_transport.reachesMany(address) && !isOwn(address) && m_findings.size() < limit)
            m_findings[address];
    }
}

void Probe::askAll(Clock::time_point deadline)
{
    std::size_t number = 0;
    for (auto &[address, finding] : m_findings) {
        if (finding.isHeld)
            continue;
        if (Clock::now() >= deadline)
            return;
        finding.isAsked = ask(address) || finding.isAsked;
        if (++number % BatchSize == 0)
            collectUntil(std::min(deadline, Clock::now() + BatchPause));
    }
}

bool Probe::ask(std::uint32_t address)
{
    const bool isNear =
        std::any_of(m_links.begin(), m_links.end(),
                    [address](const NetworkInterface &interface) { return interface.isOnSubnet(address); });
    bool isAsked = false;
    for (const auto &asker : m_arp)
        isAsked = asker->ask(address) || isAsked;
    if (m_arp.empty())
        isAsked = askNeighbours(address, isNear) || isAsked;
    if (!isNear)
        isAsked = askByRoutes(address) || isAsked;
    return isAsked;
}

bool Probe::askNeighbours(std::uint32_t address, bool isNear)
{
    bool isAsked = false;
    for (const NetworkInterface &interface : m_links) {
        if ((isNear && !interface.isOnSubnet(address)) || !m_datagrams.ask(address, interface.index))
            continue;
        isAsked = true;
        m_neighboursAsked.insert({interface.index, address});
        m_anyPinged = (m_pings.isReady() && m_pings.ask(address, interface.index)) || m_anyPinged;
    }
    return isAsked;
}

bool Probe::askByRoutes(std::uint32_t address)
{
    if (!m_datagrams.ask(address, 0))
        return false;
    m_anyRouted = true;
    m_anyPinged = (m_pings.isReady() && m_pings.ask(address, 0)) || m_anyPinged;
    return true;
}

void Probe::collectUntil(Clock::time_point deadline)
{
    std::vector<pollfd> waiting;
    for (const auto &asker : m_arp)
        waiting.push_back({asker->descriptor(), POLLIN, 0});
    for (const DatagramAsker *asker : {&m_datagrams, &m_pings})
        waiting.push_back({asker->descriptor(), POLLIN, 0}); // one that is not open is -1, and left out
    for (;;) {
        collect();
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() <= 0 || isDone())
            return;
        ::poll(waiting.data(), waiting.size(), static_cast<int>(left.count()));
    }
}

void Probe::collect()
{
    for (const auto &asker : m_arp)
        asker->collect(m_findings);
    m_datagrams.collect(m_findings);
    m_pings.collect(m_findings);
}

void Probe::readTable()
{
    if (m_neighboursAsked.empty())
        return;
    const auto since = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - m_start);
    const Neighbours now = readNeighbours().value_or(Neighbours());
    for (auto &each : m_findings)
        each.second.isDoubtful = false;
    for (const auto &asked : m_neighboursAsked) {
        const auto entryIn = [&asked](const Neighbours &neighbours) {
            const auto entry = neighbours.find(asked);
            return entry == neighbours.end() ? nullptr : &entry->second;
        };
        const Neighbour *entry = entryIn(now);
        const auto answered = hasAnswered(entryIn(m_before), entry, since);
        Finding &finding = m_findings[asked.second];
        if (answered.value_or(finding.isHeld) && entry != nullptr && entry->mac)
            addHolder(m_findings, asked.second, entry->mac);
        finding.isDoubtful = !answered || finding.isDoubtful;
    }
}

bool Probe::isOwn(std::uint32_t address) const
{
    const auto &interfaces = m_transport.localInterfaces();
    return std::any_of(interfaces.begin(), interfaces.end(), [address](const NetworkInterface &interface) {
        return interface.hasAddress(address);
    });
}

bool Probe::isDone() const
{
    return std::all_of(m_findings.begin(), m_findings.end(),
                       [](const auto &each) { return each.second.isHeld && each.second.mac; });
}

QString Probe::how() const
{
    QStringList ways;
    if (!m_findings.empty() && !m_arp.empty())
        ways << QStringLiteral("ARP");
    if (!m_neighboursAsked.empty())
        ways << QStringLiteral("the neighbour table");
    if (m_anyPinged)
        ways << QStringLiteral("ping");
    if (m_anyRouted)
        ways << QStringLiteral("a routed datagram");
    if (ways.isEmpty())
        return QString();
    const QString last = ways.takeLast();
    return QStringLiteral("by ") +
           (ways.isEmpty() ? last : ways.join(QStringLiteral(", ")) + QStringLiteral(" and ") + last);
}

} // namespace

ProbeResult probeAddresses(const std::vector<std::uint32_t> &addresses, const Transport &transport)
{
    return Probe(transport).run(addresses);
}
