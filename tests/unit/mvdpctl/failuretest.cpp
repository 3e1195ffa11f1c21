#include "failure.h"

#include <QtTest/QtTest>

class FailureTest : public QObject
{
    Q_OBJECT

private slots:
    void everyKindOfErrorHasItsExitCodeAndAdvice_data();
    void everyKindOfErrorHasItsExitCodeAndAdvice();
    void adviceOfTheEngineComesFirst();
};

void FailureTest::everyKindOfErrorHasItsExitCodeAndAdvice_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("inAdvice");
    QTest::newRow("bad input") << int(ToolError::BadInput) << 2 << QString();
    QTest::newRow("bad plan") << int(ToolError::BadPlan) << 2 << "'mvdpctl discover --csv'";
    QTest::newRow("network trouble") << int(ToolError::NetworkTrouble) << 4 << QString();
    QTest::newRow("port taken") << int(ToolError::PortTaken) << 4 << "--source-port";
    QTest::newRow("nothing sent") << int(ToolError::NothingSent) << 4 << "--interface";
}

void FailureTest::everyKindOfErrorHasItsExitCodeAndAdvice()
{
    QFETCH(int, kind);
    QFETCH(QString, inAdvice);
    const Failure failure = failureOf({static_cast<ToolError::Kind>(kind), QStringLiteral("what"), {}});
    QTEST(static_cast<int>(failure.code), "code");
    QCOMPARE(failure.message, QStringLiteral("what"));
    QCOMPARE(failure.advice.isEmpty(), inAdvice.isEmpty());
    QVERIFY2(failure.advice.contains(inAdvice), qPrintable(failure.advice));
}

void FailureTest::adviceOfTheEngineComesFirst()
{
    const Failure failure = failureOf({ToolError::NothingSent, QStringLiteral("what"), QStringLiteral("do")});
    QCOMPARE(failure.advice, QStringLiteral("do"));
}

QTEST_APPLESS_MAIN(FailureTest)
#include "failuretest.moc"
