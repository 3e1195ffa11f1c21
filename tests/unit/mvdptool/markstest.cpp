#include "marks.h"

#include "testpanel.h"

#include <QtTest/QtTest>

namespace
{

PanelList listOf(std::initializer_list<Panel> panels)
{
    PanelList list;
    for (const Panel &panel : panels)
        list.add(panel);
    return list;
}

// The interface on which test panels are heard.
std::vector<NetworkInterface> interfaces()
{
    NetworkInterface other;
    other.index = 1;
    other.addresses = {{0x0A000001, 0xFF000000}};
    NetworkInterface ours;
    ours.index = 2;
    ours.addresses = {{0xAC100001, 0xFFFF0000}, {0xC0A80A01, 0xFFFFFF00}};
    return {other, ours};
}

QStringList namesOf(const PanelList &panels)
{
    QStringList all;
    for (const Marks &marks : marksOf(panels, interfaces()))
        all << markNames(marks).join(QLatin1Char(' '));
    return all;
}

QStringList notesOf(const PanelList &panels, const std::vector<NetworkInterface> &interfaces)
{
    QStringList sentences;
    for (const MarkNote &note : markNotes(panels, interfaces))
        sentences << note.sentence;
    return sentences;
}

} // namespace

class MarksTest : public QObject
{
    Q_OBJECT

private slots:
    void unremarkablePanelsNeedNoMarks();
    void addressHeldTwiceIsMarked();
    void foreignSubnetIsThatOfTheInterfaceThatHeardIt_data();
    void foreignSubnetIsThatOfTheInterfaceThatHeardIt();
    void unknownVersionIsMarked();
    void panelThatDoesNotKnowItselfIsMarked();
    void replyFromAnotherAddressIsMarked();
    void macAnsweringFromTwoAddressesIsMarked();
    void notesAreOneForEachCause();
};

void MarksTest::unremarkablePanelsNeedNoMarks()
{
    const PanelList panels = listOf({testPanel(1), testPanel(2, 0xC0A80A06)});
    QCOMPARE(namesOf(panels), QStringList({"", ""}));
    QCOMPARE(notesOf(panels, interfaces()), QStringList());
}

void MarksTest::addressHeldTwiceIsMarked()
{
    const PanelList panels = listOf({testPanel(1), testPanel(2), testPanel(3, 0xC0A80A06)});
    QCOMPARE(namesOf(panels), QStringList({"shared-address", "shared-address", ""}));
    QCOMPARE(notesOf(panels, {}), QStringList({"2 panels hold the address 192.168.10.5"}));
    QVERIFY(markNotes(panels, {}).front().mark == &Marks::sharedAddress);
}

void MarksTest::foreignSubnetIsThatOfTheInterfaceThatHeardIt_data()
{
    QTest::addColumn<quint32>("address");
    QTest::addColumn<unsigned>("heardOn");
    QTest::addColumn<bool>("isForeign");
    QTest::newRow("its subnet") << quint32(0xC0A80A05) << 2u << false;
    QTest::newRow("its other subnet") << quint32(0xAC10FF05) << 2u << false;
    QTest::newRow("no subnet") << quint32(0xC0A80B05) << 2u << true;
    QTest::newRow("another interface's subnet") << quint32(0x0A000005) << 2u << true;
    QTest::newRow("no address") << quint32(0) << 2u << false;
    QTest::newRow("interface that has gone") << quint32(0xC0A80B05) << 7u << false;
}

void MarksTest::foreignSubnetIsThatOfTheInterfaceThatHeardIt()
{
    QFETCH(quint32, address);
    QFETCH(unsigned, heardOn);
    QFETCH(bool, isForeign);
    Panel panel = testPanel(1, address);
    panel.interfaceIndex = heardOn;
    const PanelList panels = listOf({panel});
    QCOMPARE(marksOf(panels, interfaces()).front().foreignSubnet, isForeign);
    QCOMPARE(int(notesOf(panels, interfaces()).size()), isForeign ? 1 : 0);
}

void MarksTest::unknownVersionIsMarked()
{
    Panel panel = testPanel();
    panel.partitionVersion = 0;
    QCOMPARE(namesOf(listOf({panel})), QStringList({"unknown-version"}));
    QCOMPARE(notesOf(listOf({panel}), {}), QStringList({"1 panel could not read its version"}));
}

void MarksTest::panelThatDoesNotKnowItselfIsMarked()
{
    Panel unknown;
    unknown.source = 0xC0A80A05;
    QCOMPARE(namesOf(listOf({unknown})), QStringList({"unknown-version no-identity"}));
    QVERIFY(notesOf(listOf({unknown}), {})
                .contains("The panel at 192.168.10.5 does not know itself: its platform service is down"));
}

void MarksTest::replyFromAnotherAddressIsMarked()
{
    Panel panel = testPanel();
    panel.source = 0x0A000001;
    QCOMPARE(namesOf(listOf({panel})), QStringList({"other-source"}));
    QCOMPARE(notesOf(listOf({panel}), {}),
             QStringList({"02:00:5e:10:00:01 tells the address 192.168.10.5 but answered from 10.0.0.1"}));
}

void MarksTest::macAnsweringFromTwoAddressesIsMarked()
{
    Panel clone = testPanel();
    clone.source = 0x0A000001;
    QCOMPARE(namesOf(listOf({testPanel(), clone})), QStringList({"other-source shared-mac"}));
    QCOMPARE(notesOf(listOf({testPanel(), clone}), {}),
             QStringList({"02:00:5e:10:00:01 answered from 2 addresses: two devices may share this MAC "
                          "address"}));
}

void MarksTest::notesAreOneForEachCause()
{
    Panel one = testPanel(1, 0x0A000001);
    Panel two = testPanel(2, 0x0A000002);
    one.partitionVersion = two.partitionVersion = 0;
    QVERIFY(markNotes(listOf({one, two}), interfaces()).front().mark == &Marks::foreignSubnet);
    const QStringList notes = notesOf(listOf({one, two}), interfaces());
    QCOMPARE(notes.size(), 2);
    QVERIFY(notes.at(0).startsWith(QStringLiteral("2 panels are not on a subnet")));
    QCOMPARE(notes.at(1), QStringLiteral("2 panels could not read their versions"));
}

QTEST_APPLESS_MAIN(MarksTest)
#include "markstest.moc"
