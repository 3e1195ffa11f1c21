#include "plan.h"

#include "testpanel.h"

#include <QtTest/QtTest>

namespace
{

// The address in 192.168.10.0/24 with this last byte.
std::uint32_t address(std::uint8_t last)
{
    return 0xC0A80A00u | last;
}

PlanEntry entry(std::uint8_t lastMacByte, std::uint8_t lastAddressByte)
{
    PlanEntry result;
    result.place = QStringLiteral("plan.csv:%1").arg(lastMacByte + 1);
    result.mac = testPanel(lastMacByte).mac;
    result.wanted.address = address(lastAddressByte);
    return result;
}

// Panels 1, 2, 3... at these addresses.
PanelList panelsAt(std::initializer_list<std::uint8_t> lastBytes)
{
    PanelList panels;
    std::uint8_t number = 0;
    for (const std::uint8_t last : lastBytes)
        panels.add(testPanel(++number, address(last)));
    return panels;
}

bool isWhereItTells(const Panel &panel)
{
    return panel.source == panel.address;
}

// The last MAC byte of each step in its order, with "!" behind it when the step opens a circle.
QString orderOf(const Plan &plan)
{
    QStringList steps;
    for (const PlanStep &step : plan.steps)
        steps << QString::number(step.entry.mac[5]) + (step.opensCircle ? QStringLiteral("!") : QString());
    return steps.join(QLatin1Char(' '));
}

} // namespace

class PlanTest : public QObject
{
    Q_OBJECT

private slots:
    void stepsAreComparedWithWhatIsThere();
    void whatIsNotGivenStays();
    void addressesAreGivenUpBeforeTheyAreTaken_data();
    void addressesAreGivenUpBeforeTheyAreTaken();
    void conflictsAreObjectedTo_data();
    void conflictsAreObjectedTo();
    void settingsAndThisComputerAreLookedAt();
    void panelThatIsAsPlannedIsNotObjectedTo();
    void panelThatIsElsewhereIsAChange();
    void addressThatIsStillAnsweredFromIsHeld();
    void cablesAndGatewaysAreLookedAt();
};

void PlanTest::stepsAreComparedWithWhatIsThere()
{
    const Plan plan = makePlan({entry(1, 5), entry(2, 7), entry(9, 8)}, panelsAt({5, 6}), {}, isWhereItTells);
    QCOMPARE(orderOf(plan), QStringLiteral("1 9 2"));
    QVERIFY(plan.steps[0].isAlreadySo());
    QVERIFY(!plan.steps[1].isFound() && !plan.steps[1].isChange());
    QVERIFY(plan.steps[2].isChange());
    QCOMPARE(plan.objections, QStringList());
}

void PlanTest::whatIsNotGivenStays()
{
    PlanEntry onlyGateway;
    onlyGateway.mac = testPanel(1).mac;
    onlyGateway.wanted.gateway = 0;
    const Plan plan = makePlan({onlyGateway}, panelsAt({5}), {}, isWhereItTells);
    QVERIFY(plan.steps[0].isChange());
    QCOMPARE(plan.steps[0].wanted.address, address(5));
    QCOMPARE(plan.steps[0].wanted.netmask, 0xFFFFFF00u);
    QCOMPARE(plan.steps[0].wanted.gateway, 0u);
}

void PlanTest::addressesAreGivenUpBeforeTheyAreTaken_data()
{
    QTest::addColumn<QList<int>>("wanted"); // for the panels 1, 2, 3... that are at 11, 12, 13...
    QTest::addColumn<QString>("order");
    QTest::newRow("independent") << QList<int>{21, 22, 23} << "1 2 3";
    QTest::newRow("one behind the other") << QList<int>{12, 13, 14} << "3 2 1";
    QTest::newRow("the other way round") << QList<int>{21, 11, 12} << "1 2 3";
    QTest::newRow("exchange") << QList<int>{12, 11} << "1! 2";
    QTest::newRow("circle of three") << QList<int>{12, 13, 11} << "1! 3 2";
    QTest::newRow("two circles") << QList<int>{12, 11, 14, 13} << "1! 2 3! 4";
    QTest::newRow("chain into a circle's place") << QList<int>{12, 11, 24, 13} << "3 4 1! 2";
}

void PlanTest::addressesAreGivenUpBeforeTheyAreTaken()
{
    QFETCH(QList<int>, wanted);
    QFETCH(QString, order);
    PanelList panels;
    std::vector<PlanEntry> entries;
    for (int number = 1; number <= static_cast<int>(wanted.size()); ++number) {
        panels.add(
            testPanel(static_cast<std::uint8_t>(number), address(static_cast<std::uint8_t>(10 + number))));
        entries.push_back(
            entry(static_cast<std::uint8_t>(number), static_cast<std::uint8_t>(wanted.at(number - 1))));
    }
    const Plan plan = makePlan(entries, panels, {}, isWhereItTells);
    QCOMPARE(orderOf(plan), order);
    QCOMPARE(plan.objections, QStringList());
}

