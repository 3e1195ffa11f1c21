#include "hwsdlink.h"

#include "hwsdinterface.h"
#include "i2cseeprominterface.h"
#include "networkmanagerinterface.h"
#include "partitioninfointerface.h"
#include "support/fakebus.h"
#include "support/messagecatcher.h"
#include "support/panel.h"
#include "support/testbuses.h"
#include "support/texts.h"
#include "systeminfointerface.h"

#include <QtTest/QtTest>

#include <memory>

namespace
{

TestBuses *buses = nullptr;

const char NoSystemBus[] = "Failed connecting to DBUS system bus -> try HWSD on session bus";
const char NoSessionBus[] = "Failed connecting to DBUS session bus -> trying loading HWSD plugin";
// The bus daemon's message.
const QString Absent = latin1("\"The name com.zelt.HWSD was not provided by any .service files\"");
// Three attempts on the first bus, and one more on the session bus.
const QString Failed = latin1("Error reaching dbus service:  ") + Absent;
const QStringList Searching = {Failed + latin1("  -> retry # 1"), Failed + latin1("  -> retry # 2"),
                               Failed + latin1("  -> retry # 3"),
                               Failed + latin1("  -> try falling back to HWSD session bus")};
const QStringList RunsInSessionBus = lines({"HWSD running in session bus!  \"\""});
const QStringList NoService = {latin1("No HWSD service running !? ") + Absent};
const char Waiting[] = "Waiting for all HWSD services up and running...";

// The names of the link's usable proxies.
QStringList validProxies(const HwsdLink &link)
{
    QStringList valid;
    const QDBusAbstractInterface *const proxies[] = {link.root.get(), link.systemInfo.get(),
                                                     link.mainOsInfo.get(), link.networkManager.get(),
                                                     link.i2cSeeprom.get()};
    for (const QDBusAbstractInterface *proxy : proxies) {
        if (proxy && proxy->isValid())
            valid.append(proxy->service() + QLatin1Char(' ') + proxy->path() + QLatin1Char(' ') +
                         proxy->interface());
    }
    return valid;
}

const QStringList AllProxies =
    lines({"com.zelt.HWSD / com.zelt.HWSD", "com.zelt.HWSD /SystemInfo com.zelt.HWSD.SystemInfo",
           "com.zelt.HWSD /MainOSInfo com.zelt.HWSD.PartitionInfo",
           "com.zelt.HWSD /NetworkManager com.zelt.HWSD.NetworkManager",
           "com.zelt.HWSD /I2CSEEPROM com.zelt.HWSD.I2CSEEPROM"});

// Removes the warnings of the four object proxies from the end of the list. Each ends in the connection's
// last error, a text of Qt.
bool takeObjectWarnings(QStringList &warnings)
{
    const QStringList starts =
        lines({"Cannot get /SysteInfo object :  QDBusError(", "Cannot get /MainOSInfo object :  QDBusError(",
               "Cannot get /m_networkManager object :  QDBusError(",
               "Cannot get /I2CSEEPROM object :  QDBusError("});
    if (warnings.size() < 4)
        return false;
    for (int i = 3; i >= 0; --i) {
        if (!warnings.takeLast().startsWith(starts.at(i)))
            return false;
    }
    return true;
}

} // namespace

class HwsdLinkTest : public QObject
{
    Q_OBJECT
private slots:
    void cleanup() { buses->stop(); }

    void serviceOnTheSystemBusIsFoundInSilence();
    void systemBusIsPreferred();
    void withoutASystemBusTheSessionBusIsTaken();
    void withoutAnyBusThereIsNoLink();
    void serviceOnTheSessionBusAloneIsFoundAfterThreeAttempts();
    void serviceOnNeitherBusLeavesNoLink();
    void serviceOnTheOnlySessionBusIsMissed();
    void systemBusIsKeptWithoutASessionBus();
    void busThatComesUpLaterIsFound();
    void serviceThatComesUpLaterIsFound();
    void rootProxyThatStaysInvalidIsNullAfterThreeAttempts();
    void serviceIsWokenAndProbedOnceWhenItAnswers();
    void missingServiceIsWokenAndProbedThreeTimesAndOnceMore();
    void busConnectionIsClosedWithItsObject();
    void busConnectionIsOfUseAtOnce();

private:
    // Opens a link; its warnings are in m_warnings.
    std::unique_ptr<HwsdLink> open();
    QStringList m_warnings;
};

