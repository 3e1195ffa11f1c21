#include "interfacequeries.h"

#include "support/descriptors.h"
#include "support/namespaces.h"
#include "support/network.h"
#include "support/texts.h"

#include <QtTest/QtTest>

#include <arpa/inet.h>
#include <net/if.h>
#include <unistd.h>

#include <cstring>

// Everything here happens in the test's own network namespace. In it "eth0" and "aux0" are virtual cables
// whose other ends are "far0" and "far1"; each test configures them.

namespace
{

// The interface chosen for a peer; "(untouched)" when the buffer was not written.
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

    void interfaceIsChosen_data();
    void interfaceIsChosen();
    void ownAddressesAreThoseOfAllInterfaces();
    void descriptorsAreClosed();

    void ethQueriesTellTheSettings();
    void ethQueriesAreZeroWithoutAddress();
    void ethSettersChangeTheInterface();
    void ethOperationsAreZeroWithoutTheInterface();
    void ethOperationsAreZeroWithoutADescriptor();
};

void InterfaceQueriesTest::init()
{
    QVERIFY(ip("link add name eth0 address 02:00:5e:10:00:01 type veth peer name far0"));
    QVERIFY(ip("link add name aux0 type veth peer name far1"));
    // The kernel lists them in this order.
    QVERIFY(if_nametoindex("eth0") < if_nametoindex("aux0"));
    for (const char *name : {"eth0", "far0", "aux0", "far1"})
        QVERIFY(ip(QByteArray("link set ").append(name).append(" up").constData()));
}

void InterfaceQueriesTest::cleanup()
{
    QVERIFY(ip("link set lo down"));
    QVERIFY(ip("addr flush dev lo scope global"));
    for (const char *name : {"eth0", "aux0"}) {
        if (if_nametoindex(name) != 0)
            QVERIFY(ip(QByteArray("link del ").append(name).constData()));
    }
}

void InterfaceQueriesTest::interfaceIsChosen_data()
{
    QTest::addColumn<QStringList>("situation"); // as commands of ip
    QTest::addColumn<QByteArray>("peer");
    QTest::addColumn<QByteArray>("interface");
    const auto row = [](const char *name, const QStringList &situation, const char *peer,
                        const char *interface) {
        QTest::newRow(name) << situation << QByteArray(peer) << QByteArray(interface);
    };
    const QStringList wide = lines({"addr add 10.1.0.1/16 dev eth0", "addr add 192.168.7.1/24 dev aux0"});
    row("subnet of the first", wide, "10.1.200.3", "eth0");
    row("subnet of the second", wide, "192.168.7.9", "aux0");
    row("own address", wide, "192.168.7.1", "aux0");

    const QStringList narrow = lines({"addr add 172.16.0.1/30 dev eth0", "addr add 10.1.1.100/26 dev aux0"});
    row("below the subnet", narrow, "10.1.1.63", "eth0");
    row("network address", narrow, "10.1.1.64", "aux0");
    row("broadcast address", narrow, "10.1.1.127", "aux0");
    row("above the subnet", narrow, "10.1.1.128", "eth0");
    row("an octet away", narrow, "10.2.1.100", "eth0");
    row("top bit set", narrow, "200.1.1.100", "eth0");

    // The kernel itself would send from eth0.
    row("subnet against route",
        lines({"addr add 172.16.0.1/24 dev eth0", "addr add 10.1.0.1/16 dev aux0",
               "route add 10.1.0.9/32 via 172.16.0.2 dev eth0 src 172.16.0.1"}),
        "10.1.0.9", "aux0");
    row("second address of an interface",
        lines({"addr add 172.16.0.1/24 dev eth0", "addr add 192.168.7.1/24 dev aux0",
               "addr add 10.1.0.1/16 dev aux0"}),
        "10.1.0.9", "aux0");
    row("wider subnet that comes first",
        lines({"addr add 10.1.0.1/16 dev eth0", "addr add 10.1.1.1/24 dev aux0"}), "10.1.1.9", "eth0");

    const QStringList routed =
        lines({"addr add 172.16.0.1/24 dev eth0", "addr add 192.168.7.1/24 dev aux0",
               "route add 10.0.0.0/8 via 192.168.7.254", "route add default via 172.16.0.254",
               "route add 12.0.0.0/8 via 172.16.0.254 dev eth0 src 192.168.7.1"});
    row("behind a router", routed, "10.5.5.5", "aux0");
    row("by the default route", routed, "11.5.5.5", "eth0");
    row("by the source address, not the way out", routed, "12.5.5.5", "aux0");

    row("no route, the first but the loopback", QStringList(latin1("link set lo up")) + wide, "11.5.5.5",
        "eth0");
    row("no route, one without address", lines({"addr add 192.168.7.1/24 dev aux0"}), "10.1.0.9", "aux0");
    row("no route, one with IPv6 alone",
        lines({"-6 addr add fd00::1/64 dev eth0 nodad", "addr add 192.168.7.1/24 dev aux0"}), "10.1.0.9",
        "aux0");
    row("IPv6 alone", lines({"-6 addr add fd00::1/64 dev eth0 nodad"}), "10.1.0.9", "(untouched)");
    row("loopback alone", lines({"link set lo up"}), "10.5.5.5", "(untouched)");
    row("loopback with an address of its own", lines({"link set lo up", "addr add 10.77.0.1/32 dev lo"}),
        "10.5.5.5", "lo");
    row("peer on the loopback", QStringList(latin1("link set lo up")) + wide, "127.0.0.1", "lo");

    const QStringList zeroFirst =
        lines({"addr add 172.16.0.1/0 dev eth0", "addr add 192.168.7.1/24 dev aux0"});
    row("netmask of zero", zeroFirst, "10.5.5.5", "eth0");
    row("netmask of zero, last peer", zeroFirst, "255.255.255.255", "eth0");
    row("netmask of zero, no peer", zeroFirst, "0.0.0.0", "eth0");
    row("netmask of zero that comes first", zeroFirst, "192.168.7.9", "eth0");
    const QStringList zeroLater =
        lines({"addr add 172.16.0.1/0 dev aux0", "addr add 192.168.7.1/24 dev eth0"});
    row("netmask of zero that comes later", zeroLater, "192.168.7.9", "eth0");
    row("netmask of zero that comes later, alone", zeroLater, "192.168.8.9", "aux0");

    row("the right one is down", wide + QStringList(latin1("link set eth0 down")), "10.1.0.9", "aux0");
    const QStringList down = wide + lines({"link set eth0 down", "link set aux0 down"});
    row("all down", down, "10.1.0.9", "(untouched)");
    row("all down, peer on the loopback", down, "127.0.0.1", "(untouched)");
}

