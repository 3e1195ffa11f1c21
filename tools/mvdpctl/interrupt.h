#ifndef INTERRUPT_H
#define INTERRUPT_H

#include "platform.h"

// While an object exists, the first SIGINT or SIGTERM does not end the program; the command checks for it and
// ends in an orderly way. The second ends the program at once, in case the command does not end. One guard at
// a time.
class InterruptGuard
{
public:
    InterruptGuard();
    ~InterruptGuard();
    InterruptGuard(const InterruptGuard &) = delete;
    InterruptGuard &operator=(const InterruptGuard &) = delete;

    bool isInterrupted() const;

private:
    SignalHandler m_interruptBefore;
    SignalHandler m_terminateBefore;
};

#endif // INTERRUPT_H
