#ifndef ADDRESSES_H
#define ADDRESSES_H

#include <QtCore/QString>

#include <array>
#include <cstdint>
#include <optional>

// IPv4 values are numbers whose most significant byte is the first dotted octet.
using MacAddress = std::array<std::uint8_t, 6>;

// Four decimal parts and nothing else. Leading zeros are refused: some programs read them as octal.
std::optional<std::uint32_t> ipv4FromText(const QString &text);
QString ipv4Text(std::uint32_t address);

// 255.255.255.0, 24 or /24. Netmasks with holes can be written the first way.
std::optional<std::uint32_t> netmaskFromText(const QString &text);
// Number of leading one bits; nothing for a netmask with holes.
std::optional<int> prefixLength(std::uint32_t netmask);
std::uint32_t netmaskOfPrefix(int length);
// "192.168.0.10/24", or with the netmask in full when it has holes.
QString addressWithNetmask(std::uint32_t address, std::uint32_t netmask);

struct AddressWithNetmask {
    std::uint32_t address;
    std::optional<std::uint32_t> netmask; // nothing: it was not given
};
// "192.168.0.10", "192.168.0.10/24" or "192.168.0.10/255.255.255.0".
std::optional<AddressWithNetmask> addressWithPrefixFromText(const QString &text);

// Twelve hexadecimal digits in pairs, all separated by ':' or all by '-' or not at all.
std::optional<MacAddress> macFromText(const QString &text);
QString macText(const MacAddress &mac);
bool isZero(const MacAddress &mac);

#endif // ADDRESSES_H
