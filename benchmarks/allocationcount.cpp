#include "allocationcount.h"

namespace
{

thread_local std::size_t count = 0;

} // namespace

std::size_t allocationCount()
{
    return count;
}

// The C library's own, under the names that it offers to those who put theirs in front.
extern "C" {

// NOLINTBEGIN(bugprone-reserved-identifier)
void *__libc_malloc(std::size_t size);
void *__libc_calloc(std::size_t items, std::size_t size);
void *__libc_realloc(void *block, std::size_t size);
// NOLINTEND(bugprone-reserved-identifier)

void *malloc(std::size_t size) noexcept
{
    ++count;
    return __libc_malloc(size);
}

void *calloc(std::size_t items, std::size_t size) noexcept
{
    ++count;
    return __libc_calloc(items, size);
}

void *realloc(void *block, std::size_t size) noexcept
{
    ++count;
    return __libc_realloc(block, size);
}

} // extern "C"
