#ifndef PANELNAME_H
#define PANELNAME_H

#include "addresses.h"
#include "panel.h"
#include "panelnames.h"

#include <QtCore/QString>

#include <cstdint>
#include <optional>
#include <set>
#include <vector>

// What the user calls one panel, or several: a MAC address, an IPv4 address, a name that the user gave, or a
// piece of a description or of such a name. Names and pieces regardless of case.
struct PanelName {
    QString text;
    std::optional<MacAddress> mac; // also that of the only panel with this name
    std::optional<std::uint32_t> address;
    std::set<MacAddress> named; // the panels with this name, or with this piece in their names
    bool isName = false;        // `text` is a whole name, so descriptions do not count

    // An address also fits the panel that answers from it.
    bool fits(const Panel &panel) const;
};

// Throws ToolError for an empty word.
PanelName panelNameFromText(const QString &text, const PanelNames &names);

// True for a text that is no MAC address and can hardly be anything else: five to seven groups of characters
// with ':' or '-' between them, or 11 to 13 hexadecimal digits.
bool looksLikeMac(const QString &text);
// True for a text that is no IPv4 address and can hardly be anything else: three numbers or more with dots
// between them.
bool looksLikeIpv4(const QString &text);

// The panels that the name fits, in the order of PanelList::sorted().
std::vector<Panel> matches(const PanelName &name, const PanelList &panels);

#endif // PANELNAME_H
