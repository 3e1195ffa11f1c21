#include "json/countedmemory.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace
{

std::atomic<std::size_t> allBlocks(0);
std::atomic<std::size_t> allBytes(0);

} // namespace

std::size_t countedmemory::blocks()
{
    return allBlocks;
}

std::size_t countedmemory::bytes()
{
    return allBytes;
}

// Replaces the library's own in the whole program; the array forms call it too.
void *operator new(std::size_t size)
{
    ++allBlocks;
    allBytes += size;
    if (void *block = std::malloc(size ? size : 1))
        return block;
    throw std::bad_alloc();
}

void operator delete(void *block) noexcept
{
    std::free(block);
}

void operator delete(void *block, std::size_t) noexcept
{
    std::free(block);
}
