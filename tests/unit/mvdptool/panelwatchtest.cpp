#include "panelwatch.h"

#include "testpanel.h"

#include <QtTest/QtTest>

namespace
{

// "appeared 1", "changed 2": the kind and the last byte of the MAC address.
QStringList texts(const std::vector<PanelEvent> &events)
{
    QStringList result;
    for (const PanelEvent &event : events)
        result << QStringLiteral("%1 %2").arg(QLatin1String(eventName(event.kind))).arg(event.panel.mac[5]);
    return result;
}

} // namespace

class PanelWatchTest : public QObject
{
    Q_OBJECT

private slots:
    void newPanelAppearsOnce();
    void silentPanelVanishesAfterItsRounds();
    void lateAnswerKeepsAPanel();
    void vanishedPanelAppearsAgain();
    void changeIsToldOnceARound();
    void anotherWayOfAnsweringIsNoChange();
    void changeAndBackIsNone();
    void panelsWithoutMacAreToldApartBySource();
    void changesAreNamed();
};

void PanelWatchTest::newPanelAppearsOnce()
{
    PanelWatch watch(3);
    const auto event = watch.hear(testPanel(1));
    QVERIFY(event && event->kind == PanelEvent::Appeared);
    QCOMPARE(event->panel.address, testPanel(1).address);
    QVERIFY(!watch.hear(testPanel(1)));
    QVERIFY(watch.hear(testPanel(2)));
    QCOMPARE(texts(watch.endRound()), QStringList());
    QCOMPARE(watch.size(), std::size_t(2));
}

void PanelWatchTest::silentPanelVanishesAfterItsRounds()
{
    PanelWatch watch(3);
    watch.hear(testPanel(1));
    for (int round = 0; round < 3; ++round) // it answered in the first one
        QCOMPARE(texts(watch.endRound()), QStringList());
    QCOMPARE(texts(watch.endRound()), QStringList({"vanished 1"}));
    QCOMPARE(watch.size(), std::size_t(0));
    QCOMPARE(texts(watch.endRound()), QStringList());
}

void PanelWatchTest::lateAnswerKeepsAPanel()
{
    PanelWatch watch(2);
    watch.hear(testPanel(1));
    for (int round = 0; round < 10; ++round) {
        QCOMPARE(texts(watch.endRound()), QStringList());
        QCOMPARE(texts(watch.endRound()), QStringList());
        QVERIFY(!watch.hear(testPanel(1)));
    }
}

void PanelWatchTest::vanishedPanelAppearsAgain()
{
    PanelWatch watch(1);
    watch.hear(testPanel(1));
    watch.endRound();
    QCOMPARE(texts(watch.endRound()), QStringList({"vanished 1"}));
    QVERIFY(watch.hear(testPanel(1)));
}

void PanelWatchTest::changeIsToldOnceARound()
{
    PanelWatch watch(3);
    watch.hear(testPanel(1, 0x0A000001));
    for (const std::uint32_t address : {0x0A000002u, 0x0A000003u, 0x0A000004u})
        QVERIFY(!watch.hear(testPanel(1, address)));
    const auto events = watch.endRound();
    QCOMPARE(texts(events), QStringList({"changed 1"}));
    QCOMPARE(events[0].before.address, 0x0A000001u);
    QCOMPARE(events[0].panel.address, 0x0A000004u);
    QCOMPARE(texts(watch.endRound()), QStringList());
}

void PanelWatchTest::anotherWayOfAnsweringIsNoChange()
{
    PanelWatch watch(3);
    watch.hear(testPanel(1));
    Panel panel = testPanel(1);
    panel.way = Way::Broadcast;
    panel.source = 0x0A000001;
    panel.interfaceIndex = 9;
    watch.hear(panel);
    QCOMPARE(texts(watch.endRound()), QStringList());
}

void PanelWatchTest::changeAndBackIsNone()
{
    PanelWatch watch(3);
    watch.hear(testPanel(1, 0x0A000001));
    watch.hear(testPanel(1, 0x0A000002));
    watch.hear(testPanel(1, 0x0A000001));
    QCOMPARE(texts(watch.endRound()), QStringList());
}

void PanelWatchTest::panelsWithoutMacAreToldApartBySource()
{
    PanelWatch watch(3);
    Panel unknown;
    unknown.source = 1;
    QVERIFY(watch.hear(unknown));
    unknown.source = 2;
    QVERIFY(watch.hear(unknown));
    QVERIFY(watch.knows(unknown));
    unknown.source = 3;
    QVERIFY(!watch.knows(unknown));
}

void PanelWatchTest::changesAreNamed()
{
    Panel now = testPanel(1, 0x0A000001);
    QCOMPARE(changesText(testPanel(1), now), QStringLiteral("192.168.10.5/24 -> 10.0.0.1/24"));
    now.gateway = 0;
    now.partitionVersion = 0;
    now.description = QStringLiteral("x");
    QCOMPARE(changesText(testPanel(1), now),
             QStringLiteral(
                 "192.168.10.5/24 -> 10.0.0.1/24, gateway 192.168.10.1 -> 0.0.0.0, version 1.234.56.7 -> "
                 "unknown, description 'QM316-44LRNA' -> 'x'"));
}

QTEST_APPLESS_MAIN(PanelWatchTest)
#include "panelwatchtest.moc"
