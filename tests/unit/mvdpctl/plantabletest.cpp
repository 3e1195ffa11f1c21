#include "plantable.h"

#include "mvdptool/testpanel.h"

#include <QtTest/QtTest>

namespace
{

// The address in 192.168.10.0/24 with this last byte.
std::uint32_t address(std::uint8_t last)
{
    return 0xC0A80A00u | last;
}

// The panel with this last MAC byte changes from one address to another.
PlanStep step(std::uint8_t number, std::uint8_t now, std::uint8_t wanted)
{
    PlanStep result;
    result.now = testPanel(number, address(now));
    result.entry.mac = result.now->mac;
    result.wanted = settingsOf(*result.now);
    result.wanted.address = address(wanted);
    return result;
}

QStringList linesOf(const std::vector<PlanStep> &steps)
{
    return planLines({steps, {}});
}

} // namespace

class PlanTableTest : public QObject
{
    Q_OBJECT

private slots:
    void changesStandOneBelowTheOther();
    void whatNeedsNothingIsSaidSo();
    void panelThatIsElsewhereIsShownSo();
    void openingOfACircleIsShown();
};

void PlanTableTest::changesStandOneBelowTheOther()
{
    PlanStep both = step(1, 11, 7);
    both.wanted.gateway = 0;
    QCOMPARE(linesOf({both, step(3, 13, 12)}),
             QStringList({
                 "02:00:5e:10:00:01  192.168.10.11/24        -> 192.168.10.7/24",
                 "                   gateway 192.168.10.1    -> 0.0.0.0",
                 "02:00:5e:10:00:03  192.168.10.13/24        -> 192.168.10.12/24",
             }));
}

void PlanTableTest::whatNeedsNothingIsSaidSo()
{
    PlanStep missing = step(9, 9, 9);
    missing.now.reset();
    QCOMPARE(linesOf({step(2, 12, 12), missing}),
             QStringList({"02:00:5e:10:00:02  192.168.10.12/24        already as planned",
                          "02:00:5e:10:00:09  not found"}));
}

void PlanTableTest::panelThatIsElsewhereIsShownSo()
{
    PlanStep sameAddress = step(1, 12, 12);
    PlanStep otherAddress = step(1, 12, 13);
    for (PlanStep *each : {&sameAddress, &otherAddress}) {
        each->now->source = address(11);
        each->isWhereItTells = false;
    }
    QCOMPARE(linesOf({sameAddress}),
             QStringList({"02:00:5e:10:00:01  192.168.10.12/24        (but answers from 192.168.10.11)"}));
    QCOMPARE(linesOf({otherAddress}),
             QStringList({"02:00:5e:10:00:01  192.168.10.12/24        -> 192.168.10.13/24",
                          "                   (but answers from 192.168.10.11)"}));
}

void PlanTableTest::openingOfACircleIsShown()
{
    PlanStep circle = step(1, 11, 12);
    circle.opensCircle = true;
    QCOMPARE(linesOf({circle}),
             QStringList({"02:00:5e:10:00:01  192.168.10.11/24        -> 192.168.10.12/24",
                          "                   (still held by another panel until that one's turn)"}));
}

QTEST_APPLESS_MAIN(PlanTableTest)
#include "plantabletest.moc"
