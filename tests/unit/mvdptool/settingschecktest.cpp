#include "settingscheck.h"

#include "testpanel.h"

#include <QtTest/QtTest>

class SettingsCheckTest : public QObject
{
    Q_OBJECT

private slots:
    void settingsAreObjectedTo_data();
    void settingsAreObjectedTo();
    void heldAddressIsObjectedTo();
    void ownAddressMayStay();
    void addressOfThisComputerIsObjectedTo();
    void bothAddressesOfAPanelThatIsElsewhereAreHeld();
    void addressOfAnotherCableIsObjectedTo();
    void macOfManyPanelsIsObjectedTo();
    void equalityCoversAllThree();
};

void SettingsCheckTest::settingsAreObjectedTo_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("gateway");
    QTest::addColumn<QStringList>("objections"); // a piece of each, in order
    const auto row = [](const char *name, const char *address, const char *gateway,
                        const QStringList &objections = {}) {
        QTest::newRow(name) << address << gateway << objections;
    };
    row("usual", "192.168.10.5/24", "192.168.10.1");
    row("no gateway", "192.168.10.5/24", "0.0.0.0");
    row("pair of addresses", "192.168.10.4/31", "192.168.10.5");
    row("last host", "192.168.10.254/24", "192.168.10.253");
    row("ends in 255 within a wide subnet", "10.0.0.255/16", "10.0.1.0");
    row("netmask with holes", "192.168.10.5/255.0.255.0", "0.0.0.0", {"netmask 255.0.255.0 has holes"});
    row("no netmask", "192.168.10.5/0", "0.0.0.0", {"netmask 0.0.0.0"});
    row("unspecified", "0.0.0.0/24", "0.0.0.0", {"unspecified network"});
    row("network", "192.168.10.0/24", "0.0.0.0", {"network's own address"});
    row("broadcast", "192.168.10.255/24", "0.0.0.0", {"broadcast address"});
    row("broadcast of a narrow subnet", "192.168.10.7/29", "0.0.0.0", {"broadcast address"});
    row("loopback", "127.0.0.1/8", "0.0.0.0", {"loopback"});
    row("multicast", "224.0.5.128/24", "0.0.0.0", {"multicast"});
    row("last multicast", "239.255.255.1/24", "0.0.0.0", {"multicast"});
    row("reserved", "240.0.0.1/24", "0.0.0.0", {"reserved"});
    row("gateway elsewhere", "192.168.10.5/24", "192.168.11.1", {"outside the subnet 192.168.10.0/24"});
    row("gateway itself", "192.168.10.5/24", "192.168.10.5", {"own new address"});
    row("gateway is the broadcast address", "192.168.10.5/24", "192.168.10.255",
        {"gateway 192.168.10.255 is the broadcast"});
    row("gateway multicast and outside", "192.168.10.5/24", "224.0.0.1",
        {"gateway 224.0.0.1 is a multicast", "outside"});
}

void SettingsCheckTest::settingsAreObjectedTo()
{
    QFETCH(QString, address);
    QFETCH(QString, gateway);
    QFETCH(QStringList, objections);
    const QStringList result = settingsObjections(testSettings(address, gateway));
    QVERIFY2(result.size() == objections.size(), qPrintable(result.join(QLatin1Char('\n'))));
    for (int index = 0; index < static_cast<int>(objections.size()); ++index)
        QVERIFY2(result.at(index).contains(objections.at(index)), qPrintable(result.at(index)));
}

void SettingsCheckTest::heldAddressIsObjectedTo()
{
    const QStringList result =
        holderObjections(0xC0A80A06, testPanel(1).mac, {testPanel(1), testPanel(2, 0xC0A80A06)}, {});
    QCOMPARE(result, QStringList({"The address 192.168.10.6 is held by the panel 02:00:5e:10:00:02 "
                                  "(QM316-44LRNA)."}));
}

void SettingsCheckTest::ownAddressMayStay()
{
    QCOMPARE(holderObjections(0xC0A80A05, testPanel(1).mac, {testPanel(1)}, {}), QStringList());
}

void SettingsCheckTest::addressOfThisComputerIsObjectedTo()
{
    NetworkInterface interface;
    interface.name = QStringLiteral("eth3");
    interface.addresses = {{0x0A000001, 0xFF000000}, {0xC0A80A01, 0xFFFFFF00}};
    QCOMPARE(holderObjections(0xC0A80A01, testPanel().mac, {}, {interface}),
             QStringList({"The address 192.168.10.1 is this computer's own, on eth3."}));
}

void SettingsCheckTest::bothAddressesOfAPanelThatIsElsewhereAreHeld()
{
    Panel elsewhere = testPanel(2, 0xC0A80A06);
    elsewhere.source = 0xC0A80A07;
    for (const std::uint32_t address : {0xC0A80A06u, 0xC0A80A07u})
        QCOMPARE(holderObjections(address, testPanel(1).mac, {elsewhere}, {}).size(), 1);
    QCOMPARE(holderObjections(0, testPanel(1).mac, {Panel()}, {}).size(), 0);
}

void SettingsCheckTest::addressOfAnotherCableIsObjectedTo()
{
    NetworkInterface lo;
    lo.isLoopback = true;
    lo.addresses = {{0x7F000001, 0xFF000000}};
    NetworkInterface eth0;
    eth0.name = QStringLiteral("eth0");
    eth0.addresses = {{0xC0A80A01, 0xFFFFFF00}};
    NetworkInterface eth1;
    eth1.name = QStringLiteral("eth1");
    eth1.addresses = {{0x0A010201, 0xFFFFFF00}};
    const std::vector<NetworkInterface> all = {lo, eth0, eth1};
    QCOMPARE(
        cableObjections(0xC0A80A1F, {eth1}, all),
        QStringList(
            {"The address 192.168.10.31 is in the subnet of eth0, but the panel is connected to eth1."}));
    for (const auto &heardOn : {std::vector<NetworkInterface>{eth0}, {eth0, eth1}, {}})
        QCOMPARE(cableObjections(0xC0A80A1F, heardOn, all), QStringList());
    // A subnet of no interface and the loopback's subnet belong to no cable.
    QCOMPARE(cableObjections(0xAC100001, {eth1}, all), QStringList());
    QCOMPARE(cableObjections(0x7F000002, {eth1}, all), QStringList());
}

void SettingsCheckTest::macOfManyPanelsIsObjectedTo()
{
    PanelList panels;
    panels.add(testPanel());
    QCOMPARE(targetObjections(testPanel().mac, panels).size(), 0);
    Panel clone = testPanel();
    clone.source = 0x0A000001;
    panels.add(clone);
    QCOMPARE(targetObjections(testPanel().mac, panels).size(), 1);
    QCOMPARE(targetObjections(MacAddress{}, panels).size(), 1);
}

void SettingsCheckTest::equalityCoversAllThree()
{
    const Panel panel = testPanel();
    QVERIFY(hasSettings(panel, {0xC0A80A05, 0xFFFFFF00, 0xC0A80A01}));
    QVERIFY(!hasSettings(panel, {0xC0A80A06, 0xFFFFFF00, 0xC0A80A01}));
    QVERIFY(!hasSettings(panel, {0xC0A80A05, 0xFFFF0000, 0xC0A80A01}));
    QVERIFY(!hasSettings(panel, {0xC0A80A05, 0xFFFFFF00, 0}));
}

QTEST_APPLESS_MAIN(SettingsCheckTest)
#include "settingschecktest.moc"
