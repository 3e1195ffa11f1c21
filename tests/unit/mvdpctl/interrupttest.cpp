#include "interrupt.h"

#include <QtTest/QtTest>

#include <poll.h>

#include <cerrno>

class InterruptTest : public QObject
{
    Q_OBJECT

private slots:
    void signalIsSeenBeforeAnyWait_data();
    void signalIsSeenBeforeAnyWait();
    void signalThatCameBeforeCutsTheWaitShort();
    void signalLeftOverDoesNotEndTheProgram();
    void nextGuardBeginsAnew();
    void withoutGuardThereIsNoMask();
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

void InterruptTest::signalThatCameBeforeCutsTheWaitShort()
{
    const InterruptGuard guard;
    std::raise(SIGINT);
    const timespec longTime = {3600, 0};
    QCOMPARE(ppoll(nullptr, 0, &longTime, InterruptGuard::waitMask()), -1);
    QCOMPARE(errno, EINTR);
    QVERIFY(guard.isInterrupted());
}

void InterruptTest::signalLeftOverDoesNotEndTheProgram()
{
    struct sigaction before = {};
    sigaction(SIGTERM, nullptr, &before);
    {
        const InterruptGuard guard;
        std::raise(SIGTERM);
    }
    struct sigaction after = {};
    sigaction(SIGTERM, nullptr, &after);
    QVERIFY(before.sa_handler == after.sa_handler);
}

void InterruptTest::nextGuardBeginsAnew()
{
    {
        const InterruptGuard guard;
        std::raise(SIGINT);
    }
    QVERIFY(!InterruptGuard().isInterrupted());
}

void InterruptTest::withoutGuardThereIsNoMask()
{
    QVERIFY(InterruptGuard::waitMask() == nullptr);
}

QTEST_APPLESS_MAIN(InterruptTest)
#include "interrupttest.moc"
