#include "addressprobe.h"

#include "plan.h"
#include "testpanel.h"

#include <QtTest/QtTest>

namespace
{

const std::uint32_t Wanted = 0xC0A80A14;
const std::uint32_t Other = 0xC0A80A15;
const MacAddress Stranger = {0x52, 0x54, 0x00, 0x12, 0x34, 0x56};

ProbeResult heldBy(const std::optional<MacAddress> &mac)
{
    return {{{Wanted, mac}}, {}, QStringLiteral("by ARP")};
}

QStringList objectionsTo(const ProbeResult &result)
{
    PanelList panels;
    panels.add(testPanel(1));
    panels.add(testPanel(2, 0xC0A80A06));
    return strangerObjections(Wanted, {testPanel(1).mac}, panels, result);
}

} // namespace

class AddressProbeTest : public QObject
{
    Q_OBJECT

private slots:
    void freeAddressIsFit();
    void holdersAreNamed_data();
    void holdersAreNamed();
    void expectedHolderIsFit();
    void panelsThatAPlanMovesAreFit();
    void noteSaysWhatWasPossible_data();
    void noteSaysWhatWasPossible();
};

void AddressProbeTest::freeAddressIsFit()
{
    QCOMPARE(objectionsTo({{{Other, Stranger}}, {Wanted}, {}}), QStringList());
}

void AddressProbeTest::holdersAreNamed_data()
{
    QTest::addColumn<QString>("mac");
    QTest::addColumn<QString>("holder");
    QTest::newRow("a stranger") << "52:54:00:12:34:56"
                                << "52:54:00:12:34:56, which is no panel that was found.";
    QTest::newRow("unknown") << ""
                             << "something that answers there and is no panel that was found.";
    QTest::newRow("another panel") << "02:00:5e:10:00:02"
                                   << "the panel 02:00:5e:10:00:02, although that reports 192.168.10.6.";
}

void AddressProbeTest::holdersAreNamed()
{
    QFETCH(const QString, mac);
    QFETCH(const QString, holder);
    QCOMPARE(objectionsTo(heldBy(macFromText(mac))),
             QStringList({QStringLiteral("The address 192.168.10.20 is held by ") + holder}));
}

void AddressProbeTest::expectedHolderIsFit()
{
    QCOMPARE(objectionsTo(heldBy(testPanel(1).mac)), QStringList());
}

// The second panel gives up the address that the first is to get.
void AddressProbeTest::panelsThatAPlanMovesAreFit()
{
    PanelList panels;
    std::vector<PlanEntry> entries;
    for (std::uint8_t number = 1; number <= 3; ++number) {
        panels.add(testPanel(number, 0xC0A80A05 + number));
        entries.push_back({QStringLiteral("line %1").arg(number + 1),
                           testPanel(number).mac,
                           {Wanted + number - 1, {}, {}}});
    }
    entries[2].wanted.address = testPanel(3, 0xC0A80A08).address; // stays
    const Plan plan = makePlan(entries, panels, {}, [](const Panel &) { return true; });
    const auto objectionsTo = [&](const MacAddress &mac) {
        Plan asked = plan;
        objectToStrangers(asked, panels, heldBy(mac));
        return asked.objections;
    };
    QCOMPARE(objectionsTo(testPanel(2).mac), QStringList());
    QCOMPARE(objectionsTo(testPanel(3).mac).size(), 1);
    const QStringList objections = objectionsTo(Stranger);
    QCOMPARE(objections.size(), 1);
    QVERIFY(objections.first().startsWith(QStringLiteral("line 2")));
    QVERIFY(objections.first().endsWith(
        QStringLiteral("is held by 52:54:00:12:34:56, which is no panel that was found.")));
}

void AddressProbeTest::noteSaysWhatWasPossible_data()
{
    QTest::addColumn<int>("asked");
    QTest::addColumn<int>("held");
    QTest::addColumn<int>("unasked");
    QTest::addColumn<QString>("note");
    QTest::newRow("nothing") << 0 << 0 << 0 << "";
    QTest::newRow("free") << 1 << 0 << 0 << "192.168.10.20 was asked for by ARP: nobody answered.";
    QTest::newRow("held") << 1 << 1 << 0 << "192.168.10.20 was asked for by ARP: somebody answered.";
    QTest::newRow("many") << 64 << 2 << 0 << "64 addresses were asked for by ARP: 2 answered.";
    QTest::newRow("one not")
        << 0 << 0 << 1 << "Whether 192.168.10.20 is held by anything but panels could not be found out.";
    QTest::newRow("some not")
        << 1 << 0 << 2
        << "192.168.10.20 was asked for by ARP: nobody answered. Whether 2 addresses are held "
           "by anything but panels could not be found out.";
}

void AddressProbeTest::noteSaysWhatWasPossible()
{
    QFETCH(const int, asked);
    QFETCH(const int, held);
    QFETCH(const int, unasked);
    QFETCH(const QString, note);
    std::vector<std::uint32_t> addresses;
    ProbeResult result;
    result.how = QStringLiteral("by ARP");
    for (int number = 0; number < asked + unasked; ++number) {
        const std::uint32_t address = Wanted + std::uint32_t(number);
        addresses.push_back(address);
        if (number < held)
            result.held.push_back({address, Stranger});
        if (number >= asked)
            result.unasked.push_back(address);
    }
    QCOMPARE(probeNote(addresses, result), note);
}

QTEST_APPLESS_MAIN(AddressProbeTest)
#include "addressprobetest.moc"
