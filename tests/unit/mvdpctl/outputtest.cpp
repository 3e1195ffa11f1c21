#include "output.h"
#include "testpanel.h"

#include <QtTest/QtTest>

#include <QtCore/QJsonDocument>

namespace
{

QString interfaceName(unsigned index)
{
    return QStringLiteral("eth%1").arg(index);
}

PanelList listOf(std::initializer_list<Panel> panels)
{
    PanelList list;
    for (const Panel &panel : panels)
        list.add(panel);
    return list;
}

} // namespace

class OutputTest : public QObject
{
    Q_OBJECT

private slots:
    void tableLinesUpItsColumns();
    void longDescriptionIsCutOnATerminalOnly();
    void netmaskWithHolesIsShownInFull();
    void unremarkablePanelsNeedNoNotes();
    void addressHeldTwiceIsNoted();
    void panelThatDoesNotKnowItselfIsNoted();
    void replyFromAnotherAddressIsNoted();
    void macAnsweringFromTwoAddressesIsNoted();
    void jsonHasItsPromisedShape();
    void unknownsAreNullInJson();
};

void OutputTest::tableLinesUpItsColumns()
{
    Panel unknown;
    const QStringList lines = panelTable({unknown, testPanel(2, 0x0A000001)}, 0);
    QCOMPARE(lines, QStringList({
                        "MAC ADDRESS        ADDRESS      GATEWAY       VERSION     DESCRIPTION",
                        "00:00:00:00:00:00  0.0.0.0/0    -             -           -",
                        "02:00:5e:10:00:02  10.0.0.1/24  192.168.10.1  1.234.56.7  QM316-44LRNA",
                    }));
}

void OutputTest::longDescriptionIsCutOnATerminalOnly()
{
    Panel panel = testPanel();
    panel.description = QString(64, QLatin1Char('x'));
    QVERIFY(panelTable({panel}, 0).last().endsWith(panel.description));
    const QString cut = panelTable({panel}, 80).last();
    QCOMPARE(cut.size(), 80);
    QVERIFY(cut.endsWith(QStringLiteral("x>")));
    // A narrow terminal wraps rather than losing the description.
    QVERIFY(panelTable({panel}, 20).last().endsWith(QStringLiteral("  xxxxxxx>")));
}

void OutputTest::netmaskWithHolesIsShownInFull()
{
    Panel panel = testPanel();
    panel.netmask = 0xFF00FF00;
    QCOMPARE(addressWithNetmask(panel), QStringLiteral("192.168.10.5/255.0.255.0"));
}

void OutputTest::unremarkablePanelsNeedNoNotes()
{
    QCOMPARE(panelNotes(listOf({testPanel(1), testPanel(2, 0xC0A80A06)})), QStringList());
}

void OutputTest::addressHeldTwiceIsNoted()
{
    QCOMPARE(panelNotes(listOf({testPanel(1), testPanel(2), testPanel(3)})),
             QStringList({"3 panels hold the address 192.168.10.5: give each its own with 'mvdpctl set'."}));
}

void OutputTest::panelThatDoesNotKnowItselfIsNoted()
{
    Panel unknown;
    unknown.source = 0xC0A80A05;
    QCOMPARE(panelNotes(listOf({unknown})),
             QStringList({"The panel at 192.168.10.5 does not know itself: its platform service is down."}));
}

void OutputTest::replyFromAnotherAddressIsNoted()
{
    Panel panel = testPanel();
    panel.source = 0x0A000001;
    QCOMPARE(panelNotes(listOf({panel})),
             QStringList({"02:00:5e:10:00:01 tells the address 192.168.10.5 but answered from 10.0.0.1."}));
}

void OutputTest::macAnsweringFromTwoAddressesIsNoted()
{
    Panel clone = testPanel();
    clone.source = 0x0A000001;
    QCOMPARE(panelNotes(listOf({testPanel(), clone})),
             QStringList({"02:00:5e:10:00:01 answered from 2 addresses: two devices may share this MAC "
                          "address."}));
}

void OutputTest::jsonHasItsPromisedShape()
{
    Panel panel = testPanel();
    panel.way = Way::Broadcast;
    panel.description = QString::fromUtf8("Prüfstand");
    QCOMPARE(QJsonDocument(panelJson(panel, interfaceName)).toJson(QJsonDocument::Compact),
             QByteArray("{\"address\":\"192.168.10.5\",\"description\":\"Prüfstand\","
                        "\"gateway\":\"192.168.10.1\",\"interface\":\"eth2\",\"mac\":\"02:00:5e:10:00:01\","
                        "\"netmask\":\"255.255.255.0\",\"prefix\":24,\"source\":\"192.168.10.5\","
                        "\"version\":\"1.234.56.7\",\"way\":\"broadcast\"}"));
}

void OutputTest::unknownsAreNullInJson()
{
    Panel panel = testPanel();
    panel.partitionVersion = 0;
    panel.netmask = 0xFF00FF00;
    const QJsonObject json = panelJson(panel, interfaceName);
    QVERIFY(json.value(QStringLiteral("version")).isNull());
    QVERIFY(json.value(QStringLiteral("prefix")).isNull());
}

QTEST_APPLESS_MAIN(OutputTest)
#include "outputtest.moc"
