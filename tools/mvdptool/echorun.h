#ifndef ECHORUN_H
#define ECHORUN_H

#include "echostatistics.h"
#include "exchange.h"

#include <chrono>
#include <cstdint>
#include <functional>

// Echoes that one address is to send back.
struct EchoOrder {
    std::uint32_t address;
    int count;
    std::chrono::milliseconds interval; // between two
    std::chrono::milliseconds timeout;  // after the last
};

// One that came back.
struct Echo {
    enum Kind { First, Again, Altered };
    Kind kind;
    std::uint32_t source;
    int number;          // which of those sent, from 1; 0 for an altered one
    double milliseconds; // its round trip; of the first only
};

// Sends the echoes and counts what comes back, each beforehand told to `onEcho`. Ends when all came back,
// when the time is over, or soon after `isInterrupted` is true. All bytes behind the header are random.
// Throws ToolError when one could not be sent.
EchoStatistics runEchoes(Exchange &exchange, const EchoOrder &order,
                         const std::function<void(const Echo &)> &onEcho,
                         const std::function<bool()> &isInterrupted);

#endif // ECHORUN_H
