#ifndef WAYS_H
#define WAYS_H

#include "panel.h"
#include "transport.h"

#include <cstdint>
#include <optional>
#include <vector>

// The ways that requests take. `reachedAt` is an address given for the panel that is meant, such as one
// behind a router that no broadcast passes.

// Every way out of this computer, and towards that address.
std::vector<Destination> everyWay(const Transport &transport, std::optional<std::uint32_t> reachedAt);

// How the one panel can be reached for a request that must not come by three ways at once, best way first:
// the address alone when there is one. Broadcast needs neither an address of ours in the panel's subnet nor
// that the panel alone holds its address.
std::vector<std::vector<Destination>> waysTo(const Panel &panel, const Transport &transport,
                                             std::optional<std::uint32_t> reachedAt);

#endif // WAYS_H
