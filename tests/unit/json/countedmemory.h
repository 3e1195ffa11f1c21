#ifndef COUNTEDMEMORY_H
#define COUNTEDMEMORY_H

#include <cstddef>

// The memory that this program has requested from operator new so far, freed or not.
namespace countedmemory
{

std::size_t blocks();
std::size_t bytes();

} // namespace countedmemory

#endif // COUNTEDMEMORY_H
