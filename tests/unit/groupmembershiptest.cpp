#include "groupmembership.h"

#include "support/descriptors.h"
#include "support/messagecatcher.h"
#include "support/namespaces.h"
#include "support/network.h"
#include "support/texts.h"

#include <QtCore/QFile>
#include <QtCore/QSysInfo>
#include <QtTest/QtTest>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <functional>
#include <memory>
#include <thread>

// Runs in its own network namespace, with "eth0" at 10.1.0.1 and, at the start of a test, no route to the
// group.

namespace
{

// 224.0.5.128 as the kernel prints it.
bool isInGroup()
{
    QFile file(latin1("/proc/net/igmp"));
    return file.open(QIODevice::ReadOnly) &&
           file.readAll().contains(QSysInfo::ByteOrder == QSysInfo::LittleEndian ? "800500E0" : "E0000580");
}

} // namespace

// Set by a test: runs once, just before the network is watched.
static std::function<void()> beforeWatching;

// Stands in for the C library's.
int bind(int socket, const sockaddr *address, socklen_t length) noexcept
{
    if (address->sa_family == AF_NETLINK && beforeWatching) {
        const std::function<void()> action = beforeWatching;
        beforeWatching = nullptr;
        action();
    }
    return static_cast<int>(::syscall(SYS_bind, socket, address, length));
}

class GroupMembershipTest : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();

    void withARouteItIsJoinedAtOnceAndNothingIsWatched();
    void withoutARouteTheReasonIsTold();
    void changeJustBeforeTheWatchIsNotMissed();
    void changeThatMattersJoins_data();
    void changeThatMattersJoins();
    void changeThatDoesNotMatterIsSilent();
    void datagramDoesNotWaitForTheGroup();
    void groupIsJoinedThoughDatagramsAreWaiting();
    void lostChangesCount();
    void withoutAWatchItIsTriedAgainInTime();
    void watchEndsWithTheObject();

private:
    void send();
    bool takeDatagram();

    int m_socket;
    int m_port;
    int m_descriptors; // open before a test
    std::unique_ptr<GroupMembership> m_membership;
    std::unique_ptr<MessageCatcher> m_messages;
};

const char Joined[] = "Joined multicast group 224.0.5.128";

void GroupMembershipTest::initTestCase()
{
    for (const char *command : {"link set lo up", "link add name eth0 type veth peer name far0",
                                "link set far0 up", "link set eth0 up", "addr add 10.1.0.1/16 dev eth0"})
        QVERIFY(ip(command));
}

void GroupMembershipTest::init()
{
    // Without a rule this table is not looked at.
    QVERIFY(ip("route replace 224.0.0.0/4 dev eth0 table 100"));
    m_socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in local;
    std::memset(&local, 0, sizeof local);
    local.sin_family = AF_INET;
    QVERIFY(::bind(m_socket, reinterpret_cast<const sockaddr *>(&local), sizeof local) == 0);
    socklen_t length = sizeof local;
    ::getsockname(m_socket, reinterpret_cast<sockaddr *>(&local), &length);
    m_port = local.sin_port;
    m_membership.reset(new GroupMembership(m_socket));
    m_descriptors = openDescriptors();
    m_messages.reset(new MessageCatcher);
}

void GroupMembershipTest::cleanup()
{
    m_messages.reset();
    m_membership.reset();
    ::close(m_socket);
    QVERIFY(ip("route flush root 224.0.0.0/4"));
}

void GroupMembershipTest::send()
{
    const int sender = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in to;
    std::memset(&to, 0, sizeof to);
    to.sin_family = AF_INET;
    to.sin_port = static_cast<in_port_t>(m_port);
    to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ::sendto(sender, "x", 1, 0, reinterpret_cast<const sockaddr *>(&to), sizeof to);
    ::close(sender);
}

bool GroupMembershipTest::takeDatagram()
{
    char byte;
    return ::recv(m_socket, &byte, 1, MSG_DONTWAIT) == 1;
}

void GroupMembershipTest::withARouteItIsJoinedAtOnceAndNothingIsWatched()
{
    QVERIFY(ip("route add 224.0.0.0/4 dev eth0"));
    QVERIFY(m_membership->join());
    QVERIFY(isInGroup());
    QCOMPARE(openDescriptors(), m_descriptors);
    // Does not wait for a datagram: there is none.
    m_membership->joinUntilReadable();
    QCOMPARE(m_messages->take(), QStringList());
}

void GroupMembershipTest::withoutARouteTheReasonIsTold()
{
    QVERIFY(!m_membership->join());
    QCOMPARE(errno, ENODEV);
    QVERIFY(!isInGroup());
    QCOMPARE(openDescriptors(), m_descriptors + 1);
}

