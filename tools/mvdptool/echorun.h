#ifndef ECHORUN_H
#define ECHORUN_H

#include "echostatistics.h"
#include "exchange.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

// How many echoes to send to each address, and when.
struct EchoPace {
    int count;
    std::chrono::milliseconds interval; // between two echoes
    std::chrono::milliseconds timeout;  // after the last echo
};

// The echoes to send to one address.
struct EchoOrder {
    std::uint32_t address;
    EchoPace pace;
};

// An echo that came back.
struct Echo {
    enum Kind { First, Again, Altered };
    Kind kind;
    std::uint32_t source;
    int number;          // of the request, from 1; 0 for an altered echo
    double milliseconds; // round-trip time; of the first copy only
    std::size_t target;  // the index of the address that it was sent to
};

// Sends the echoes and counts those that come back; `onEcho` is called for each when it arrives. Ends when
// all have come back, when the time is over, or soon after `isInterrupted` is true. All bytes behind the
// header are random. Throws ToolError when an echo could not be sent.
EchoStatistics runEchoes(Exchange &exchange, const EchoOrder &order,
                         const std::function<void(const Echo &)> &onEcho,
                         const std::function<bool()> &isInterrupted);

// The same for several addresses at once: each number is sent to all of them, then comes the interval. The
// statistics are in the order of the addresses. With several, what cannot be sent counts as lost, with a
// warning; throws ToolError only when it cannot be sent to the only one.
std::vector<EchoStatistics> runEchoes(Exchange &exchange, const std::vector<std::uint32_t> &addresses,
                                      const EchoPace &pace, const std::function<void(const Echo &)> &onEcho,
                                      const std::function<bool()> &isInterrupted);

#endif // ECHORUN_H
