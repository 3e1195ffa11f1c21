#ifndef WAYS_H
#define WAYS_H

#include "panel.h"
#include "transport.h"

#include <cstdint>
#include <optional>
#include <vector>

// The destinations of requests. `reachedAt` is an address given for one panel, for example one behind a
// router that forwards no broadcast.

// Every destination of this computer, and that address.
std::vector<Destination> everyWay(const Transport &transport, std::optional<std::uint32_t> reachedAt);

// The ways to one panel, best first, for a request that must not arrive several times; with `reachedAt` only
// that. Broadcast comes first: it needs no address in the panel's subnet and works also when another panel
// holds the same address.
std::vector<std::vector<Destination>> waysTo(const Panel &panel, const Transport &transport,
                                             std::optional<std::uint32_t> reachedAt);

#endif // WAYS_H
