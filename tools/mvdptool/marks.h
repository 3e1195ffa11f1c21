#ifndef MARKS_H
#define MARKS_H

#include "interfaces.h"
#include "panel.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <cstddef>
#include <vector>

// Conspicuous facts about one panel among those that were found.
struct Marks {
    bool sharedAddress = false;  // another panel holds the same address
    bool foreignSubnet = false;  // no address of the interface that received its answer is in its subnet
    bool unknownVersion = false; // its reply has partition version 0
    bool otherSource = false;    // it answered from another address than its reply reports
    bool sharedMac = false;      // answers under its MAC address came from several addresses
    bool noIdentity = false;     // its platform service is down: its reply has no MAC address
};

// One entry for each panel of the list, in its sorted order.
std::vector<Marks> marksOf(const PanelList &panels, const std::vector<NetworkInterface> &interfaces);

// "shared-address", "foreign-subnet" and so on. Scripts rely on these names.
QStringList markNames(const Marks &marks);

// Says that answers under one MAC address came from so many addresses, and the possible causes; without a
// full stop.
QString sharedMacText(const MacAddress &mac, std::size_t sources);

// What a mark means for some panels: a sentence without a full stop.
struct MarkNote {
    bool Marks::*mark;
    QString sentence;
};

// Each cause once for all the panels that have it.
std::vector<MarkNote> markNotes(const PanelList &panels, const std::vector<NetworkInterface> &interfaces);

#endif // MARKS_H
