#include "interrupt.h"

namespace
{

volatile std::sig_atomic_t interrupted = 0;
const sigset_t *currentMask = nullptr;

void interrupt(int)
{
    interrupted = 1;
}

} // namespace

InterruptGuard::InterruptGuard()
{
    interrupted = 0;
    sigset_t ours;
    sigemptyset(&ours);
    sigaddset(&ours, SIGINT);
    sigaddset(&ours, SIGTERM);
    sigprocmask(SIG_BLOCK, &ours, &m_maskBefore);
    currentMask = &m_maskBefore;

    struct sigaction action = {};
    action.sa_handler = interrupt; // without SA_RESTART: the wait must end
    sigaction(SIGINT, &action, &m_interruptBefore);
    sigaction(SIGTERM, &action, &m_terminateBefore);
}

InterruptGuard::~InterruptGuard()
{
    // A signal that is still waiting is taken by our handler here, not by the one that ends the program.
    sigprocmask(SIG_SETMASK, &m_maskBefore, nullptr);
    currentMask = nullptr;
    sigaction(SIGINT, &m_interruptBefore, nullptr);
    sigaction(SIGTERM, &m_terminateBefore, nullptr);
}

bool InterruptGuard::isInterrupted() const
{
    // Under a flood of datagrams no wait ever begins, so the signal stays pending.
    sigset_t pending;
    sigpending(&pending);
    return interrupted != 0 || sigismember(&pending, SIGINT) == 1 || sigismember(&pending, SIGTERM) == 1;
}

const sigset_t *InterruptGuard::waitMask()
{
    return currentMask;
}
