#ifndef ARPPACKET_H
#define ARPPACKET_H

#include "addresses.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

// ARP for IPv4 on Ethernet (RFC 826), without the Ethernet header.
using ArpPacket = std::array<std::uint8_t, 28>;

// A request for the holder of `address` by the computer with this MAC address. Its sender address is 0.0.0.0,
// so that no neighbour table takes it up (RFC 5227).
ArpPacket arpProbe(const MacAddress &own, std::uint32_t address);

// The address that the sender of a packet holds, and its MAC address. Nothing for what is no such packet, and
// for a probe.
std::optional<std::pair<std::uint32_t, MacAddress>> arpSender(const std::uint8_t *bytes, std::size_t size);

#endif // ARPPACKET_H
