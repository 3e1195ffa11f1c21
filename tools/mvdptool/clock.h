#ifndef CLOCK_H
#define CLOCK_H

#include <chrono>

// Round-trip times and deadlines must not jump with the time of day.
using Clock = std::chrono::steady_clock;

#endif // CLOCK_H
