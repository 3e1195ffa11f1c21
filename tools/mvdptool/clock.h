#ifndef CLOCK_H
#define CLOCK_H

#include <algorithm>
#include <chrono>

// Round-trip times and deadlines must not jump with the time of day.
using Clock = std::chrono::steady_clock;

// The time until which an operation that can be interrupted pauses in a wait for `deadline`. It is short
// enough for a person not to notice the delay.
inline Clock::time_point nextLook(Clock::time_point deadline)
{
    return std::min(deadline, Clock::now() + std::chrono::milliseconds(100));
}

#endif // CLOCK_H
