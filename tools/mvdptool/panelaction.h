#ifndef PANELACTION_H
#define PANELACTION_H

#include "exchange.h"
#include "panel.h"

#include <QtCore/QString>

#include <cstdint>
#include <functional>
#include <optional>

// A command without settings for one panel.
struct ActionOrder {
    MvdpCommand command;
    QString name;                             // for progress
    Patience search;                          // with the search for the panel beforehand
    Patience patience;                        // with its answer
    std::optional<std::uint32_t> reachedAt;   // see ways.h
    std::function<bool()> isInterrupted = {}; // the order is given up soon after this is true
};

struct ActionResult {
    // NotHeard: the panel did not answer the search, so nothing was sent.
    enum Outcome { Done, NoAnswer, NotHeard };
    Outcome outcome;
    Panel panel; // from its last identity reply
};

// The default time and number of attempts for the answer to a command. A harmless command is repeated until
// it is answered. Any other is sent once: when only the answer was lost, a second request would interrupt the
// panel again while it starts.
Patience actionPatience(MvdpCommand command);

// Sends the command by a way on which a request and its answer have just succeeded, because a command that is
// sent once must not be lost. Done when the panel itself has confirmed it. Throws ToolError when it could not
// be sent.
ActionResult sendAction(Exchange &exchange, const Panel &panel, const ActionOrder &order);

#endif // PANELACTION_H
