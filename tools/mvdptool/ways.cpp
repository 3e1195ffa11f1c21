#include "ways.h"

std::vector<Destination> everyWay(const Transport &transport, std::optional<std::uint32_t> reachedAt)
{
    std::vector<Destination> destinations = transport.everywhere();
    if (reachedAt) {
        const auto towards = transport.towards(*reachedAt);
        destinations.insert(destinations.end(), towards.begin(), towards.end());
    }
    return destinations;
}

std::vector<std::vector<Destination>> waysTo(const Panel &panel, const Transport &transport,
                                             std::optional<std::uint32_t> reachedAt)
{
    if (reachedAt)
        return {transport.towards(*reachedAt)};
    std::vector<std::vector<Destination>> ways;
    for (const std::uint32_t toAll : {LimitedBroadcast, std::uint32_t(MvdpDatagram::MulticastGroup)}) {
        const auto way = transport.towardsOn(panel.interfaceIndex, toAll);
        // Panels without a MAC address would all carry out a request to the zero address.
        if (!way.empty() && !isZero(panel.mac))
            ways.push_back(way);
    }
    ways.push_back(transport.towards(panel.source));
    return ways;
}
