#ifndef PLANMAKER_H
#define PLANMAKER_H

#include "addressrange.h"
#include "panelnames.h"
#include "settingscheck.h"

#include <QtCore/QString>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

// Gives panels the addresses of a range. Pure functions.

struct RangeWish {
    AddressRange range;
    std::uint32_t netmask = 0;
    std::optional<std::uint32_t> gateway; // nothing: each panel keeps its own
};

// Throws ToolError when no panel could have such settings: for a netmask with holes, a range that is not in
// one subnet or has no address for a host, and a gateway that is not in that subnet.
void checkWish(const RangeWish &wish);

// True for an address of the range that a host can have and that is not the gateway's.
bool isToBeGiven(std::uint32_t address, const RangeWish &wish);

struct LabelledPanel {
    Panel panel;
    PanelLabel label;
};

enum class PanelOrder { Mac, Name, Model };

// By MAC address; by name, those without one behind the others; by description. Where these are alike, by MAC
// address. In names and descriptions, numbers are ordered by their value and capitals do not count.
void sortPanels(std::vector<LabelledPanel> &panels, PanelOrder order);

// Whether `one` stands before `other`: "Cabinet 9" before "cabinet 10".
bool isBefore(const QString &one, const QString &other);

struct PlannedPanel {
    LabelledPanel panel;
    WantedSettings wanted; // without a gateway when the panel keeps its own
    bool isMoved = false;  // it gets another address
};

struct AddressPlan {
    std::vector<PlannedPanel> panels; // those that have an address, in the order that they came in
    std::size_t missing = 0;          // panels for which the range has no address left
};

// A panel keeps its address when that is in the range, unless a panel before it has the same one. The others
// get the next free addresses in their order. An address is free when nobody keeps it and `isTaken` is false;
// the addresses of the panels themselves need not count as taken.
AddressPlan assignAddresses(const std::vector<LabelledPanel> &panels, const RangeWish &wish,
                            const std::function<bool(std::uint32_t)> &isTaken);

#endif // PLANMAKER_H
