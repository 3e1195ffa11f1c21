#include "interrupt.h"

#include <atomic>
#include <csignal>

namespace
{

// On some systems the handler runs in a thread of its own.
std::atomic<bool> interrupted(false);
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler must not wait");

void interrupt(int)
{
    interrupted = true;
}

} // namespace

InterruptGuard::InterruptGuard()
{
    interrupted = false;
    m_interruptBefore = catchNextSignal(SIGINT, interrupt);
    m_terminateBefore = catchNextSignal(SIGTERM, interrupt);
}

InterruptGuard::~InterruptGuard()
{
    std::signal(SIGINT, m_interruptBefore);
    std::signal(SIGTERM, m_terminateBefore);
}

bool InterruptGuard::isInterrupted() const
{
    return interrupted;
}
