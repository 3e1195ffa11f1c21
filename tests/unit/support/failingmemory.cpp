#include "support/failingmemory.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace
{

std::atomic<bool> nextFails(false);

} // namespace

FirstAllocationFails::FirstAllocationFails()
{
    nextFails = true;
}

FirstAllocationFails::~FirstAllocationFails()
{
    nextFails = false;
}

bool FirstAllocationFails::hasHappened() const
{
    return !nextFails;
}

// The array forms call this one.
void *operator new(std::size_t size)
{
    if (!nextFails.exchange(false)) {
        if (void *block = std::malloc(size ? size : 1))
            return block;
    }
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
