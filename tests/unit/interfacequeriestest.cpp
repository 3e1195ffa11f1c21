#include "interfacequeries.h"

#include "support/namespaces.h"

#include <QtTest/QtTest>

#include <cstring>

#include <arpa/inet.h>
#include <net/if.h>
#include <unistd.h>

// Everything here happens in a network namespace of the test's own. There, "eth0" and "aux0" are virtual
// cables whose other ends are "far0" and "far1"; each test gives them what it needs.

namespace
{

bool ip(const char *arguments)
{
    return runProgram(QStringLiteral("ip"), QString::fromLatin1(arguments).split(QLatin1Char(' ')));
}

// The interface chosen for a peer; "(untouched)" when the buffer was left as it was.
QByteArray interfaceFor(const char *peer)
{
    char name[256];
    std::memset(name, '\x7F', sizeof name);
    const quint32 result = findInterfaceForPeer(inet_addr(peer), name);
    if (result != 1)
        return "(result " + QByteArray::number(result) + ')';
    if (name[0] == '\x7F')
        return "(untouched)";
    return QByteArray(name);
}

} // namespace

class InterfaceQueriesTest : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void cleanup();

    void peerOnTheSubnetOfAnInterfaceYieldsIt();
    void subnetEndsWithItsBroadcastAddress_data();
    void subnetEndsWithItsBroadcastAddress();
    void subnetWinsOverTheRoute();
    void secondAddressOfAnInterfaceCounts();
    void firstOfTwoFittingSubnetsWins();
    void peerBehindARouterYieldsTheInterfaceOfTheSourceAddress();
    void withoutARouteTheFirstInterfaceThatIsNotLoopbackIsChosen();
    void withoutARouteLoopbackAloneIsNotChosen();
    void netmaskOfZeroMatchesEveryPeer();
    void netmaskOfZeroWinsOnlyIfItComesFirst();
    void interfaceThatIsDownIsNeverChosen();
    void interfaceWithoutAddressIsNeverChosen();
    void interfaceWithIpv6AloneIsNeverChosen();
    void withNothingUpTheBufferIsLeftAlone();
    void loopbackPeerYieldsLoopback();
    void ownAddressesAreThoseOfAllInterfaces();
    void descriptorsAreClosed();

    void ethQueriesTellTheSettings();
    void ethQueriesAreZeroWithoutAddress();
    void ethSettersChangeTheInterface();
    void ethOperationsAreZeroWithoutTheInterface();
};

void InterfaceQueriesTest::init()
{
    QVERIFY(ip("link add name eth0 address 02:00:5e:10:00:01 type veth peer name far0"));
    QVERIFY(ip("link add name aux0 type veth peer name far1"));
    for (const char *name : {"eth0", "far0", "aux0", "far1"})
        QVERIFY(ip(QByteArray("link set ").append(name).append(" up").constData()));
}

void InterfaceQueriesTest::cleanup()
{
    QVERIFY(ip("link set lo down"));
    for (const char *name : {"eth0", "aux0"}) {
        if (if_nametoindex(name) != 0)
            QVERIFY(ip(QByteArray("link del ").append(name).constData()));
    }
}

void InterfaceQueriesTest::peerOnTheSubnetOfAnInterfaceYieldsIt()
{
    QVERIFY(ip("addr add 10.1.0.1/16 dev eth0"));
    QVERIFY(ip("addr add 192.168.7.1/24 dev aux0"));
    QCOMPARE(interfaceFor("10.1.200.3"), QByteArray("eth0"));
    QCOMPARE(interfaceFor("192.168.7.9"), QByteArray("aux0"));
    QCOMPARE(interfaceFor("192.168.7.1"), QByteArray("aux0"));
}