void GroupMembershipTest::changeJustBeforeTheWatchIsNotMissed()
{
    bool changed = false;
    beforeWatching = [&changed]() { changed = ip("route add 224.0.0.0/4 dev eth0"); };
    QVERIFY(m_membership->join());
    QVERIFY(changed);
    QVERIFY(isInGroup());
    QCOMPARE(openDescriptors(), m_descriptors);
}

void GroupMembershipTest::changeThatMattersJoins_data()
{
    QTest::addColumn<QByteArray>("change");
    QTest::addColumn<QByteArray>("undo");
    QTest::newRow("route") << QByteArray("route add 224.0.0.0/4 dev eth0")
                           << QByteArray("route del 224.0.0.0/4");
    QTest::newRow("default route") << QByteArray("route add default via 10.1.0.2")
                                   << QByteArray("route del default");
    QTest::newRow("rule") << QByteArray("rule add to 224.0.0.0/4 table 100")
                          << QByteArray("rule del to 224.0.0.0/4 table 100");
}

// Nothing else ends the waiting: the datagram comes only when the group is joined.
void GroupMembershipTest::changeThatMattersJoins()
{
    QFETCH(QByteArray, change);
    QFETCH(QByteArray, undo);
    QVERIFY(!m_membership->join());
    std::thread waiting([this]() { m_membership->joinUntilReadable(); });
    const bool changed = ip(change.constData());
    const bool joined = QTest::qWaitFor(isInGroup, 60000);
    send();
    waiting.join();
    QVERIFY(changed);
    QVERIFY(ip(undo.constData()));
    QVERIFY(joined);
    QCOMPARE(m_messages->take(), lines({Joined}));
    QCOMPARE(openDescriptors(), m_descriptors);
    QVERIFY(takeDatagram());
}

void GroupMembershipTest::changeThatDoesNotMatterIsSilent()
{
    QVERIFY(!m_membership->join());
    for (int i = 0; i < 3; ++i) {
        QVERIFY(ip("addr add 10.1.0.7/16 dev eth0"));
        QVERIFY(ip("addr del 10.1.0.7/16 dev eth0"));
        send();
        m_membership->joinUntilReadable();
        QVERIFY(takeDatagram());
    }
    QCOMPARE(m_messages->take(), QStringList());
    QCOMPARE(openDescriptors(), m_descriptors + 1);
}

void GroupMembershipTest::datagramDoesNotWaitForTheGroup()
{
    QVERIFY(!m_membership->join());
    for (int i = 0; i < 3; ++i) {
        send();
        m_membership->joinUntilReadable();
        QVERIFY(takeDatagram());
    }
    QVERIFY(!isInGroup());
}

void GroupMembershipTest::groupIsJoinedThoughDatagramsAreWaiting()
{
    QVERIFY(!m_membership->join());
    QVERIFY(ip("route add 224.0.0.0/4 dev eth0"));
    send();
    m_membership->joinUntilReadable();
    QVERIFY(isInGroup());
    QVERIFY(takeDatagram());
    QCOMPARE(m_messages->take(), lines({Joined}));
}

// More changes than the kernel keeps for us; the one that matters is among those that it drops.
void GroupMembershipTest::lostChangesCount()
{
    QVERIFY(!m_membership->join());
    QVERIFY(changeTooMuch());
    send();
    m_membership->joinUntilReadable();
    QVERIFY(takeDatagram());
    QCOMPARE(openDescriptors(), m_descriptors + 1);

    QVERIFY(changeTooMuch("route add 224.0.0.0/4 dev eth0\n"));
    send();
    m_membership->joinUntilReadable();
    QVERIFY(isInGroup());
    QVERIFY(takeDatagram());
}

void GroupMembershipTest::withoutAWatchItIsTriedAgainInTime()
{
    {
        const NoMoreDescriptors limit;
        QVERIFY(!m_membership->join());
        QCOMPARE(errno, ENODEV);
    }
    QCOMPARE(openDescriptors(), m_descriptors);
    QVERIFY(ip("route add 224.0.0.0/4 dev eth0"));
    std::thread waiting([this]() { m_membership->joinUntilReadable(); });
    const bool joined = QTest::qWaitFor(isInGroup, 60000);
    send();
    waiting.join();
    QVERIFY(joined);
    QVERIFY(takeDatagram());
    QCOMPARE(m_messages->take(), lines({Joined}));
}

void GroupMembershipTest::watchEndsWithTheObject()
{
    QVERIFY(!m_membership->join());
    m_membership.reset();
    QCOMPARE(openDescriptors(), m_descriptors);
}

int main(int argc, char **argv)
{
    enterOwnNetworkNamespace();
    QCoreApplication application(argc, argv);
    GroupMembershipTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "groupmembershiptest.moc"
