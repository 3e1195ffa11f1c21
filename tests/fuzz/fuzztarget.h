#ifndef FUZZTARGET_H
#define FUZZTARGET_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

// What a fuzz target is made of. It is called with every input in turn: by libFuzzer, or by replay.cpp with
// the seeds. It keeps nothing from one input to the next, so that an input alone shows again what it has
// shown once.
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
