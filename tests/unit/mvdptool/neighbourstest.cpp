#include "neighbours.h"

#include <QtTest/QtTest>

namespace
{

const std::chrono::milliseconds SinceQuestion(400);
const MacAddress Mac = {0x52, 0x54, 0x00, 0x12, 0x34, 0x56};
const Neighbour Silent = {};
const Neighbour Confirmed = {Mac, false, std::chrono::milliseconds(390)};
const Neighbour Old = {Mac, false, std::chrono::seconds(20)};
const Neighbour Fixed = {std::nullopt, true, {}};

// "yes", "no", or "unknown"
QString answer(const Neighbour *before, const Neighbour *now)
{
    const auto answered = hasAnswered(before, now, SinceQuestion);
    if (!answered)
        return QStringLiteral("unknown");
    return *answered ? QStringLiteral("yes") : QStringLiteral("no");
}

} // namespace

class NeighboursTest : public QObject
{
    Q_OBJECT

private slots:
    void newNeighbourHasAnswered();
    void absentNeighbourHasNot();
    void knownNeighbourMustBeHeardAgain();
    void fixedEntrySaysNothing();
    void tableIsRead();
};

void NeighboursTest::newNeighbourHasAnswered()
{
    for (const Neighbour *now :
         {&Confirmed, &Old}) { // the kernel learns from requests, too, and confirms nothing
        QCOMPARE(answer(nullptr, now), QStringLiteral("yes"));
        QCOMPARE(answer(&Silent, now), QStringLiteral("yes"));
    }
}

void NeighboursTest::absentNeighbourHasNot()
{
    for (const Neighbour *now : {static_cast<const Neighbour *>(nullptr), &Silent}) {
        for (const Neighbour *before : {static_cast<const Neighbour *>(nullptr), &Silent, &Old})
            QCOMPARE(answer(before, now), QStringLiteral("no"));
    }
}

void NeighboursTest::knownNeighbourMustBeHeardAgain()
{
    QCOMPARE(answer(&Old, &Old), QStringLiteral("unknown"));
    QCOMPARE(answer(&Old, &Confirmed), QStringLiteral("yes"));
}

void NeighboursTest::fixedEntrySaysNothing()
{
    QCOMPARE(answer(nullptr, &Fixed), QStringLiteral("unknown"));
}

void NeighboursTest::tableIsRead()
{
    QVERIFY(readNeighbours());
}

QTEST_APPLESS_MAIN(NeighboursTest)
#include "neighbourstest.moc"
