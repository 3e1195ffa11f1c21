#ifndef ACTION_H
#define ACTION_H

#include "arguments.h"
#include "failure.h"
#include "terminal.h"

// A command without settings.
struct Action {
    MvdpCommand command;
    const char *name;               // in JSON and CSV
    const char *question;           // %1 is the panel; null: harmless, no question
    const char *questionForSeveral; // %1 is their number
    const char *done;               // %1 is the panel
};

// Finds the panels, asks for consent if needed, sends the command, and reports it as done when the panel
// itself has confirmed it.
ExitCode runAction(const Action &action, const Arguments &arguments, Terminal &terminal);

#endif // ACTION_H
