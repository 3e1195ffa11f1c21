#ifndef ACTION_H
#define ACTION_H

#include "arguments.h"
#include "failure.h"
#include "terminal.h"

// A command without settings for one panel.
struct Action {
    MvdpCommand command;
    const char *name;     // in JSON and CSV
    const char *question; // %1 is the panel; null: harmless, no question
    const char *done;     // %1 is the panel
};

// Finds the panel, asks for consent if needed, sends the command, and reports it as done when the panel
// itself has confirmed it.
ExitCode runAction(const Action &action, const Arguments &arguments, Terminal &terminal);

#endif // ACTION_H
