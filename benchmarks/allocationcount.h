#ifndef ALLOCATIONCOUNT_H
#define ALLOCATIONCOUNT_H

#include <cstddef>

// How many blocks this thread has asked the heap for so far, freed or not. Counted below operator new, since
// not every library asks there; the counter is the thread's own, so that counting costs next to nothing.
std::size_t allocationCount();

#endif // ALLOCATIONCOUNT_H
