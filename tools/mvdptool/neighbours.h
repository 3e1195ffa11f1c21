#ifndef NEIGHBOURS_H
#define NEIGHBOURS_H

#include "addresses.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <utility>

// An entry of the kernel's table of IPv4 neighbours. Linux only.
struct Neighbour {
    std::optional<MacAddress> mac; // nothing: it has not answered
    bool isFixed = false;          // set by hand or by the kind of the interface, not learned
    // Since it last confirmed that it is there.
    std::chrono::milliseconds confirmed{0};
};

// By the number of the interface and the address.
using Neighbours = std::map<std::pair<unsigned, std::uint32_t>, Neighbour>;

// Nothing when the system does not tell.
std::optional<Neighbours> readNeighbours();

// Whether a neighbour has answered a question that was asked so long ago. `before` is its entry at the time
// of the question, null if it had none. Nothing when it was known before and has not been heard since: the
// kernel asks a known neighbour again only after seconds.
std::optional<bool> hasAnswered(const Neighbour *before, const Neighbour *now,
                                std::chrono::milliseconds sinceQuestion);

#endif // NEIGHBOURS_H
