#include "planmaker.h"

#include "testpanel.h"
#include "toolerror.h"

#include <QtTest/QtTest>

#include <set>

namespace
{

// The address in 192.168.10.0/24 with this last byte.
std::uint32_t address(std::uint8_t last)
{
    return 0xC0A80A00u | last;
}

RangeWish wishOf(const char *range, const char *netmask = "24", const char *gateway = "")
{
    const QString gatewayText = QString::fromLatin1(gateway);
    return {rangeFromText(QString::fromLatin1(range)), netmaskFromText(QString::fromLatin1(netmask)).value(),
            gatewayText.isEmpty() ? std::nullopt : ipv4FromText(gatewayText)};
}

// Panels 1, 2, 3... at these addresses of 192.168.10.0/24; 0: at 10.1.2.3.
std::vector<LabelledPanel> panelsAt(const QList<int> &lastBytes)
{
    std::vector<LabelledPanel> panels;
    for (const int last : lastBytes)
        panels.push_back({testPanel(static_cast<std::uint8_t>(panels.size() + 1),
                                    last == 0 ? 0x0A010203 : address(static_cast<std::uint8_t>(last))),
                          {}});
    return panels;
}

// "20 21= 22": the last byte of each panel's new address, with "=" behind it for one that is kept, and how
// many panels have none.
QString textOf(const AddressPlan &plan)
{
    QStringList parts;
    for (const PlannedPanel &each : plan.panels)
        parts << QString::number(*each.wanted.address & 0xFF) + (each.isMoved ? "" : "=");
    if (plan.missing > 0)
        parts << QStringLiteral("%1 missing").arg(plan.missing);
    return parts.join(QLatin1Char(' '));
}

} // namespace

class PlanMakerTest : public QObject
{
    Q_OBJECT

private slots:
    void addressesAreAssigned_data();
    void addressesAreAssigned();
    void netmaskAndGatewayGoToAll();
    void unfitWishesAreRefused_data();
    void unfitWishesAreRefused();
    void panelsAreOrdered_data();
    void panelsAreOrdered();
    void numbersAreOrderedByTheirValue_data();
    void numbersAreOrderedByTheirValue();
};

void PlanMakerTest::addressesAreAssigned_data()
{
    QTest::addColumn<QList<int>>("now");
    QTest::addColumn<QString>("range");
    QTest::addColumn<QList<int>>("taken");
    QTest::addColumn<QString>("plan");
    const auto row = [](const char *name, const QList<int> &now, const char *range, const QList<int> &taken,
                        const char *plan) { QTest::newRow(name) << now << range << taken << plan; };
    row("one after the other", {0, 0, 0}, "192.168.10.20-59", {}, "20 21 22");
    row("in the range already", {0, 21, 0, 20}, "192.168.10.20-59", {}, "22 21= 23 20=");
    row("at the ends of the range", {20, 22, 19, 23}, "192.168.10.20-22", {}, "20= 22= 21 1 missing");
    row("shared address", {21, 21, 0}, "192.168.10.20-59", {}, "21= 20 22");
    row("taken", {0, 0}, "192.168.10.20-59", {20, 22}, "21 23");
    row("taken from who has it", {20, 0}, "192.168.10.20-59", {20}, "21 22");
    row("too few", {0, 0, 22, 0, 0}, "192.168.10.20-22", {21}, "20 22= 3 missing");
    row("network and broadcast", {0, 0, 0}, "192.168.10.0-3", {}, "1 2 3");
    row("own network", {0, 0}, "192.168.10.254-255", {}, "254 1 missing");
    row("nobody", {}, "192.168.10.20-59", {}, "");
}

void PlanMakerTest::addressesAreAssigned()
{
    QFETCH(QList<int>, now);
    QFETCH(QString, range);
    QFETCH(QList<int>, taken);
    QFETCH(QString, plan);
    const auto isTaken = [&taken](std::uint32_t each) {
        return taken.contains(static_cast<int>(each & 0xFF));
    };
    QCOMPARE(textOf(assignAddresses(panelsAt(now), wishOf(qPrintable(range)), isTaken)), plan);
}

void PlanMakerTest::netmaskAndGatewayGoToAll()
{
    const auto isTaken = [](std::uint32_t) { return false; };
    RangeWish wish = wishOf("192.168.10.20-59", "25", "192.168.10.21");
    const AddressPlan plan = assignAddresses(panelsAt({0, 22, 0, 21}), wish, isTaken);
    QCOMPARE(textOf(plan), QStringLiteral("20 22= 23 24")); // none has that of the gateway
    for (const PlannedPanel &each : plan.panels) {
        QCOMPARE(each.wanted.netmask.value(), 0xFFFFFF80u);
        QCOMPARE(each.wanted.gateway.value(), address(21));
    }
    wish.gateway.reset();
    QVERIFY(!assignAddresses(panelsAt({0}), wish, isTaken).panels.front().wanted.gateway.has_value());
}

