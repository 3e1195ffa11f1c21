#include "hwsdplatform.h"
#include "support/fakebus.h"
#include "support/messagecatcher.h"
#include "support/panel.h"
#include "support/testbuses.h"
#include "support/texts.h"

#include <QtTest/QtTest>

namespace
{

TestBuses *buses = nullptr;

const char Waiting[] = "Waiting for all HWSD services up and running...";

} // namespace

class HwsdPlatformActionsTest : public QObject
{
    Q_OBJECT
private slots:
    void cleanup() { buses->stop(); }

    void resetTellsWhetherTheServiceAgreed_data();
    void resetTellsWhetherTheServiceAgreed();
    void restartIsAskedForAndNotAwaited_data();
    void restartIsAskedForAndNotAwaited();
    void restartMakesTheRootProxyThatIsMissing();
    void restartFailsWhileTheServiceDoesNotComeUp();

private:
    static HWSDPlatform &platform() { return *HWSDPlatform::instance(); }
    static FakeService &service() { return buses->service(); }
};

void HwsdPlatformActionsTest::resetTellsWhetherTheServiceAgreed_data()
{
    QTest::addColumn<QVariantList>("answer");
    QTest::addColumn<bool>("agreed");
    QTest::newRow("zero") << QVariantList{0} << true;
    QTest::newRow("any number") << QVariantList{-5} << true;
    QTest::newRow("error") << ErrorReply << false;
    QTest::newRow("a text") << QVariantList{latin1("done")} << false;
}

void HwsdPlatformActionsTest::resetTellsWhetherTheServiceAgreed()
{
    QFETCH(QVariantList, answer);
    QVERIFY(buses->startPanel());
    answerAsPanel(service());
    QVERIFY(platform().refreshNetworkState());
    service().takeCalls();
    service().answer("resetConfiguration", answer);
    QTEST(platform().resetConfiguration(), "agreed");
    QCOMPARE(service().takeCalls(), lines({ResetCall}));
    // The cache stays as it was.
    QCOMPARE(platform().ipAddress(), 0xC0A80001u);
    QCOMPARE(platform().netmask(), 0xFFFFFF00u);
    QCOMPARE(platform().gateway(), 0xC0A800FEu);
    unsigned char mac[6] = {};
    platform().macAddress(mac);
    QCOMPARE(QByteArray(reinterpret_cast<const char *>(mac), 6).toHex(), QByteArray("001a2b3c4d5e"));
}

void HwsdPlatformActionsTest::restartIsAskedForAndNotAwaited_data()
{
    QTest::addColumn<bool>("silent");
    QTest::newRow("refused") << false;
    QTest::newRow("no answer, as of a device that goes down") << true;
}

void HwsdPlatformActionsTest::restartIsAskedForAndNotAwaited()
{
    QFETCH(bool, silent);
    QVERIFY(buses->startPanel());
    if (silent)
        service().ignore("restartSystem");
    QVERIFY(platform().restartSystem());
    QCOMPARE(service().waitForCalls(1), lines({RestartCall}));
}

// A system bus without the service, and no session bus to fall back to: the link is held and has no root
// proxy.
void HwsdPlatformActionsTest::restartMakesTheRootProxyThatIsMissing()
{
    QVERIFY(buses->startSystemBus());
    MessageCatcher messages;
    QVERIFY(platform().refreshNetworkState());
    QVERIFY(!messages.take().contains(latin1(Waiting)));
    QVERIFY(!platform().restartSystem());
    QCOMPARE(messages.take(), lines({Waiting, Waiting, Waiting}));

    QVERIFY(buses->startServiceOnSystemBus());
    QVERIFY(platform().restartSystem());
    QCOMPARE(service().waitForCalls(1), lines({RestartCall}));
    // The new proxy is kept, also for a service that comes back.
    QVERIFY(buses->startServiceOnSystemBus());
    BusMonitor monitor(qgetenv("DBUS_SYSTEM_BUS_ADDRESS"));
    QVERIFY(monitor.start());
    QVERIFY(platform().restartSystem());
    QCOMPARE(service().waitForCalls(1), lines({RestartCall}));
    QCOMPARE(monitor.stop(), lines({"/ com.zelt.HWSD.restartSystem"}));
    QCOMPARE(messages.take(), QStringList());
}

// The service answers, but the bus reports no owner of its name.
void HwsdPlatformActionsTest::restartFailsWhileTheServiceDoesNotComeUp()
{
    const FakeBus bus(qgetenv("DBUS_SYSTEM_BUS_ADDRESS"));
    QVERIFY(bus.isListening());
    MessageCatcher messages;
    QVERIFY(!platform().restartSystem());
    QCOMPARE(messages.take().filter(latin1(Waiting)).size(), 6); // three at the link's creation, three now
    QVERIFY(!platform().restartSystem());
    QCOMPARE(messages.take(), lines({Waiting, Waiting, Waiting}));
}

int main(int argc, char **argv)
{
    FakeBus::runIfAskedFor(argc, argv);
    QCoreApplication application(argc, argv);
    TestBuses ownBuses;
    buses = &ownBuses;
    HwsdPlatformActionsTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "hwsdplatformactionstest.moc"
