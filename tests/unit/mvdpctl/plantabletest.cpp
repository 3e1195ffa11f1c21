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

QStringList linesOf(const std::vector<PlanStep> &steps, int columns = 0)
{
    return planLines({steps, {}}, columns);
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
    void labelsStandBehind();
    void linesAreNarrowWhereTheyMustBe();
    void resultsAreNarrowWhereTheyMustBe();
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

void PlanTableTest::labelsStandBehind()
{
    PlanStep missing = step(9, 9, 9);
    missing.now.reset();
    missing.entry.label = {QStringLiteral("Gate"), QString()};
    PlanStep both = step(1, 11, 7);
    both.wanted.gateway = 0;
    both.entry.label = {QStringLiteral("Cabinet 7"), QStringLiteral("left door")};
    QCOMPARE(linesOf({missing, both}, 80),
             QStringList({
                 "02:00:5e:10:00:09  not found                                   Gate",
                 "02:00:5e:10:00:01  192.168.10.11/24        -> 192.168.10.7/24  Cabinet 7",
                 "                   gateway 192.168.10.1    -> 0.0.0.0",
             }));
    QCOMPARE(linesOf({missing, step(2, 12, 12), both}),
             QStringList({
                 "02:00:5e:10:00:09  not found                                   Gate",
                 "02:00:5e:10:00:02  192.168.10.12/24        already as planned",
                 "02:00:5e:10:00:01  192.168.10.11/24        -> 192.168.10.7/24  Cabinet 7, left door",
                 "                   gateway 192.168.10.1    -> 0.0.0.0",
             }));
}

void PlanTableTest::linesAreNarrowWhereTheyMustBe()
{
    PlanStep missing = step(9, 9, 9);
    missing.now.reset();
    missing.entry.label = {QStringLiteral("The gate to the yard, at the end of the hall"), QString()};
    PlanStep circle = step(1, 11, 7);
    circle.wanted.gateway = 0;
    circle.opensCircle = true;
    circle.entry.label = {QStringLiteral("Cabinet 7"), QStringLiteral("left door")};
    PlanStep elsewhere = step(3, 12, 12);
    elsewhere.now->source = address(11);
    elsewhere.isWhereItTells = false;
    PlanStep holes = step(4, 13, 14);
    holes.wanted.netmask = 0xFF00FF00;
    const std::vector<PlanStep> steps = {missing, step(2, 12, 12), circle, elsewhere, holes};
    const QStringList narrow = {
        "02:00:5e:10:00:09",
        "  The gate to the yard, at the end of the hall",
        "  not found",
        "02:00:5e:10:00:02",
        "  192.168.10.12/24 already as planned",
        "02:00:5e:10:00:01  Cabinet 7, left door",
        "  192.168.10.11/24 -> 192.168.10.7/24",
        "  gateway 192.168.10.1 -> 0.0.0.0",
        "  (still held by another panel until that",
        "  one's turn)",
        "02:00:5e:10:00:03",
        "  192.168.10.12/24",
        "  (but answers from 192.168.10.11)",
        "02:00:5e:10:00:04",
        "  192.168.10.13/24",
        "  -> 192.168.10.14/255.0.255.0",
    };
    QCOMPARE(linesOf(steps, 46), narrow);
}

void PlanTableTest::resultsAreNarrowWhereTheyMustBe()
{
    PlanEntry entry = step(1, 1, 1).entry;
    const QString told = QStringLiteral("192.168.10.7/24, gateway 192.168.10.1");
    const auto lines = [&entry](const QString &settings, int columns) {
        return planResultLines(entry, QStringLiteral("applied"), settings, 40, columns);
    };
    QCOMPARE(lines(told, 80),
             QStringList("02:00:5e:10:00:01  applied     192.168.10.7/24, gateway 192.168.10.1"));
    QCOMPARE(lines(QString(), 80), QStringList("02:00:5e:10:00:01  applied"));
    entry.label = {QStringLiteral("Cabinet 7"), QString()};
    QCOMPARE(lines(told, 0),
             QStringList("02:00:5e:10:00:01  applied     192.168.10.7/24, gateway 192.168.10.1"
                         "     Cabinet 7"));
    QCOMPARE(
        lines(told, 80),
        QStringList({"02:00:5e:10:00:01  applied     192.168.10.7/24, gateway 192.168.10.1", "  Cabinet 7"}));
    entry.label.remark = QStringLiteral("left door");
    QCOMPARE(lines(told, 82),
             QStringList("02:00:5e:10:00:01  applied     192.168.10.7/24, gateway 192.168.10.1"
                         "     Cabinet 7"));
    QCOMPARE(lines(told, 50),
             QStringList({"02:00:5e:10:00:01  applied", "  192.168.10.7/24, gateway 192.168.10.1",
                          "  Cabinet 7, left door"}));
}

QTEST_APPLESS_MAIN(PlanTableTest)
#include "plantabletest.moc"
