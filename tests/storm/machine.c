// Preloaded into the service: the machine's clock and memory, as the storm wants them. What it wants stands
// in a file that both map, named by MVDP_STORM_MACHINE; without it nothing is changed.
//
// A sanitizer has an allocator of its own. For such a build compile with WITHOUT_MEMORY, and only the clock
// is ours.

#define _GNU_SOURCE

#include <errno.h>
#include <fcntl.h>
#include <malloc.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

// The layout is known to world.py.
struct Machine {
    // How far the wall clock is ahead.
    int64_t clockAheadSeconds;
    // After `untilFailure` allocations more, `toFail` of them fail; both count down. `failed` counts those.
    int64_t untilFailure;
    int64_t toFail;
    int64_t failed;
    // What is allocated and not freed.
    int64_t liveBlocks;
    int64_t liveBytes;
};

static struct Machine s_unused;
static struct Machine *s_machine = &s_unused;

__attribute__((constructor)) static void mapMachine(void)
{
    const char *name = getenv("MVDP_STORM_MACHINE");
    const int file = name ? open(name, O_RDWR | O_CLOEXEC) : -1;
    if (file < 0)
        return;
    void *memory = mmap(NULL, sizeof *s_machine, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    close(file);
    if (memory == MAP_FAILED)
        return;
    struct Machine *machine = memory;
    machine->liveBlocks += s_unused.liveBlocks;
    machine->liveBytes += s_unused.liveBytes;
    s_machine = machine;
}

// The clock

// Not by the C library's function: it would be this one.
int clock_gettime(clockid_t clock, struct timespec *now)
{
    const int result = (int)syscall(SYS_clock_gettime, clock, now);
    if (result == 0 && (clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE))
        now->tv_sec += s_machine->clockAheadSeconds;
    return result;
}

int gettimeofday(struct timeval *restrict now, void *restrict zone)
{
    const int result = (int)syscall(SYS_gettimeofday, now, zone);
    if (result == 0)
        now->tv_sec += s_machine->clockAheadSeconds;
    return result;
}

time_t time(time_t *out)
{
    struct timeval now;
    gettimeofday(&now, NULL);
    if (out)
        *out = now.tv_sec;
    return now.tv_sec;
}

#ifndef WITHOUT_MEMORY

extern void *__libc_malloc(size_t size);
extern void __libc_free(void *block);
extern void *__libc_calloc(size_t count, size_t size);
extern void *__libc_realloc(void *block, size_t size);
extern void *__libc_memalign(size_t alignment, size_t size);

static int isToFail(void)
{
    struct Machine *machine = s_machine;
    if (__atomic_load_n(&machine->toFail, __ATOMIC_RELAXED) <= 0 ||
        __atomic_sub_fetch(&machine->untilFailure, 1, __ATOMIC_RELAXED) >= 0 ||
        __atomic_fetch_sub(&machine->toFail, 1, __ATOMIC_RELAXED) <= 0)
        return 0;
    __atomic_add_fetch(&machine->failed, 1, __ATOMIC_RELAXED);
    errno = ENOMEM;
    return 1;
}

static void *counted(void *block)
{
    if (block) {
        __atomic_add_fetch(&s_machine->liveBlocks, 1, __ATOMIC_RELAXED);
        __atomic_add_fetch(&s_machine->liveBytes, (int64_t)malloc_usable_size(block), __ATOMIC_RELAXED);
    }
    return block;
}

static void uncount(void *block)
{
    if (block) {
        __atomic_sub_fetch(&s_machine->liveBlocks, 1, __ATOMIC_RELAXED);
        __atomic_sub_fetch(&s_machine->liveBytes, (int64_t)malloc_usable_size(block), __ATOMIC_RELAXED);
    }
}

void *malloc(size_t size)
{
    return isToFail() ? NULL : counted(__libc_malloc(size));
}

void free(void *block)
{
    uncount(block);
    __libc_free(block);
}

void *calloc(size_t count, size_t size)
{
    return isToFail() ? NULL : counted(__libc_calloc(count, size));
}

void *realloc(void *block, size_t size)
{
    if (isToFail())
        return NULL;
    const int64_t before = block ? (int64_t)malloc_usable_size(block) : 0;
    void *moved = __libc_realloc(block, size);
    // With no size and no block left, the old one has been freed.
    if (moved || size == 0) {
        const int64_t after = moved ? (int64_t)malloc_usable_size(moved) : 0;
        __atomic_add_fetch(&s_machine->liveBytes, after - before, __ATOMIC_RELAXED);
        __atomic_add_fetch(&s_machine->liveBlocks, (moved != NULL) - (block != NULL), __ATOMIC_RELAXED);
    }
    return moved;
}

void *memalign(size_t alignment, size_t size)
{
    return isToFail() ? NULL : counted(__libc_memalign(alignment, size));
}

void *aligned_alloc(size_t alignment, size_t size)
{
    return memalign(alignment, size);
}

int posix_memalign(void **out, size_t alignment, size_t size)
{
    if (alignment % sizeof(void *) != 0 || (alignment & (alignment - 1)) != 0)
        return EINVAL;
    void *block = memalign(alignment, size);
    if (!block)
        return ENOMEM;
    *out = block;
    return 0;
}

void *valloc(size_t size)
{
    return memalign((size_t)sysconf(_SC_PAGESIZE), size);
}

#endif
