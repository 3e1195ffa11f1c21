#ifndef DISCOVERY_H
#define DISCOVERY_H

#include "exchange.h"
#include "panel.h"

#include <QtCore/QString>

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <vector>

// More panels than one network has. Replies of further panels are forged.
constexpr std::size_t PanelLimit = 4096;

// A search takes at least three rounds: one that finds panels and two that find no more. With rounds of half
// a second, forty panels are found in one and a half seconds. A late answer counts in the round in which it
// arrives.
constexpr int SearchRounds = 6;
constexpr std::chrono::milliseconds SearchTimeout(500);

struct Search {
    std::vector<Destination> destinations;
    Patience patience;
    // When given, the search ends as soon as this is true, else after all rounds.
    std::function<bool(const PanelList &)> isComplete = {};
    // When given, the search ends with what it has found soon after this is true.
    std::function<bool()> isInterrupted = {};
    // When given, only this panel is asked, so that not every panel answers each round.
    std::optional<MacAddress> mac = {};
};

// Looks for panels in rounds. Once a panel has answered, the search ends after two rounds in a row in which
// no new panel answered and no panel answered less often than before. Fewer answers mean that datagrams are
// lost, and then panels may be missing too. All rounds are used when no panel answers. Throws ToolError when
// no request could be sent.
//
// A round goes out to all destinations at once. Once answers came faster than this computer read them, so
// that some were lost, the later rounds send to one destination after the other, evenly over the round. A
// round in which answers were lost in this way is not one in which nothing new came. The observer is told at
// the end.
PanelList discoverPanels(Exchange &exchange, const Search &search);

// Requests the identity of one panel, as Exchange::ask() does. Nothing when the panel does not answer.
std::optional<Panel> identifyPanel(Exchange &exchange, const MacAddress &mac,
                                   const std::vector<std::vector<Destination>> &ways,
                                   const Patience &patience, const QString &doing);

#endif // DISCOVERY_H
