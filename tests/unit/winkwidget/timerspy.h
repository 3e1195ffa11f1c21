#ifndef TIMERSPY_H
#define TIMERSPY_H

#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QTimer>

class QEvent;

// Finds the timers of the code under test, which have no parent: it records each QTimer of the GUI thread
// that times out while the spy exists.
class TimerSpy : public QObject
{
    Q_OBJECT
public:
    TimerSpy();

    // Those that timed out and still exist, in the order of their first timeout.
    QList<QTimer *> timers() const;

    // The one with this interval, in ms; null when none or several have timed out.
    QTimer *timer(int interval) const;

    // How many times any of them has timed out.
    int count() const { return m_count; }

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QList<QPointer<QTimer>> m_timers;
    int m_count;
};

// Makes a running timer's interval so long that a restart can be detected: returns when seconds of it are
// over and many more are left.
void makeLongAndLetRun(QTimer &timer);

#endif // TIMERSPY_H
