#ifndef DISCOVERY_H
#define DISCOVERY_H

#include "exchange.h"
#include "panel.h"

#include <chrono>
#include <functional>
#include <optional>
#include <vector>

// More panels than any plant has on one network: what comes beyond them is a flood of forged replies.
constexpr std::size_t PanelLimit = 4096;

// Three rounds are the least (one that finds, two that find nothing more), so forty panels are there in one
// and a half seconds. An answer that is later than its round counts in the next.
constexpr int SearchRounds = 6;
constexpr std::chrono::milliseconds SearchTimeout(500);

struct Search {
    std::vector<Destination> destinations;
    Patience patience;
    // Ends the search at once when it becomes true. With one, all rounds are spent until then.
    std::function<bool(const PanelList &)> isComplete;
};

// Looks for panels in rounds. Once one has answered, two rounds in a row that bring nothing new and in which
// no panel answered less than before end the search: where answers go missing, panels may be missing too. All
// rounds are spent when none answers. Throws ToolError when no request could be sent.
PanelList discoverPanels(Exchange &exchange, const Search &search);

// Asks one panel who it is, as Exchange::ask() does: the panel as it answers, nothing when it does not.
std::optional<Panel> identifyPanel(Exchange &exchange, const MacAddress &mac,
                                   const std::vector<std::vector<Destination>> &ways,
                                   const Patience &patience, const QString &doing);

#endif // DISCOVERY_H
