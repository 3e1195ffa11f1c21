#ifndef INTERRUPT_H
#define INTERRUPT_H

#include <csignal>

// While one lives, Ctrl-C and a request to terminate no longer end the program: they cut short what waits for
// datagrams, and the command ends by itself, in order. One at a time, in a program of one thread.
class InterruptGuard
{
public:
    InterruptGuard();
    ~InterruptGuard();
    InterruptGuard(const InterruptGuard &) = delete;
    InterruptGuard &operator=(const InterruptGuard &) = delete;

    bool isInterrupted() const;

    // The signals that may interrupt a wait, for ppoll(): they are blocked at all other times, so that none
    // is lost between a look at isInterrupted() and the wait. Null without a guard.
    static const sigset_t *waitMask();

private:
    sigset_t m_maskBefore = {};
    struct sigaction m_interruptBefore = {};
    struct sigaction m_terminateBefore = {};
};

#endif // INTERRUPT_H
