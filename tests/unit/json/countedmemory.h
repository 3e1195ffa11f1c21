#ifndef COUNTEDMEMORY_H
#define COUNTEDMEMORY_H

#include <cstddef>

// What operator new was asked for in this program so far, freed or not.
namespace countedmemory
{

std::size_t blocks();
std::size_t bytes();

} // namespace countedmemory

#endif // COUNTEDMEMORY_H
