#include "hwsdplatform.h"

#include "support/fakebus.h"
#include "support/messagecatcher.h"
#include "support/panel.h"
#include "support/testbuses.h"
#include "support/texts.h"

#include <QtTest/QtTest>

#include <atomic>
#include <cstring>
#include <functional>
#include <thread>

namespace
{

TestBuses *buses = nullptr;

QByteArray macOf(const HWSDPlatform &platform)
{
    unsigned char mac[6];
    std::memset(mac, 0xEE, sizeof mac);
    if (!platform.macAddress(mac))
        return "refused";
    return QByteArray(reinterpret_cast<const char *>(mac), sizeof mac).toHex();
}

} // namespace

class HwsdPlatformTest : public QObject
{
    Q_OBJECT
private slots:
    void cleanup() { buses->stop(); }

    void instanceIsOneUntilItIsDeleted();
    void instanceIsOneForThreadsThatRace();
    void newFacadeKnowsNothing();
    void makingTheFacadeAsksNobody();
    void withoutABusEveryOperationFailsAndChangesNothing();
    void everyOperationTriesToConnectAgain();
    void busIsLookedForOnceOnly();
};

void HwsdPlatformTest::instanceIsOneUntilItIsDeleted()
{
    HWSDPlatform *const first = HWSDPlatform::instance();
    QCOMPARE(HWSDPlatform::instance(), first);
    first->setGateway(5);
    delete first;
    QCOMPARE(HWSDPlatform::instance()->gateway(), 0u);
    QCOMPARE(HWSDPlatform::instance()->metaObject()->className(), "HWSDPlatform");
}

void HwsdPlatformTest::instanceIsOneForThreadsThatRace()
{
    for (int round = 0; round < 200; ++round) {
        delete HWSDPlatform::instance();
        HWSDPlatform *found[2] = {};
        std::atomic<int> ready(0);
        const auto look = [&ready](HWSDPlatform *&result) {
            ++ready;
            while (ready < 2)
                std::this_thread::yield();
            result = HWSDPlatform::instance();
        };
        std::thread other(look, std::ref(found[0]));
        look(found[1]);
        other.join();
        QCOMPARE(found[0], found[1]);
    }
}

void HwsdPlatformTest::newFacadeKnowsNothing()
{
    const HWSDPlatform &platform = *HWSDPlatform::instance();
    QCOMPARE(platform.ipAddress(), 0u);
    QCOMPARE(platform.netmask(), 0u);
    QCOMPARE(platform.gateway(), 0u);
    QCOMPARE(platform.ipAddressString(), latin1("0.0.0.0"));
    QCOMPARE(macOf(platform), QByteArray("000000000000"));
}

void HwsdPlatformTest::makingTheFacadeAsksNobody()
{
    MessageCatcher messages;
    HWSDPlatform::instance()->setInterface("eth0");
    HWSDPlatform::instance()->ipAddressString();
    QCOMPARE(messages.take(), QStringList());
}

void HwsdPlatformTest::withoutABusEveryOperationFailsAndChangesNothing()
{
    HWSDPlatform &platform = *HWSDPlatform::instance();
    platform.setIpAddress(0x01020304u);
    platform.setNetmask(0x05060708u);
    platform.setGateway(0x090A0B0Cu);
    MessageCatcher messages;
    QVERIFY(!platform.refreshNetworkState());
    QVERIFY(!platform.applyConfiguration());
    QVERIFY(!platform.resetConfiguration());
    QVERIFY(!platform.restartSystem());
    QCOMPARE(platform.partitionVersion(), 0u);
    QCOMPARE(platform.systemInfoText(), QString());
    char block[64];
    std::memset(block, 0xEE, sizeof block);
    QVERIFY(platform.systemInfo(block));
    QCOMPARE(QByteArray(block, sizeof block), QByteArray(64, '\xEE'));
    QCOMPARE(platform.ipAddress(), 0x01020304u);
    QCOMPARE(platform.netmask(), 0x05060708u);
    QCOMPARE(platform.gateway(), 0x090A0B0Cu);
    QCOMPARE(macOf(platform), QByteArray("000000000000"));
}

void HwsdPlatformTest::everyOperationTriesToConnectAgain()
{
    HWSDPlatform &platform = *HWSDPlatform::instance();
    const std::function<void()> operations[] = {
        [&] { platform.refreshNetworkState(); }, [&] { platform.applyConfiguration(); },
        [&] { platform.resetConfiguration(); },  [&] { platform.restartSystem(); },
        [&] { platform.partitionVersion(); },    [&] { platform.systemInfoText(); }};
    MessageCatcher messages;
    for (const auto &operation : operations) {
        operation();
        QCOMPARE(messages.take(),
                 lines({"Failed connecting to DBUS system bus -> try HWSD on session bus",
                        "Failed connecting to DBUS session bus -> trying loading HWSD plugin"}));
    }
    QVERIFY(buses->startPanel());
    QVERIFY(platform.restartSystem());
    QCOMPARE(messages.take(), QStringList());
    QCOMPARE(buses->service().waitForCalls(1), lines({RestartCall}));
}

// The link stays the same when the service goes and comes back, and works again.
void HwsdPlatformTest::busIsLookedForOnceOnly()
{
    QVERIFY(buses->startSystemBus() && buses->startServiceOnSystemBus());
    HWSDPlatform &platform = *HWSDPlatform::instance();
    buses->service().answer("resetConfiguration", {0});
    QVERIFY(platform.resetConfiguration());
    QVERIFY(buses->startServiceOnSystemBus()); // a new one; the old one is gone
    buses->service().answer("resetConfiguration", {0});
    BusMonitor monitor(qgetenv("DBUS_SYSTEM_BUS_ADDRESS"));
    QVERIFY(monitor.start());
    MessageCatcher messages;
    QVERIFY(platform.resetConfiguration());
    QCOMPARE(messages.take(), QStringList());
    QCOMPARE(monitor.stop(), lines({"/NetworkManager com.zelt.HWSD.NetworkManager.resetConfiguration"}));
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    TestBuses ownBuses;
    buses = &ownBuses;
    HwsdPlatformTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "hwsdplatformtest.moc"
