#ifndef CLOCK_H
#define CLOCK_H

#include <algorithm>
#include <chrono>

// Round-trip times and deadlines must not jump with the time of day.
using Clock = std::chrono::steady_clock;

// When a wait until `deadline` must pause, for an operation that can be interrupted: soon enough for a
// person.
inline Clock::time_point nextLook(Clock::time_point deadline)
{
    return std::min(deadline, Clock::now() + std::chrono::milliseconds(100));
}

#endif // CLOCK_H