std::unique_ptr<HwsdLink> HwsdLinkTest::open()
{
    MessageCatcher messages;
    std::unique_ptr<HwsdLink> link = HwsdLink::open();
    m_warnings = messages.take();
    return link;
}

void HwsdLinkTest::serviceOnTheSystemBusIsFoundInSilence()
{
    QVERIFY(buses->startSystemBus() && buses->startSessionBus() && buses->startServiceOnSystemBus());
    const std::unique_ptr<HwsdLink> link = open();
    QCOMPARE(m_warnings, QStringList());
    QVERIFY(link);
    QCOMPARE(validProxies(*link), AllProxies);
}

void HwsdLinkTest::systemBusIsPreferred()
{
    QVERIFY(buses->startSystemBus() && buses->startSessionBus() && buses->startServiceOnSystemBus());
    FakeService other(qgetenv("DBUS_SESSION_BUS_ADDRESS"));
    QVERIFY(other.isOnBus());
    const std::unique_ptr<HwsdLink> link = open();
    QVERIFY(link);
    link->root->restartSystem();
    QCOMPARE(buses->service().waitForCalls(1), lines({RestartCall}));
    QCOMPARE(other.takeCalls(), QStringList());
}

void HwsdLinkTest::withoutASystemBusTheSessionBusIsTaken()
{
    QVERIFY(buses->startSessionBus() && buses->startServiceOnSessionBus());
    const std::unique_ptr<HwsdLink> link = open();
    QCOMPARE(m_warnings, lines({NoSystemBus}));
    QVERIFY(link);
    QCOMPARE(validProxies(*link), AllProxies);
}

void HwsdLinkTest::withoutAnyBusThereIsNoLink()
{
    for (int attempt = 0; attempt < 2; ++attempt) {
        const std::unique_ptr<HwsdLink> link = open();
        QCOMPARE(m_warnings, lines({NoSystemBus, NoSessionBus}));
        QVERIFY(!link);
    }
}

void HwsdLinkTest::serviceOnTheSessionBusAloneIsFoundAfterThreeAttempts()
{
    QVERIFY(buses->startSystemBus() && buses->startSessionBus() && buses->startServiceOnSessionBus());
    const std::unique_ptr<HwsdLink> link = open();
    QCOMPARE(m_warnings, Searching + RunsInSessionBus);
    QVERIFY(link);
    QCOMPARE(validProxies(*link), AllProxies);
    link->networkManager->getConfigJSON();
    QCOMPARE(buses->service().waitForCalls(1).size(), 1);
}

void HwsdLinkTest::serviceOnNeitherBusLeavesNoLink()
{
    QVERIFY(buses->startSystemBus() && buses->startSessionBus());
    for (int attempt = 0; attempt < 2; ++attempt) {
        const std::unique_ptr<HwsdLink> link = open();
        QCOMPARE(m_warnings, Searching + NoService);
        QVERIFY(!link);
    }
}

void HwsdLinkTest::serviceOnTheOnlySessionBusIsMissed()
{
    QVERIFY(buses->startSessionBus());
    const std::unique_ptr<HwsdLink> link = open();
    QCOMPARE(m_warnings, lines({NoSystemBus}) + Searching + NoService);
    QVERIFY(!link);
}

void HwsdLinkTest::systemBusIsKeptWithoutASessionBus()
{
    QVERIFY(buses->startSystemBus());
    const std::unique_ptr<HwsdLink> link = open();
    QVERIFY2(takeObjectWarnings(m_warnings), qPrintable(m_warnings.join(QLatin1Char('\n'))));
    QCOMPARE(m_warnings, Searching);
    QVERIFY(link);
    QVERIFY(link->bus->isConnected());
    QVERIFY(!link->root);
    QVERIFY(link->systemInfo && link->mainOsInfo && link->networkManager && link->i2cSeeprom);
    QCOMPARE(validProxies(*link), QStringList());
    QDBusPendingReply<int> reply = link->networkManager->resetConfiguration();
    reply.waitForFinished();
    QVERIFY(reply.isError());
}

