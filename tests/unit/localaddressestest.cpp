#include "localaddresses.h"

#include "support/descriptors.h"
#include "support/namespaces.h"
#include "support/network.h"

#include <QtTest/QtTest>

#include <arpa/inet.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <string>
#include <thread>

// Runs in its own network namespace, with "eth0" at 10.1.0.1/16 at the start of a test, and nothing else.

namespace
{

// Each address as "eth0 10.1.0.1/255.255.0.0", with "down" behind it where that holds; in alphabetical order.
QStringList texts(const std::vector<LocalAddress> &addresses)
{
    const auto dotted = [](quint32 number) { return QString::fromLatin1(inet_ntoa(in_addr{htonl(number)})); };
    QStringList result;
    for (const LocalAddress &local : addresses) {
        result.append(QString::fromLatin1(local.interfaceName) + QLatin1Char(' ') + dotted(local.address) +
                      QLatin1Char('/') + dotted(local.netmask) + QLatin1String(local.isUp ? "" : " down"));
    }
    result.sort();
    return result;
}

// Gives eth0 an address, by the shortest way; false when the kernel refuses. With a label such as "eth0:1" it
// is one more address.
bool setAddress(quint32 address, const std::string &label = "eth0")
{
    ifreq request = {};
    std::strncpy(request.ifr_name, label.c_str(), sizeof request.ifr_name - 1);
    sockaddr_in value = {};
    value.sin_family = AF_INET;
    value.sin_addr.s_addr = htonl(address);
    std::memcpy(&request.ifr_addr, &value, sizeof value);
    const int descriptor = ::socket(AF_INET, SOCK_DGRAM, 0);
    const bool done = ::ioctl(descriptor, SIOCSIFADDR, &request) == 0;
    ::close(descriptor);
    return done;
}

} // namespace

class LocalAddressesTest : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void cleanup();

    void changeIsSeen_data();
    void changeIsSeen();
    void listIsKeptWhileNothingChanges();
    void noOldListInAThousandChanges();
    void noOldListWhileAnotherThreadChanges();
    void tooManyChangesAreSeen();
    void withoutADescriptorNothingIsKept();
    void descriptorIsClosed();
};

void LocalAddressesTest::init()
{
    QVERIFY(ip("link add name eth0 type veth peer name far0"));
    QVERIFY(ip("link set eth0 up"));
    QVERIFY(ip("addr add 10.1.0.1/16 dev eth0"));
}

void LocalAddressesTest::cleanup()
{
    if (::if_nametoindex("far0") != 0)
        QVERIFY(ip("link del far0"));
}

void LocalAddressesTest::changeIsSeen_data()
{
    QTest::addColumn<QByteArray>("change");
    QTest::addColumn<QStringList>("addresses");
    const auto row = [](const char *change, const QStringList &addresses) {
        QTest::newRow(change) << QByteArray(change) << addresses;
    };
    const QString first = QStringLiteral("eth0 10.1.0.1/255.255.0.0");
    row("addr add 10.2.0.1/24 dev eth0", {first, QStringLiteral("eth0 10.2.0.1/255.255.255.0")});
    row("addr add 10.2.0.1/24 label eth0:x dev eth0",
        {first, QStringLiteral("eth0:x 10.2.0.1/255.255.255.0")});
    row("addr add 10.2.0.1/0 dev far0", {first, QStringLiteral("far0 10.2.0.1/0.0.0.0 down")});
    row("addr del 10.1.0.1/16 dev eth0", {});
    row("addr flush dev eth0", {});
    row("link set eth0 down", {first + QStringLiteral(" down")});
    row("link del eth0", {});
    // Down first: some kernels do not rename an interface that is up.
    row("link set eth0 down name lan0", {QStringLiteral("lan0 10.1.0.1/255.255.0.0 down")});
    // Not by its own doing.
    row("link del far0", {});
}

