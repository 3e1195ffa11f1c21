#ifndef ADDRESSRANGE_H
#define ADDRESSRANGE_H

#include <QtCore/QString>

#include <cstdint>
#include <optional>

struct AddressRange {
    std::uint32_t first = 0;
    std::uint32_t last = 0; // not before `first`
    std::optional<std::uint32_t> netmask;

    bool contains(std::uint32_t address) const { return first <= address && address <= last; }
};

// More addresses than one network has panels.
constexpr std::uint32_t LargestRange = 4096;

// "192.168.10.20-59" or "192.168.10.20-192.168.10.59", perhaps with "/24" behind. Throws ToolError for any
// other text, with the place of the mistake: the number of the character, counted from 1.
AddressRange rangeFromText(const QString &text);

#endif // ADDRESSRANGE_H