void InterfaceQueriesTest::interfaceIsChosen()
{
    QFETCH(QStringList, situation);
    QFETCH(QByteArray, peer);
    for (const QString &command : situation)
        QVERIFY(ip(qPrintable(command)));
    QTEST(interfaceFor(peer.constData()), "interface");
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
    // Another host, a reversed address, the broadcast address of an own subnet, and no address.
    for (const char *foreign : {"10.1.0.3", "1.0.1.10", "10.1.255.255", "0.0.0.0"})
        QVERIFY2(!isOwnAddress(inet_addr(foreign)), foreign);
}

void InterfaceQueriesTest::descriptorsAreClosed()
{
    interfaceFor("10.1.0.9"); // leaves one open, which tells of changes
    const int before = openDescriptors();
    interfaceFor("10.1.0.9");
    ethIpAddress();
    ethSetIpAddress(0x0A010001u);
    interfaceFor("10.1.0.9");
    QVERIFY(ip("link del eth0"));
    ethIpAddress();
    interfaceFor("10.1.0.9");
    QCOMPARE(openDescriptors(), before);
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

void InterfaceQueriesTest::ethOperationsAreZeroWithoutADescriptor()
{
    QVERIFY(ip("addr add 192.168.7.1/20 dev eth0"));
    unsigned char mac[6];
    {
        const NoMoreDescriptors limit;
        QCOMPARE(ethMacAddress(mac), 0u);
        QCOMPARE(ethIpAddress(), 0u);
        QCOMPARE(ethSetIpAddress(0x0A010203u), 0u);
        QCOMPARE(ethNetmask(), 0u);
        QCOMPARE(ethSetNetmask(0xFFFFFF00u), 0u);
    }
    QCOMPARE(ethIpAddress(), 0xC0A80701u);
}

int main(int argc, char **argv)
{
    enterOwnNetworkNamespace();
    QCoreApplication application(argc, argv);
    InterfaceQueriesTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "interfacequeriestest.moc"
