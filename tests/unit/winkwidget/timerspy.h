#ifndef TIMERSPY_H
#define TIMERSPY_H

#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QTimer>

class QEvent;

// Finds the timers of the code under test, which are nobody's children: it notes each QTimer of the GUI
// thread that runs out while the spy lives.
class TimerSpy : public QObject
{
    Q_OBJECT
public:
    TimerSpy();

    // Those that ran out and still exist, in the order of their first time.
    QList<QTimer *> timers() const;

    // The one with this interval, in ms; null when none ran out yet, or more than one did.
    QTimer *timer(int interval) const;

    // How many times any of them has run out.
    int count() const { return m_count; }

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QList<QPointer<QTimer>> m_timers;
    int m_count;
};

// Makes a running timer so long that it can be seen to start again: returns when seconds of its time are over
// and many more are left.
void makeLongAndLetRun(QTimer &timer);

#endif // TIMERSPY_H