void InterfaceQueriesTest::subnetEndsWithItsBroadcastAddress_data()
{
    QTest::addColumn<QByteArray>("peer");
    QTest::addColumn<QByteArray>("interface");
    QTest::newRow("below") << QByteArray("10.1.1.63") << QByteArray("eth0");
    QTest::newRow("network address") << QByteArray("10.1.1.64") << QByteArray("aux0");
    QTest::newRow("broadcast address") << QByteArray("10.1.1.127") << QByteArray("aux0");
    QTest::newRow("above") << QByteArray("10.1.1.128") << QByteArray("eth0");
    QTest::newRow("an octet away") << QByteArray("10.2.1.100") << QByteArray("eth0");
    QTest::newRow("top bit set") << QByteArray("200.1.1.100") << QByteArray("eth0");
}

void InterfaceQueriesTest::subnetEndsWithItsBroadcastAddress()
{
    QFETCH(QByteArray, peer);
    QVERIFY(ip("addr add 172.16.0.1/30 dev eth0"));
    QVERIFY(ip("addr add 10.1.1.100/26 dev aux0"));
    QTEST(interfaceFor(peer.constData()), "interface");
}

void InterfaceQueriesTest::subnetWinsOverTheRoute()
{
    QVERIFY(ip("addr add 172.16.0.1/24 dev eth0"));
    QVERIFY(ip("addr add 10.1.0.1/16 dev aux0"));
    // The kernel itself would send from eth0.
    QVERIFY(ip("route add 10.1.0.9/32 via 172.16.0.2 dev eth0 src 172.16.0.1"));
    QCOMPARE(interfaceFor("10.1.0.9"), QByteArray("aux0"));
}

void InterfaceQueriesTest::secondAddressOfAnInterfaceCounts()
{
    QVERIFY(ip("addr add 172.16.0.1/24 dev eth0"));
    QVERIFY(ip("addr add 192.168.7.1/24 dev aux0"));
    QVERIFY(ip("addr add 10.1.0.1/16 dev aux0"));
    QCOMPARE(interfaceFor("10.1.0.9"), QByteArray("aux0"));
}

void InterfaceQueriesTest::firstOfTwoFittingSubnetsWins()
{
    // aux0 has the narrower subnet, but comes later in the kernel's list.
    QVERIFY(ip("addr add 10.1.0.1/16 dev eth0"));
    QVERIFY(ip("addr add 10.1.1.1/24 dev aux0"));
    const bool ethFirst = if_nametoindex("eth0") < if_nametoindex("aux0");
    QCOMPARE(interfaceFor("10.1.1.9"), QByteArray(ethFirst ? "eth0" : "aux0"));
}

void InterfaceQueriesTest::peerBehindARouterYieldsTheInterfaceOfTheSourceAddress()
{
    QVERIFY(ip("addr add 172.16.0.1/24 dev eth0"));
    QVERIFY(ip("addr add 192.168.7.1/24 dev aux0"));
    QVERIFY(ip("route add 10.0.0.0/8 via 192.168.7.254"));
    QVERIFY(ip("route add default via 172.16.0.254"));
    QCOMPARE(interfaceFor("10.5.5.5"), QByteArray("aux0"));
    QCOMPARE(interfaceFor("11.5.5.5"), QByteArray("eth0"));
    // The source address decides, not the way out.
    QVERIFY(ip("route add 12.0.0.0/8 via 172.16.0.254 dev eth0 src 192.168.7.1"));
    QCOMPARE(interfaceFor("12.5.5.5"), QByteArray("aux0"));
}

void InterfaceQueriesTest::withoutARouteTheFirstInterfaceThatIsNotLoopbackIsChosen()
{
    QVERIFY(ip("link set lo up"));
    QVERIFY(ip("addr add 172.16.0.1/24 dev eth0"));
    QVERIFY(ip("addr add 192.168.7.1/24 dev aux0"));
    const bool ethFirst = if_nametoindex("eth0") < if_nametoindex("aux0");
    QCOMPARE(interfaceFor("10.5.5.5"), QByteArray(ethFirst ? "eth0" : "aux0"));
    QVERIFY(ip("addr flush dev eth0"));
    QCOMPARE(interfaceFor("10.5.5.5"), QByteArray("aux0"));
}

