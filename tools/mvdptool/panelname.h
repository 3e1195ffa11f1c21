#ifndef PANELNAME_H
#define PANELNAME_H

#include "addresses.h"
#include "panel.h"

#include <QtCore/QString>

#include <cstdint>
#include <optional>
#include <vector>

// What the user calls one panel: its MAC address, its IPv4 address, or a piece of its description, regardless
// of case.
struct PanelName {
    QString text;
    std::optional<MacAddress> mac;
    std::optional<std::uint32_t> address;

    // An address also fits the panel that answers from it.
    bool fits(const Panel &panel) const;
};

// Throws ToolError for an empty word.
PanelName panelNameFromText(const QString &text);

// The panels that the name fits, in the order of PanelList::sorted().
std::vector<Panel> matches(const PanelName &name, const PanelList &panels);

#endif // PANELNAME_H
