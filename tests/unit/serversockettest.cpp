#include "serversocket.h"

#include "mvdpdatagram.h"
#include "support/messagecatcher.h"
#include "support/namespaces.h"
#include "support/texts.h"

#include <QtCore/QFile>
#include <QtCore/QSysInfo>
#include <QtTest/QtTest>

#include <arpa/inet.h>
#include <linux/if_packet.h>
#include <net/ethernet.h>
#include <net/if.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <memory>

// Runs in its own network namespace, with the loopback and "eth0" at 10.1.0.1, a virtual cable.

namespace
{

// A UDP socket of a configuration tool.
class Tool
{
public:
    Tool()
        : m_descriptor(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in local = address("0.0.0.0", 0);
        if (::bind(m_descriptor, reinterpret_cast<sockaddr *>(&local), sizeof local) != 0)
            qFatal("No socket for the tool");
        const timeval patience = {60, 0};
        ::setsockopt(m_descriptor, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    }
    ~Tool() { ::close(m_descriptor); }
    Tool(const Tool &) = delete;
    Tool &operator=(const Tool &) = delete;

    static sockaddr_in address(const char *text, quint16 port)
    {
        sockaddr_in result;
        std::memset(&result, 0, sizeof result);
        result.sin_family = AF_INET;
        result.sin_addr.s_addr = inet_addr(text);
        result.sin_port = htons(port);
        return result;
    }

    quint16 port() const
    {
        sockaddr_in local;
        socklen_t length = sizeof local;
        ::getsockname(m_descriptor, reinterpret_cast<sockaddr *>(&local), &length);
        return ntohs(local.sin_port);
    }

    bool send(const QByteArray &bytes, const char *destination) const
    {
        const sockaddr_in to = address(destination, 58553);
        return ::sendto(m_descriptor, bytes.constData(), static_cast<size_t>(bytes.size()), 0,
                        reinterpret_cast<const sockaddr *>(&to), sizeof to) == bytes.size();
    }

    QByteArray receive() const
    {
        char bytes[1000];
        const ssize_t received = ::recv(m_descriptor, bytes, sizeof bytes, 0);
        return received < 0 ? QByteArray("nothing") : QByteArray(bytes, static_cast<int>(received));
    }

private:
    const int m_descriptor;
};

// Listens at the far end of the cable.
class Cable
{
public:
    Cable()
        : m_descriptor(::socket(AF_PACKET, SOCK_DGRAM | SOCK_CLOEXEC, htons(ETH_P_IP)))
    {
        sockaddr_ll end;
        std::memset(&end, 0, sizeof end);
        end.sll_family = AF_PACKET;
        end.sll_protocol = htons(ETH_P_IP);
        end.sll_ifindex = static_cast<int>(if_nametoindex("far0"));
        m_ready = ::bind(m_descriptor, reinterpret_cast<sockaddr *>(&end), sizeof end) == 0;
        const timeval patience = {60, 0};
        ::setsockopt(m_descriptor, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    }
    ~Cable() { ::close(m_descriptor); }
    Cable(const Cable &) = delete;
    Cable &operator=(const Cable &) = delete;
    bool isReady() const { return m_ready; }

    // The next UDP packet to the port, from its IP header on; other packets are skipped.
    QByteArray udpPacketTo(quint16 port) const
    {
        const QByteArray wanted = QByteArray::number(port, 16).rightJustified(4, '0');
        for (;;) {
            char bytes[2000];
            const ssize_t received = ::recv(m_descriptor, bytes, sizeof bytes, 0);
            if (received < 0)
                return QByteArray();
            QByteArray packet(bytes, static_cast<int>(received));
            if (packet.mid(9, 1) == QByteArray(1, IPPROTO_UDP) && packet.mid(22, 2).toHex() == wanted)
                return packet;
        }
    }

private:
    const int m_descriptor;
    bool m_ready;
};

QByteArray bytesOf(const MvdpDatagram &datagram)
{
    return QByteArray(reinterpret_cast<const char *>(datagram.data()), 256);
}

QByteArray contentOf(const char *path)
{
    QFile file(latin1(path));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class ServerSocketTest : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup() { m_socket.reset(); }

    void listensOnItsPortAndInTheGroupUntilItGoes();
    void portIsNotShared();
    void shortDatagramLeavesTheRestOfTheBuffer();
    void longDatagramIsCut();
    void emptyDatagramIsNone();
    void datagramToTheGroupIsReceived();
    void senderIsTold();
    void wholeDatagramIsSent();
    void sentToTheGroupItCrossesSixteenRouters();
    void sentToTheGroupItIsHeardHere();
    void broadcastIsRefused();

private:
    // Sends to the socket and lets it receive into the buffer.
    bool receive(const QByteArray &bytes, const char *destination = "127.0.0.1");

    std::unique_ptr<ServerSocket> m_socket;
    Tool m_tool;
    MvdpDatagram m_buffer; // full of EE at first
    sockaddr_in m_sender;
};

void ServerSocketTest::initTestCase()
{
    for (const char *command :
         {"link set lo up", "link add name eth0 type veth peer name far0", "link set far0 up",
          "link set eth0 up", "addr add 10.1.0.1/16 dev eth0", "route add default dev eth0"})
        QVERIFY(runProgram(latin1("ip"), latin1(command).split(QLatin1Char(' '))));
}

void ServerSocketTest::init()
{
    m_socket.reset(new ServerSocket);
    std::memset(m_buffer.data(), 0xEE, 256);
    std::memset(&m_sender, 0, sizeof m_sender);
}

bool ServerSocketTest::receive(const QByteArray &bytes, const char *destination)
{
    return m_tool.send(bytes, destination) && m_socket->receive(m_buffer, m_sender);
}

void ServerSocketTest::listensOnItsPortAndInTheGroupUntilItGoes()
{
    m_socket.reset();
    MessageCatcher messages;
    m_socket.reset(new ServerSocket);
    QCOMPARE(messages.take(), QStringList());
    // Port 58553 of all addresses, and 224.0.5.128 as the kernel prints it on a little-endian machine.
    const QByteArray port = ": 00000000:E4B9 00000000:0000";
    const QByteArray group = QSysInfo::ByteOrder == QSysInfo::LittleEndian ? "800500E0" : "E0000580";
    QVERIFY2(contentOf("/proc/net/udp").contains(port), contentOf("/proc/net/udp").constData());
    QVERIFY2(contentOf("/proc/net/igmp").contains(group), contentOf("/proc/net/igmp").constData());
    m_socket.reset();
    QVERIFY(!contentOf("/proc/net/udp").contains(port));
    QVERIFY(!contentOf("/proc/net/igmp").contains(group));
}

void ServerSocketTest::portIsNotShared()
{
    const int other = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const int on = 1;
    ::setsockopt(other, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    const sockaddr_in local = Tool::address("0.0.0.0", 58553);
    const int result = ::bind(other, reinterpret_cast<const sockaddr *>(&local), sizeof local);
    ::close(other);
    QCOMPARE(result, -1);
    // A second server does not fail either, but the first one gets the datagrams.
    MessageCatcher messages;
    const ServerSocket second;
    const QStringList told = messages.take();
    QCOMPARE(told.size(), 1);
    QCOMPARE(told.first(), latin1("Cannot listen on UDP port 58553: \"Address already in use\" by process %1 "
                                  "(test of sockets) of user %2")
                               .arg(::getpid())
                               .arg(::geteuid()));
    QVERIFY(receive("x"));
}

void ServerSocketTest::shortDatagramLeavesTheRestOfTheBuffer()
{
    QVERIFY(receive("abc"));
    QCOMPARE(bytesOf(m_buffer), "abc" + QByteArray(253, '\xEE'));
    QVERIFY(receive("X"));
    QCOMPARE(bytesOf(m_buffer), "Xbc" + QByteArray(253, '\xEE'));
}

void ServerSocketTest::longDatagramIsCut()
{
    struct {
        MvdpDatagram datagram;
        char behind[4] = {'s', 'a', 'f', 'e'};
    } buffer;
    for (const int size : {256, 257, 1400, 60000}) {
        QVERIFY(m_tool.send(QByteArray(size, 'l'), "127.0.0.1"));
        QVERIFY(m_socket->receive(buffer.datagram, m_sender));
        QCOMPARE(bytesOf(buffer.datagram), QByteArray(256, 'l'));
        QCOMPARE(QByteArray(buffer.behind, 4), QByteArray("safe"));
    }
    // The bytes cut off are not received as another datagram.
    QVERIFY(receive("next"));
    QCOMPARE(bytesOf(m_buffer).left(4), QByteArray("next"));
}

void ServerSocketTest::emptyDatagramIsNone()
{
    QVERIFY(!receive(""));
    QCOMPARE(bytesOf(m_buffer), QByteArray(256, '\xEE'));
}

void ServerSocketTest::datagramToTheGroupIsReceived()
{
    QVERIFY(receive("to all", "224.0.5.128"));
    QCOMPARE(bytesOf(m_buffer).left(6), QByteArray("to all"));
}

void ServerSocketTest::senderIsTold()
{
    QVERIFY(receive("x"));
    QCOMPARE(ntohl(m_sender.sin_addr.s_addr), 0x7F000001u);
    QCOMPARE(ntohs(m_sender.sin_port), m_tool.port());
    QCOMPARE(int(m_sender.sin_family), AF_INET);
}

void ServerSocketTest::wholeDatagramIsSent()
{
    MvdpDatagram datagram;
    for (int i = 0; i < 256; ++i)
        datagram.data()[i] = static_cast<std::uint8_t>(i);
    QVERIFY(m_socket->send(datagram, Tool::address("127.0.0.1", m_tool.port())));
    QCOMPARE(m_tool.receive(), bytesOf(datagram));
}

void ServerSocketTest::sentToTheGroupItCrossesSixteenRouters()
{
    const Cable cable;
    QVERIFY(cable.isReady());
    QVERIFY(m_socket->send(MvdpDatagram(), Tool::address("224.0.5.128", 40123)));
    // An IPv4 header of 20 bytes: time to live at 8, destination at 16; then the UDP header of 8.
    const QByteArray packet = cable.udpPacketTo(40123);
    QCOMPARE(packet.size(), 20 + 8 + 256);
    QCOMPARE(int(packet.at(8)), 16);
    QCOMPARE(packet.mid(16, 4), QByteArray::fromHex("E0000580"));
    QCOMPARE(packet.mid(20, 4), QByteArray::fromHex("E4B99CBB")); // from port 58553 to 40123
}

// A tool on the panel itself can be a member of the group too.
void ServerSocketTest::sentToTheGroupItIsHeardHere()
{
    QVERIFY(m_socket->send(m_buffer, Tool::address("224.0.5.128", m_tool.port())));
    QCOMPARE(m_tool.receive(), bytesOf(m_buffer));
}

// Because of this refusal replies to other subnets go to the group.
void ServerSocketTest::broadcastIsRefused()
{
    QVERIFY(!m_socket->send(MvdpDatagram(), Tool::address("255.255.255.255", 40000)));
}

int main(int argc, char **argv)
{
    enterOwnNetworkNamespace();
    ::prctl(PR_SET_NAME, "test of sockets");
    QCoreApplication application(argc, argv);
    ServerSocketTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "serversockettest.moc"