void InterfaceQueriesTest::withoutARouteLoopbackAloneIsNotChosen()
{
    QVERIFY(ip("link set lo up"));
    QCOMPARE(interfaceFor("10.5.5.5"), QByteArray("(untouched)"));
    // Only for its usual address.
    QVERIFY(ip("addr add 10.77.0.1/32 dev lo"));
    QCOMPARE(interfaceFor("10.5.5.5"), QByteArray("lo"));
    QVERIFY(ip("addr del 10.77.0.1/32 dev lo"));
}

void InterfaceQueriesTest::netmaskOfZeroMatchesEveryPeer()
{
    QVERIFY(ip("addr add 172.16.0.1/0 dev eth0"));
    QCOMPARE(interfaceFor("10.5.5.5"), QByteArray("eth0"));
    QCOMPARE(interfaceFor("255.255.255.255"), QByteArray("eth0"));
    QCOMPARE(interfaceFor("0.0.0.0"), QByteArray("eth0"));
}

void InterfaceQueriesTest::netmaskOfZeroWinsOnlyIfItComesFirst()
{
    const bool ethFirst = if_nametoindex("eth0") < if_nametoindex("aux0");
    QVERIFY(ip("addr add 172.16.0.1/0 dev eth0"));
    QVERIFY(ip("addr add 192.168.7.1/24 dev aux0"));
    QCOMPARE(interfaceFor("192.168.7.9"), QByteArray(ethFirst ? "eth0" : "aux0"));
    QCOMPARE(interfaceFor("192.168.8.9"), QByteArray("eth0"));

    QVERIFY(ip("addr flush dev eth0"));
    QVERIFY(ip("addr flush dev aux0"));
    QVERIFY(ip("addr add 172.16.0.1/0 dev aux0"));
    QVERIFY(ip("addr add 192.168.7.1/24 dev eth0"));
    QCOMPARE(interfaceFor("192.168.7.9"), QByteArray(ethFirst ? "eth0" : "aux0"));
    QCOMPARE(interfaceFor("192.168.8.9"), QByteArray("aux0"));
}

void InterfaceQueriesTest::interfaceThatIsDownIsNeverChosen()
{
    QVERIFY(ip("addr add 10.1.0.1/16 dev eth0"));
    QVERIFY(ip("addr add 192.168.7.1/24 dev aux0"));
    QVERIFY(ip("link set eth0 down"));
    QCOMPARE(interfaceFor("10.1.0.9"), QByteArray("aux0"));
    QVERIFY(ip("link set aux0 down"));
    QCOMPARE(interfaceFor("10.1.0.9"), QByteArray("(untouched)"));
}

void InterfaceQueriesTest::interfaceWithoutAddressIsNeverChosen()
{
    QVERIFY(ip("addr add 192.168.7.1/24 dev aux0"));
    QCOMPARE(interfaceFor("10.1.0.9"), QByteArray("aux0"));
}

void InterfaceQueriesTest::interfaceWithIpv6AloneIsNeverChosen()
{
    QVERIFY(ip("-6 addr add fd00::1/64 dev eth0 nodad"));
    QCOMPARE(interfaceFor("10.1.0.9"), QByteArray("(untouched)"));
    QVERIFY(ip("addr add 192.168.7.1/24 dev aux0"));
    QCOMPARE(interfaceFor("10.1.0.9"), QByteArray("aux0"));
}

void InterfaceQueriesTest::withNothingUpTheBufferIsLeftAlone()
{
    for (const char *name : {"eth0", "aux0", "far0", "far1"})
        QVERIFY(ip(QByteArray("link set ").append(name).append(" down").constData()));
    QCOMPARE(interfaceFor("10.1.0.9"), QByteArray("(untouched)"));
    QCOMPARE(interfaceFor("127.0.0.1"), QByteArray("(untouched)"));
}

