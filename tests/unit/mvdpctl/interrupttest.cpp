#include "interrupt.h"

#include <QtTest/QtTest>

#include <csignal>

class InterruptTest : public QObject
{
    Q_OBJECT

private slots:
    void signalIsSeenBeforeAnyWait_data();
    void signalIsSeenBeforeAnyWait();
    void secondSignalIsNotCaught_data();
    void secondSignalIsNotCaught();
    void handlersAreRestored();
    void nextGuardBeginsAnew();
};

void InterruptTest::signalIsSeenBeforeAnyWait_data()
{
    QTest::addColumn<int>("number");
    QTest::newRow("Ctrl-C") << SIGINT;
    QTest::newRow("request to terminate") << SIGTERM;
}

void InterruptTest::signalIsSeenBeforeAnyWait()
{
    QFETCH(int, number);
    const InterruptGuard guard;
    QVERIFY(!guard.isInterrupted());
    QCOMPARE(std::raise(number), 0);
    QVERIFY(guard.isInterrupted());
}

void InterruptTest::secondSignalIsNotCaught_data()
{
    signalIsSeenBeforeAnyWait_data();
}

void InterruptTest::secondSignalIsNotCaught()
{
    QFETCH(int, number);
    const InterruptGuard guard;
    std::raise(number);
    QVERIFY(std::signal(number, SIG_DFL) == SIG_DFL);
}

void InterruptTest::handlersAreRestored()
{
    const auto interruptBefore = std::signal(SIGINT, SIG_IGN);
    const auto terminateBefore = std::signal(SIGTERM, SIG_IGN);
    {
        const InterruptGuard guard;
        std::raise(SIGINT);
        QVERIFY(guard.isInterrupted());
    }
    QVERIFY(std::signal(SIGINT, interruptBefore) == SIG_IGN);
    QVERIFY(std::signal(SIGTERM, terminateBefore) == SIG_IGN);
}

void InterruptTest::nextGuardBeginsAnew()
{
    {
        const InterruptGuard guard;
        std::raise(SIGINT);
    }
    QVERIFY(!InterruptGuard().isInterrupted());
}

QTEST_APPLESS_MAIN(InterruptTest)
#include "interrupttest.moc"
