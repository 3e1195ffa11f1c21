#include "timerspy.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QEvent>
#include <QtTest/QtTest>

TimerSpy::TimerSpy()
    : m_count(0)
{
    QCoreApplication::instance()->installEventFilter(this);
}

QList<QTimer *> TimerSpy::timers() const
{
    QList<QTimer *> existing;
    for (const QPointer<QTimer> &timer : m_timers) {
        if (timer)
            existing.append(timer);
    }
    return existing;
}

QTimer *TimerSpy::timer(int interval) const
{
    QTimer *found = nullptr;
    for (QTimer *timer : timers()) {
        if (timer->interval() != interval)
            continue;
        if (found)
            return nullptr;
        found = timer;
    }
    return found;
}

bool TimerSpy::eventFilter(QObject *watched, QEvent *event)
{
    QTimer *timer = event->type() == QEvent::Timer ? qobject_cast<QTimer *>(watched) : nullptr;
    if (timer) {
        ++m_count;
        if (!m_timers.contains(timer))
            m_timers.append(timer);
    }
    return false;
}

void makeLongAndLetRun(QTimer &timer)
{
    QVERIFY(timer.isActive());
    timer.setInterval(15000);
    QTRY_VERIFY_WITH_TIMEOUT(timer.remainingTime() <= 12000, 60000);
}
