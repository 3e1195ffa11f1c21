#ifndef INTERRUPT_H
#define INTERRUPT_H

#include "platform.h"

// While one lives, the first Ctrl-C and the first request to terminate do not end the program: the command
// sees them and ends by itself, in order. The second ends the program at once, for a command that does not
// come to its end. One guard at a time.
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
