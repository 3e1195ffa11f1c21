#ifndef FUZZTARGET_H
#define FUZZTARGET_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

// The entry point of a fuzz target. libFuzzer calls it with every input in turn, replay.cpp with the seeds.
// It keeps no state between inputs, so that an input alone reproduces its result.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

// Ends the program, so that the fuzzer keeps the input.
[[noreturn]] inline void requirementFailed(const char *requirement, const char *file, int line)
{
    std::fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, requirement);
    std::abort();
}

// As assert(), but in every build.
#define REQUIRE(requirement)                                                                                 \
    ((requirement) ? static_cast<void>(0) : requirementFailed(#requirement, __FILE__, __LINE__))

#endif // FUZZTARGET_H
