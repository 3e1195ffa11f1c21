#include "arppacket.h"

#include <algorithm>

namespace
{

// Hardware type Ethernet, protocol type IPv4, the lengths of their addresses, and the first byte of the
// operation. Then come the operation, the sender's MAC address and address, and the target's.
const std::array<std::uint8_t, 7> Start = {0, 1, 8, 0, 6, 4, 0};
const std::uint8_t Request = 1;
const std::size_t Operation = 7;
const std::size_t SenderMac = 8;
const std::size_t SenderAddress = 14;
const std::size_t TargetAddress = 24;

} // namespace

ArpPacket arpProbe(const MacAddress &own, std::uint32_t address)
{
    ArpPacket packet = {};
    std::copy(Start.begin(), Start.end(), packet.begin());
    packet[Operation] = Request;
    std::copy(own.begin(), own.end(), packet.begin() + SenderMac);
    for (std::size_t byte = 0; byte < 4; ++byte)
        packet[TargetAddress + byte] = static_cast<std::uint8_t>(address >> (24 - 8 * byte));
    return packet;
}

std::optional<std::pair<std::uint32_t, MacAddress>> arpSender(const std::uint8_t *bytes, std::size_t size)
{
    if (size < ArpPacket().size() || !std::equal(Start.begin(), Start.end(), bytes))
        return std::nullopt;
    std::uint32_t address = 0;
    for (std::size_t byte = 0; byte < 4; ++byte)
        address = address << 8 | bytes[SenderAddress + byte];
    if (address == 0)
        return std::nullopt;
    MacAddress mac = {};
    std::copy_n(bytes + SenderMac, mac.size(), mac.begin());
    return std::make_pair(address, mac);
}
