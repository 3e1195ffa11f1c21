#include "outcomeadvice.h"

#include <QtTest/QtTest>

class OutcomeAdviceTest : public QObject
{
    Q_OBJECT

private slots:
    void everyOutcomeHasItsExitCodeAndAdvice_data();
    void everyOutcomeHasItsExitCodeAndAdvice();
    void deafnessIsTheOnlyAdvice_data();
    void deafnessIsTheOnlyAdvice();
};

void OutcomeAdviceTest::everyOutcomeHasItsExitCodeAndAdvice_data()
{
    QTest::addColumn<int>("outcome");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("inAdvice");
    QTest::newRow("applied") << int(Outcome::Applied) << 0 << QString();
    QTest::newRow("already so") << int(Outcome::AlreadySo) << 0 << QString();
    QTest::newRow("refused") << int(Outcome::Refused) << 3 << "so nothing was changed";
    QTest::newRow("unchanged") << int(Outcome::Unchanged) << 3 << "It may need a restart";
    QTest::newRow("elsewhere") << int(Outcome::Elsewhere) << 3 << "Behind a router that translates addresses";
    QTest::newRow("unverified") << int(Outcome::Unverified) << 1 << "its new subnet may keep its answers";
    QTest::newRow("no answer") << int(Outcome::NoAnswer) << 1 << "which settings it has now";
    QTest::newRow("not found") << int(Outcome::NotFound) << 1 << "Check its power and cable";
    QTest::newRow("blocked") << int(Outcome::Blocked) << 1 << "First have that other panel";
    QTest::newRow("trouble") << int(Outcome::Trouble) << 4 << "which addresses this computer has";
    QTest::newRow("not tried") << int(Outcome::NotTried) << 1 << "Run the plan again";
}

void OutcomeAdviceTest::everyOutcomeHasItsExitCodeAndAdvice()
{
    QFETCH(int, outcome);
    QFETCH(QString, inAdvice);
    SetResult result;
    result.outcome = static_cast<Outcome>(outcome);
    QTEST(static_cast<int>(outcomeCode(result.outcome)), "code");
    const QString advice = adviceAfter(result);
    QCOMPARE(advice.isEmpty(), inAdvice.isEmpty());
    QVERIFY2(advice.contains(inAdvice), qPrintable(advice));
}

void OutcomeAdviceTest::deafnessIsTheOnlyAdvice_data()
{
    QTest::addColumn<int>("outcome");
    QTest::newRow("unverified") << int(Outcome::Unverified);
    QTest::newRow("no answer") << int(Outcome::NoAnswer);
}

void OutcomeAdviceTest::deafnessIsTheOnlyAdvice()
{
    QFETCH(int, outcome);
    SetResult result;
    result.outcome = static_cast<Outcome>(outcome);
    result.deafness = QStringLiteral("It is deaf");
    result.heardOn = QStringLiteral("eth0");
    QCOMPARE(adviceAfter(result),
             QStringLiteral(
                 "It is deaf: give this one such an address on eth0, and see with 'mvdpctl discover'."));
}

QTEST_APPLESS_MAIN(OutcomeAdviceTest)
#include "outcomeadvicetest.moc"