void PlanMakerTest::unfitWishesAreRefused_data()
{
    QTest::addColumn<QString>("range");
    QTest::addColumn<QString>("netmask");
    QTest::addColumn<QString>("gateway");
    QTest::addColumn<QString>("complaint"); // empty: it is fit
    const auto row = [](const char *name, const char *range, const char *netmask, const char *gateway,
                        const char *complaint) {
        QTest::newRow(name) << range << netmask << gateway << complaint;
    };
    row("usual", "192.168.10.20-59", "24", "192.168.10.1", "");
    row("no gateway", "192.168.10.20-59", "24", "0.0.0.0", "");
    row("gateway in the range", "192.168.10.20-21", "24", "192.168.10.20", "");
    row("from the network's address", "192.168.10.0-1", "24", "", "");
    row("two subnets", "192.168.10.20-192.168.11.20", "24", "",
        "the range 192.168.10.20-192.168.11.20 is not in one subnet under the netmask 255.255.255.0");
    row("holes", "192.168.10.20-59", "255.0.255.0", "", "The netmask 255.0.255.0 has holes");
    row("whole internet", "192.168.10.20-59", "0", "", "makes the whole internet one subnet");
    row("gateway elsewhere", "192.168.10.20-59", "24", "192.168.11.1",
        "is outside the subnet 192.168.10.0/24");
    row("no host", "192.168.10.255-255", "24", "", "is the broadcast address");
    row("gateway alone", "192.168.10.20-20", "24", "192.168.10.20", "is the panel's own new address");
    row("group", "224.0.0.1-9", "24", "", "a multicast address");
    row("last of all", "255.255.255.254-255", "24", "", "a reserved or broadcast address");
}

void PlanMakerTest::unfitWishesAreRefused()
{
    QFETCH(QString, range);
    QFETCH(QString, netmask);
    QFETCH(QString, gateway);
    QFETCH(QString, complaint);
    QString said;
    try {
        checkWish(wishOf(qPrintable(range), qPrintable(netmask), qPrintable(gateway)));
    } catch (const ToolError &error) {
        QCOMPARE(error.kind, ToolError::BadInput);
        said = error.message;
    }
    QVERIFY2(said.contains(complaint) && said.isEmpty() == complaint.isEmpty(), qPrintable(said));
}

void PlanMakerTest::panelsAreOrdered_data()
{
    QTest::addColumn<int>("order");
    QTest::addColumn<QString>("expected"); // last bytes of the MAC addresses
    QTest::newRow("by MAC address") << int(PanelOrder::Mac) << "1 2 3 4 5";
    QTest::newRow("by name") << int(PanelOrder::Name) << "4 1 2 3 5";
    QTest::newRow("by model") << int(PanelOrder::Model) << "2 5 3 1 4";
}

void PlanMakerTest::panelsAreOrdered()
{
    QFETCH(int, order);
    QFETCH(QString, expected);
    const auto panel = [](std::uint8_t number, const char *name, const char *description) {
        LabelledPanel result = {testPanel(number), {QString::fromLatin1(name), {}}};
        result.panel.description = QString::fromLatin1(description);
        return result;
    };
    std::vector<LabelledPanel> panels = {panel(5, "", "qm9"), panel(1, "Cabinet 9", "QM316"),
                                         panel(4, "cabinet 8", ""), panel(3, "", "QM10"),
                                         panel(2, "Cabinet 10", "QM9")};
    sortPanels(panels, static_cast<PanelOrder>(order));
    QStringList result;
    for (const LabelledPanel &each : panels)
        result << QString::number(each.panel.mac[5]);
    QCOMPARE(result.join(QLatin1Char(' ')), expected);
}

void PlanMakerTest::numbersAreOrderedByTheirValue_data()
{
    QTest::addColumn<QString>("one");
    QTest::addColumn<QString>("other"); // stands behind it
    const auto row = [](const char *one, const char *other) { QTest::newRow(one) << one << other; };
    row("Cabinet 9", "cabinet 10");
    row("a", "a1");
    row("a1", "ab");
    row("", "0");
    row("1.9.3", "1.10.2");
    row("7 left", "07 right");
    row("99999999999999999999998", "99999999999999999999999");
    row("00", "1");
}

void PlanMakerTest::numbersAreOrderedByTheirValue()
{
    QFETCH(QString, one);
    QFETCH(QString, other);
    QVERIFY(isBefore(one, other));
    QVERIFY(!isBefore(other, one));
    QVERIFY(!isBefore(one, one));
}

QTEST_APPLESS_MAIN(PlanMakerTest)
#include "planmakertest.moc"
