#include "whereabouts.h"

#include "testpanel.h"

#include <QtTest/QtTest>

namespace
{

// eth0 of this computer: 192.168.10.1/24.
NetworkInterface ours()
{
    NetworkInterface interface;
    interface.index = testPanel().interfaceIndex;
    interface.name = QStringLiteral("eth0");
    interface.addresses = {{0xC0A80A01, 0xFFFFFF00}};
    return interface;
}

} // namespace

class WhereaboutsTest : public QObject
{
    Q_OBJECT

private slots:
    void answerShowsWhereAPanelIs_data();
    void answerShowsWhereAPanelIs();
    void deafnessIsTold_data();
    void deafnessIsTold();
    void routerThatTranslatesHearsAPanelWithoutAGateway();
};

void WhereaboutsTest::answerShowsWhereAPanelIs_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("netmask");
    QTest::addColumn<QString>("source");
    QTest::addColumn<int>("way");
    QTest::addColumn<bool>("isShown");
    const int unicast = static_cast<int>(Way::Unicast);
    const int group = static_cast<int>(Way::Multicast);
    const int broadcast = static_cast<int>(Way::Broadcast);
    const QString near = QStringLiteral("192.168.10.5");
    const QString far = QStringLiteral("10.20.0.31");
    const QString full = QStringLiteral("255.255.255.0");
    QTest::newRow("from there") << near << full << near << unicast << true;
    QTest::newRow("from there, by the group") << far << full << far << group << true;
    QTest::newRow("from another address of this subnet")
        << near << full << "192.168.10.6" << unicast << false;
    QTest::newRow("from another subnet, by the group") << far << full << near << group << false;
    QTest::newRow("from another subnet, by broadcast") << far << full << near << broadcast << false;
    QTest::newRow("from a router") << far << full << near << unicast << true;
    QTest::newRow("netmask that holds everybody") << far << "0.0.0.0" << near << unicast << false;
    QTest::newRow("no address") << "0.0.0.0"
                                << "0.0.0.0" << near << unicast << false;
}

void WhereaboutsTest::answerShowsWhereAPanelIs()
{
    QFETCH(QString, address);
    QFETCH(QString, netmask);
    QFETCH(QString, source);
    QFETCH(int, way);
    Panel panel = testPanel(1, ipv4FromText(address).value());
    panel.netmask = ipv4FromText(netmask).value();
    panel.source = ipv4FromText(source).value();
    panel.way = static_cast<Way>(way);
    QTEST(isShownToBeThere(panel, {ours()}), "isShown");
}

void WhereaboutsTest::deafnessIsTold_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("gateway");
    QTest::addColumn<QString>("subnet"); // of those who receive it; empty: this computer does
    const auto row = [](const char *name, const char *address, const char *gateway, const char *subnet) {
        QTest::newRow(name) << address << gateway << subnet;
    };
    row("this computer's subnet", "192.168.10.31/24", "0.0.0.0", "");
    row("wider than this computer's", "192.168.11.31/23", "0.0.0.0", "");
    row("netmask that holds everybody", "10.0.0.5/0", "0.0.0.0", "");
    row("another subnet", "192.168.11.31/24", "0.0.0.0", "192.168.11.0/24");
    row("a part of this computer's", "192.168.10.31/28", "0.0.0.0", "192.168.10.16/28");
    row("another subnet with a gateway", "192.168.11.31/24", "192.168.11.1", "");
    row("gateway elsewhere", "192.168.11.31/24", "192.168.10.1", "192.168.11.0/24");
    row("gateway itself", "192.168.11.31/24", "192.168.11.31", "192.168.11.0/24");
}

void WhereaboutsTest::deafnessIsTold()
{
    QFETCH(QString, address);
    QFETCH(QString, gateway);
    QFETCH(QString, subnet);
    const NetworkSettings settings = testSettings(address, gateway);
    QCOMPARE(deafnessText(settings, testPanel(), {ours()}),
             subnet.isEmpty()
                 ? QString()
                 : "Without a gateway the panel is heard only by computers with an address in " + subnet);
    QCOMPARE(deafnessText(settings, testPanel(), {}), QString());
}

void WhereaboutsTest::routerThatTranslatesHearsAPanelWithoutAGateway()
{
    Panel panel = testPanel(1, 0x0A63000A);
    panel.source = 0xC0A80AFE;
    QCOMPARE(deafnessText({0x0A63000B, 0xFFFFFF00, 0}, panel, {ours()}), QString());
}

QTEST_APPLESS_MAIN(WhereaboutsTest)
#include "whereaboutstest.moc"
