#ifndef MARKS_H
#define MARKS_H

#include "interfaces.h"
#include "panel.h"

#include <QtCore/QStringList>

#include <vector>

// What an engineer should see at a glance about one panel among those that were found.
struct Marks {
    bool sharedAddress = false;  // another panel holds the same address
    bool foreignSubnet = false;  // no address of the interface that heard it is in a subnet with its address
    bool unknownVersion = false; // it could not read its partition version
    bool otherSource = false;    // it answered from another address than it tells
    bool sharedMac = false;      // answers under its MAC address came from several addresses
    bool noIdentity = false;     // its platform service is down: it does not even know its MAC address
};

// One entry for each panel of the list, in its sorted order.
std::vector<Marks> marksOf(const PanelList &panels, const std::vector<NetworkInterface> &interfaces);

// "shared-address", "foreign-subnet" and so on: names that stay, for scripts too.
QStringList markNames(const Marks &marks);

// That answers under one MAC address came from so many addresses, and what may be behind it; without a full
// stop.
QString sharedMacText(const MacAddress &mac, std::size_t sources);

// What a mark means for some panels: a sentence without a full stop.
struct MarkNote {
    bool Marks::*mark;
    QString sentence;
};

// Each cause once for all the panels that have it.
std::vector<MarkNote> markNotes(const PanelList &panels, const std::vector<NetworkInterface> &interfaces);

#endif // MARKS_H
