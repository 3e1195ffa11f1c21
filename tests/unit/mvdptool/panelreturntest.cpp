#include "panelreturn.h"

#include "testpanel.h"

#include <QtTest/QtTest>

namespace
{

const std::chrono::milliseconds Soon(900); // in the first two rounds
const std::chrono::milliseconds Later(5000);
const std::chrono::milliseconds Late(59999);
const std::chrono::milliseconds TooLate(60000);

PanelEvent eventOf(PanelEvent::Kind kind, std::uint8_t number = 1)
{
    return {kind, testPanel(number), {}};
}

} // namespace

class PanelReturnTest : public QObject
{
    Q_OBJECT

private slots:
    void panelThatGoesAndComesIsBack();
    void panelThatIsGoneAlreadyIsBackLater();
    void panelThatStaysIsWaitedForAWhile();
    void panelThatGoesLateIsWaitedFor();
    void returnCountsOnce();
    void changeIsNoReturn();
    void othersAreIgnored();
    void eachIsWaitedForOnce();
    void nobodyIsOverAtOnce();
};

void PanelReturnTest::panelThatGoesAndComesIsBack()
{
    ReturnWatch watch({testPanel(1).mac});
    QVERIFY(!watch.take(eventOf(PanelEvent::Appeared), Soon));
    QVERIFY(!watch.take(eventOf(PanelEvent::Vanished), Later));
    QCOMPARE(int(watch.panels()[0].state), int(AwaitedPanel::Away));
    QVERIFY(!watch.isOver(Late));
    const AwaitedPanel *back = watch.take(eventOf(PanelEvent::Appeared), Late);
    QVERIFY(back != nullptr);
    QCOMPARE(int(back->state), int(AwaitedPanel::Back));
    QCOMPARE(back->panel.address, testPanel(1).address);
    QCOMPARE(back->after.count(), Late.count());
    QVERIFY(watch.isOver(Late));
    QCOMPARE(watch.missing(), 0);
}

void PanelReturnTest::panelThatIsGoneAlreadyIsBackLater()
{
    ReturnWatch watch({testPanel(1).mac});
    QVERIFY(!watch.isOver(Later));
    QVERIFY(watch.take(eventOf(PanelEvent::Appeared), Later));
}

void PanelReturnTest::panelThatStaysIsWaitedForAWhile()
{
    ReturnWatch watch({testPanel(1).mac});
    QVERIFY(!watch.take(eventOf(PanelEvent::Appeared), Soon));
    QVERIFY(!watch.isOver(Late));
    QVERIFY(watch.isOver(TooLate));
    QCOMPARE(int(watch.panels()[0].state), int(AwaitedPanel::Here));
    QCOMPARE(watch.missing(), 1);
}

void PanelReturnTest::panelThatGoesLateIsWaitedFor()
{
    ReturnWatch watch({testPanel(1).mac});
    watch.take(eventOf(PanelEvent::Appeared), Soon);
    watch.take(eventOf(PanelEvent::Vanished), Late);
    QVERIFY(!watch.isOver(TooLate));
}

void PanelReturnTest::returnCountsOnce()
{
    ReturnWatch watch({testPanel(1).mac});
    QVERIFY(watch.take(eventOf(PanelEvent::Appeared), Later));
    QVERIFY(!watch.take(eventOf(PanelEvent::Vanished), Late));
    QVERIFY(!watch.take(eventOf(PanelEvent::Appeared), TooLate));
    QVERIFY(watch.isOver(TooLate));
    QCOMPARE(watch.panels()[0].after.count(), Later.count());
}

void PanelReturnTest::changeIsNoReturn()
{
    ReturnWatch watch({testPanel(1).mac});
    watch.take(eventOf(PanelEvent::Appeared), Soon);
    QVERIFY(!watch.take(eventOf(PanelEvent::Changed), Later));
    QVERIFY(!watch.isOver(Later));
}

void PanelReturnTest::othersAreIgnored()
{
    ReturnWatch watch({testPanel(1).mac});
    QVERIFY(!watch.take(eventOf(PanelEvent::Appeared, 2), Later));
    QCOMPARE(watch.missing(), 1);
}

void PanelReturnTest::eachIsWaitedForOnce()
{
    ReturnWatch watch({testPanel(2).mac, testPanel(1).mac, testPanel(2).mac});
    QCOMPARE(watch.panels().size(), std::size_t(2));
    QCOMPARE(watch.panels()[0].mac, testPanel(2).mac);
    QVERIFY(watch.take(eventOf(PanelEvent::Appeared, 1), Later));
    QCOMPARE(watch.missing(), 1);
    QVERIFY(!watch.isOver(TooLate));
}

void PanelReturnTest::nobodyIsOverAtOnce()
{
    QVERIFY(ReturnWatch({}).isOver(std::chrono::milliseconds(0)));
}

QTEST_APPLESS_MAIN(PanelReturnTest)
#include "panelreturntest.moc"
