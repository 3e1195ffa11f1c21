#ifndef PANELACTION_H
#define PANELACTION_H

#include "exchange.h"
#include "panel.h"

#include <QtCore/QString>

#include <cstdint>
#include <optional>

// A command that has one panel do something and carries no settings.
struct ActionOrder {
    MvdpCommand command;
    QString name;                           // for progress
    Patience search;                        // how the panel is looked for before
    Patience patience;                      // with its answer
    std::optional<std::uint32_t> reachedAt; // see ways.h
};

struct ActionResult {
    // NotHeard: the panel was not heard any more, so nothing was sent.
    enum Outcome { Done, NoAnswer, NotHeard };
    Outcome outcome;
    Panel panel; // what it told last
};

// How long and how often the answer to a command is waited for, unless somebody wants it otherwise. A
// harmless command is repeated until it is answered; any other is sent once, since a panel whose answer was
// lost would be taken down a second time while it comes up.
Patience actionPatience(MvdpCommand command);

// Sends the command the way that a question and its answer have just travelled: what is sent once must not be
// lost to a way that leads nowhere. Done when the panel itself has said so. Throws ToolError when it could
// not be sent.
ActionResult sendAction(Exchange &exchange, const Panel &panel, const ActionOrder &order);

#endif // PANELACTION_H