void LocalAddressesTest::changeIsSeen()
{
    QFETCH(QByteArray, change);
    LocalAddresses addresses;
    QCOMPARE(texts(addresses.current()), QStringList(QStringLiteral("eth0 10.1.0.1/255.255.0.0")));
    QVERIFY(ip(change.constData()));
    QTEST(texts(addresses.current()), "addresses");
    // And once more, now that it is kept again.
    QTEST(texts(addresses.current()), "addresses");
    QVERIFY(ip("addr add 10.4.0.1/16 dev lo"));
    QVERIFY(texts(addresses.current()).contains(QStringLiteral("lo 10.4.0.1/255.255.0.0 down")));
    QVERIFY(ip("addr del 10.4.0.1/16 dev lo"));
    QTEST(texts(addresses.current()), "addresses");
}

void LocalAddressesTest::listIsKeptWhileNothingChanges()
{
    LocalAddresses addresses;
    addresses.current();
    // Also when it was made anew after a change.
    QVERIFY(ip("addr add 10.2.0.1/24 dev eth0"));
    const LocalAddress *kept = addresses.current().data();
    QCOMPARE(addresses.current().size(), std::size_t(2));
    const NoMoreDescriptors limit;
    // Making it anew takes a descriptor, and there is none.
    QCOMPARE(addresses.current().size(), std::size_t(2));
    QCOMPARE(addresses.current().data(), kept);
}

void LocalAddressesTest::noOldListInAThousandChanges()
{
    LocalAddresses addresses;
    for (quint32 i = 0; i < 1000; ++i) {
        const quint32 address = 0x0A020001u + (i << 8);
        QVERIFY(setAddress(address));
        QCOMPARE(addresses.current().size(), std::size_t(1));
        QCOMPARE(addresses.current().front().address, address);
    }
}

// Of each two changes the second comes a little later than in the turn before, so that some come while the
// first has the list made anew.
void LocalAddressesTest::noOldListWhileAnotherThreadChanges()
{
    const unsigned last = 1000;
    std::atomic<unsigned> added(0);
    std::atomic<unsigned> readings(0);
    std::atomic<bool> stopped(false);
    const auto add = [](unsigned number) {
        return setAddress(0x0A020001u + (number << 8), "eth0:" + std::to_string(number));
    };
    std::thread adder([&] {
        for (unsigned i = 1; i < last && !stopped && add(i); i += 2) {
            const auto start = std::chrono::steady_clock::now();
            while (std::chrono::steady_clock::now() - start < std::chrono::nanoseconds(500) * i)
                ;
            if (!add(i + 1))
                break;
            added = i + 1;
            const unsigned before = readings;
            while (readings < before + 3 && !stopped)
                std::this_thread::yield();
        }
        stopped = true;
    });
    LocalAddresses addresses;
    bool isComplete = true;
    while (isComplete && !stopped) {
        const std::size_t least = added + 1;
        isComplete = addresses.current().size() >= least;
        ++readings;
    }
    stopped = true;
    adder.join();
    QVERIFY(isComplete);
    QCOMPARE(addresses.current().size(), std::size_t(last + 1));
}

void LocalAddressesTest::tooManyChangesAreSeen()
{
    LocalAddresses addresses;
    addresses.current();
    QVERIFY(changeTooMuch("addr add 10.2.0.1/24 dev eth0\n"));
    QCOMPARE(addresses.current().size(), std::size_t(2));
    // The next change is seen as well.
    QVERIFY(ip("addr flush dev eth0"));
    QCOMPARE(addresses.current().size(), std::size_t(0));
}

void LocalAddressesTest::withoutADescriptorNothingIsKept()
{
    LocalAddresses addresses;
    {
        const NoMoreDescriptors limit;
        QCOMPARE(addresses.current().size(), std::size_t(0));
    }
    QCOMPARE(addresses.current().size(), std::size_t(1));
    QVERIFY(setAddress(0x0A030001u));
    {
        const NoMoreDescriptors limit;
        addresses.current();
    }
    QCOMPARE(addresses.current().front().address, 0x0A030001u);
}

void LocalAddressesTest::descriptorIsClosed()
{
    const int before = openDescriptors();
    {
        LocalAddresses addresses;
        addresses.current();
        QCOMPARE(openDescriptors(), before + 1);
        QVERIFY(setAddress(0x0A030001u));
        addresses.current();
        QCOMPARE(openDescriptors(), before + 1);
    }
    QCOMPARE(openDescriptors(), before);
}

int main(int argc, char **argv)
{
    enterOwnNetworkNamespace();
    QCoreApplication application(argc, argv);
    LocalAddressesTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "localaddressestest.moc"