void HwsdLinkTest::busThatComesUpLaterIsFound()
{
    QVERIFY(!open());
    QVERIFY(buses->startSessionBus());
    QVERIFY(!open());
    QCOMPARE(m_warnings.value(0), latin1(NoSystemBus));
    QVERIFY(buses->startPanel());
    const std::unique_ptr<HwsdLink> link = open();
    QCOMPARE(m_warnings, QStringList());
    QVERIFY(link);
    QCOMPARE(validProxies(*link), AllProxies);
}

void HwsdLinkTest::serviceThatComesUpLaterIsFound()
{
    QVERIFY(buses->startSystemBus() && buses->startSessionBus());
    QVERIFY(!open());
    QVERIFY(buses->startServiceOnSystemBus());
    const std::unique_ptr<HwsdLink> link = open();
    QCOMPARE(m_warnings, QStringList());
    QVERIFY(link);
    QCOMPARE(validProxies(*link), AllProxies);
}

// The service answers, but the bus reports no owner of its name.
void HwsdLinkTest::rootProxyThatStaysInvalidIsNullAfterThreeAttempts()
{
    const FakeBus bus(qgetenv("DBUS_SYSTEM_BUS_ADDRESS"));
    QVERIFY(bus.isListening());
    const std::unique_ptr<HwsdLink> link = open();
    QVERIFY2(takeObjectWarnings(m_warnings), qPrintable(m_warnings.join(QLatin1Char('\n'))));
    QCOMPARE(m_warnings, lines({Waiting, Waiting, Waiting}));
    QVERIFY(link);
    QVERIFY(!link->root);
    QVERIFY(link->systemInfo && link->mainOsInfo && link->networkManager && link->i2cSeeprom);
    QCOMPARE(validProxies(*link), QStringList());
}

void HwsdLinkTest::serviceIsWokenAndProbedOnceWhenItAnswers()
{
    QVERIFY(buses->startPanel());
    BusMonitor monitor(qgetenv("DBUS_SYSTEM_BUS_ADDRESS"));
    QVERIFY(monitor.start());
    QVERIFY(open());
    buses->service().takeCalls();
    QCOMPARE(monitor.stop(), lines({"/ .q_autostart", "/ org.freedesktop.DBus.Peer.Ping"}));
}

void HwsdLinkTest::missingServiceIsWokenAndProbedThreeTimesAndOnceMore()
{
    QVERIFY(buses->startSystemBus() && buses->startSessionBus());
    BusMonitor system(qgetenv("DBUS_SYSTEM_BUS_ADDRESS"));
    BusMonitor session(qgetenv("DBUS_SESSION_BUS_ADDRESS"));
    QVERIFY(system.start() && session.start());
    QVERIFY(!open());
    QCOMPARE(system.stop(), lines({"/ .q_autostart", "/ org.freedesktop.DBus.Peer.Ping", "/ .q_autostart",
                                   "/ org.freedesktop.DBus.Peer.Ping", "/ .q_autostart",
                                   "/ org.freedesktop.DBus.Peer.Ping"}));
    QCOMPARE(session.stop(), lines({"/ .q_autostart", "/ org.freedesktop.DBus.Peer.Ping"}));
}

void HwsdLinkTest::busConnectionIsClosedWithItsObject()
{
    QVERIFY(buses->startSystemBus());
    QString name;
    {
        const BusConnection connection(QDBusConnection::SystemBus);
        QVERIFY(connection.isConnected());
        name = connection.connection().name();
        QVERIFY(QDBusConnection(name).isConnected());
    }
    QVERIFY(!QDBusConnection(name).isConnected());
    const BusConnection none(QDBusConnection::SessionBus);
    QVERIFY(!none.isConnected());
}

// Where Qt gets no time to note a connection's name, about one connection in 7000 ends the process (Qt 5.15).
void HwsdLinkTest::busConnectionIsOfUseAtOnce()
{
    QVERIFY(buses->startSystemBus() && buses->startServiceOnSystemBus());
    for (int i = 0; i < 5000; ++i) {
        const BusConnection connection(QDBusConnection::SystemBus);
        QVERIFY(connection.pingService().type() == QDBusMessage::ReplyMessage);
    }
}

int main(int argc, char **argv)
{
    FakeBus::runIfAskedFor(argc, argv);
    QCoreApplication application(argc, argv);
    TestBuses ownBuses;
    buses = &ownBuses;
    HwsdLinkTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "hwsdlinktest.moc"
