// ARP packets as mvdpctl hears them when it asks who holds an address. An input is one packet.

#include "arppacket.h"
#include "fuzztarget.h"

#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const auto sender = arpSender(data, size);
    // Written from RFC 826 and not from the code: Ethernet, IPv4, addresses of 6 and 4 bytes, an operation.
    const std::uint8_t start[] = {0, 1, 8, 0, 6, 4, 0};
    const std::uint8_t nobody[] = {0, 0, 0, 0};
    const bool isExpected = size >= 28 && std::memcmp(data, start, sizeof start) == 0 &&
                            std::memcmp(data + 14, nobody, sizeof nobody) != 0;
    REQUIRE(sender.has_value() == isExpected);
    if (!sender)
        return 0;
    REQUIRE(std::memcmp(sender->second.data(), data + 8, 6) == 0);
    REQUIRE(sender->first == (std::uint32_t(data[14]) << 24 | std::uint32_t(data[15]) << 16 |
                              std::uint32_t(data[16]) << 8 | data[17]));
    return 0;
}
