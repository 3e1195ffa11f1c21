#ifndef PANELNAME_H
#define PANELNAME_H

#include "addresses.h"
#include "panel.h"

#include <QtCore/QString>

#include <cstdint>
#include <optional>
#include <vector>

// The word by which somebody names one panel: its MAC address, its IPv4 address, or a piece of its
// description, in upper or lower case.
struct PanelName {
    QString text;
    std::optional<MacAddress> mac;
    std::optional<std::uint32_t> address;

    // An address fits also the panel that answers from it.
    bool fits(const Panel &panel) const;
};

// Throws ToolError for an empty word.
PanelName panelNameFromText(const QString &text);

// Those that the name fits, in the order of PanelList::sorted().
std::vector<Panel> matches(const PanelName &name, const PanelList &panels);

#endif // PANELNAME_H
