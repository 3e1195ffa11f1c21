#ifndef COUNTEDMEASURE_H
#define COUNTEDMEASURE_H

#include "allocationcount.h"

#include <benchmark/benchmark.h>

// Times the action, and notes how many blocks it asks the heap for on this thread.
template <typename Action>
void measure(benchmark::State &state, Action action)
{
    action(); // what is set up only once stays out of the count
    const std::size_t before = allocationCount();
    action();
    state.counters["allocations"] = static_cast<double>(allocationCount() - before);

    for (auto _ : state)
        action();
}

#endif // COUNTEDMEASURE_H