void InterfaceQueriesTest::loopbackPeerYieldsLoopback()
{
    QVERIFY(ip("link set lo up"));
    QVERIFY(ip("addr add 192.168.7.1/24 dev aux0"));
    QCOMPARE(interfaceFor("127.0.0.1"), QByteArray("lo"));
}

void InterfaceQueriesTest::ownAddressesAreThoseOfAllInterfaces()
{
    QVERIFY(ip("link set lo up"));
    QVERIFY(ip("addr add 10.1.0.1/16 dev eth0"));
    QVERIFY(ip("addr add 10.1.0.2/16 dev eth0"));
    QVERIFY(ip("addr add 192.168.7.1/24 dev aux0"));
    QVERIFY(ip("link set aux0 down"));
    for (const char *own : {"127.0.0.1", "10.1.0.1", "10.1.0.2", "192.168.7.1"})
        QVERIFY2(isOwnAddress(inet_addr(own)), own);
    // Another host, a reversed address, the broadcast address of an own subnet, and none at all.
    for (const char *foreign : {"10.1.0.3", "1.0.1.10", "10.1.255.255", "0.0.0.0"})
        QVERIFY2(!isOwnAddress(inet_addr(foreign)), foreign);
}

void InterfaceQueriesTest::descriptorsAreClosed()
{
    const int before = ::dup(0);
    ::close(before);
    interfaceFor("10.1.0.9");
    ethIpAddress();
    ethSetIpAddress(0x0A010001u);
    QVERIFY(ip("link del eth0"));
    ethIpAddress();
    const int after = ::dup(0);
    ::close(after);
    QCOMPARE(after, before);
}

void InterfaceQueriesTest::ethQueriesTellTheSettings()
{
    QVERIFY(ip("addr add 192.168.7.1/20 dev eth0"));
    unsigned char mac[8] = {0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE};
    QCOMPARE(ethMacAddress(mac), 1u);
    QCOMPARE(QByteArray(reinterpret_cast<const char *>(mac), 8).toHex(), QByteArray("02005e100001eeee"));
    QCOMPARE(ethIpAddress(), 0xC0A80701u);
    QCOMPARE(ethNetmask(), 0xFFFFF000u);
}

void InterfaceQueriesTest::ethQueriesAreZeroWithoutAddress()
{
    QCOMPARE(ethIpAddress(), 0u);
    QCOMPARE(ethNetmask(), 0u);
    QCOMPARE(ethSetNetmask(0xFFFFFF00u), 0u);
}

void InterfaceQueriesTest::ethSettersChangeTheInterface()
{
    QCOMPARE(ethSetIpAddress(0x0A010203u), 1u); // 10.1.2.3
    QCOMPARE(ethIpAddress(), 0x0A010203u);
    QCOMPARE(ethSetNetmask(0xFFFFFE00u), 1u);
    QCOMPARE(ethNetmask(), 0xFFFFFE00u);
    QCOMPARE(ethIpAddress(), 0x0A010203u);
    QCOMPARE(interfaceFor("10.1.3.255"), QByteArray("eth0"));
    QCOMPARE(ethSetNetmask(0xFF00FF00u), 0u); // the kernel takes no mask with holes
}

void InterfaceQueriesTest::ethOperationsAreZeroWithoutTheInterface()
{
    QVERIFY(ip("link del eth0"));
    unsigned char mac[6] = {0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE};
    QCOMPARE(ethMacAddress(mac), 0u);
    QCOMPARE(QByteArray(reinterpret_cast<const char *>(mac), 6).toHex(), QByteArray("eeeeeeeeeeee"));
    QCOMPARE(ethIpAddress(), 0u);
    QCOMPARE(ethSetIpAddress(0x0A010203u), 0u);
    QCOMPARE(ethNetmask(), 0u);
    QCOMPARE(ethSetNetmask(0xFFFFFF00u), 0u);
}

int main(int argc, char **argv)
{
    enterOwnNetworkNamespace();
    QCoreApplication application(argc, argv);
    InterfaceQueriesTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "interfacequeriestest.moc"