void PlanTest::conflictsAreObjectedTo_data()
{
    QTest::addColumn<QList<int>>(
        "wanted"); // for the panels 1, 2... ; 0: not in the plan. Panels 1, 2 are at 11, 12.
    QTest::addColumn<QStringList>("objections");
    QTest::newRow("held by one outside the plan")
        << QList<int>{12, 0}
        << QStringList{"plan.csv:2: 02:00:5e:10:00:01: The address 192.168.10.12 would be that of "
                       "02:00:5e:10:00:02, too."};
    QTest::newRow("held by one that stays")
        << QList<int>{12, 12} << QStringList{"02:00:5e:10:00:01: The address"};
    QTest::newRow("planned twice") << QList<int>{20, 20} << QStringList{"plan.csv:2: ", "plan.csv:3: "};
    QTest::newRow("planned for one that is not found")
        << QList<int>{20, 0, 20} << QStringList{"plan.csv:2: ", "plan.csv:4: "};
}

void PlanTest::conflictsAreObjectedTo()
{
    QFETCH(QList<int>, wanted);
    QFETCH(QStringList, objections);
    std::vector<PlanEntry> entries;
    for (int number = 1; number <= static_cast<int>(wanted.size()); ++number) {
        if (wanted.at(number - 1) != 0)
            entries.push_back(
                entry(static_cast<std::uint8_t>(number), static_cast<std::uint8_t>(wanted.at(number - 1))));
    }
    const Plan plan = makePlan(entries, panelsAt({11, 12}), {}, isWhereItTells);
    QVERIFY2(plan.objections.size() == objections.size(),
             qPrintable(plan.objections.join(QLatin1Char('\n'))));
    for (int index = 0; index < static_cast<int>(objections.size()); ++index)
        QVERIFY2(plan.objections.at(index).contains(objections.at(index)),
                 qPrintable(plan.objections.at(index)));
}

void PlanTest::settingsAndThisComputerAreLookedAt()
{
    NetworkInterface ours;
    ours.name = QStringLiteral("eth0");
    ours.addresses = {{address(1), 0xFFFFFF00}};
    const Plan plan = makePlan({entry(1, 255), entry(2, 1)}, panelsAt({11, 12}), {ours}, isWhereItTells);
    QCOMPARE(plan.objections.size(), 3); // the panels' gateway is address 1 as well
    QVERIFY(plan.objections.at(0).contains(QStringLiteral("broadcast address")));
    QVERIFY(plan.objections.at(1).contains(QStringLiteral("own new address")));
    QVERIFY(plan.objections.at(2).contains(QStringLiteral("this computer's own, on eth0")));
}

void PlanTest::panelThatIsAsPlannedIsNotObjectedTo()
{
    PanelList panels;
    Panel odd = testPanel(1, address(255));
    panels.add(odd);
    QCOMPARE(makePlan({entry(1, 255)}, panels, {}, isWhereItTells).objections, QStringList());
}

void PlanTest::panelThatIsElsewhereIsAChange()
{
    Panel elsewhere = testPanel(1, address(12));
    elsewhere.source = address(11);
    PanelList panels;
    panels.add(elsewhere);
    const Plan plan = makePlan({entry(1, 12)}, panels, {}, isWhereItTells);
    QVERIFY(plan.steps[0].isChange() && !plan.steps[0].isAlreadySo());
}

void PlanTest::addressThatIsStillAnsweredFromIsHeld()
{
    PanelList panels = panelsAt({21});
    Panel elsewhere = testPanel(2, address(12));
    elsewhere.source = address(11);
    panels.add(elsewhere);
    const Plan alone = makePlan({entry(1, 11)}, panels, {}, isWhereItTells);
    QCOMPARE(alone.objections,
             QStringList({"plan.csv:2: 02:00:5e:10:00:01: The address 192.168.10.11 would be "
                          "that of 02:00:5e:10:00:02, too."}));
    const Plan both = makePlan({entry(1, 11), entry(2, 12)}, panels, {}, isWhereItTells);
    QCOMPARE(both.objections, QStringList());
    QCOMPARE(orderOf(both), QStringLiteral("2 1"));
    QCOMPARE(orderOf(makePlan({entry(2, 11)}, panels, {}, isWhereItTells)), QStringLiteral("2"));
}

void PlanTest::cablesAndGatewaysAreLookedAt()
{
    NetworkInterface eth0;
    eth0.index = testPanel().interfaceIndex;
    eth0.name = QStringLiteral("eth0");
    eth0.addresses = {{0x0A010201, 0xFFFFFF00}};
    NetworkInterface eth1;
    eth1.index = eth0.index + 1;
    eth1.name = QStringLiteral("eth1");
    eth1.addresses = {{address(1), 0xFFFFFF00}};
    PlanEntry deaf = entry(1, 13);
    deaf.wanted.gateway = 0;
    PanelList panels;
    panels.add(testPanel(1, 0x0A010205));
    panels.add(testPanel(2, 0x0A010206));
    const Plan plan = makePlan({deaf, entry(2, 14)}, panels, {eth0, eth1}, isWhereItTells);
    const QString cable = "is in the subnet of eth1, but the panel is connected to eth0.";
    QCOMPARE(plan.objections,
             QStringList({"plan.csv:2: 02:00:5e:10:00:01: The address 192.168.10.13 " + cable,
                          "plan.csv:2: 02:00:5e:10:00:01: Without a gateway the panel is heard only by "
                          "computers with an address in 192.168.10.0/24, and this one has none on eth0.",
                          "plan.csv:3: 02:00:5e:10:00:02: The address 192.168.10.14 " + cable}));
}

QTEST_APPLESS_MAIN(PlanTest)
#include "plantest.moc"
