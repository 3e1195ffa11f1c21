#ifndef COMMAND_H
#define COMMAND_H

#include "arguments.h"
#include "failure.h"
#include "terminal.h"

#include <QtCore/QString>

#include <vector>

// One command of the program. Each has a file of its own, which defines one of these.
struct Command {
    const char *name;
    const char *synopsis; // its arguments, as the help shows them
    const char *summary;  // one line
    const char *details;  // the rest of the help; paragraphs of whole lines
    Grammar grammar;
    ExitCode (*run)(const Arguments &arguments, Terminal &terminal);
};

extern const Command DiscoverCommand;
extern const Command WatchCommand;
extern const Command IdentifyCommand;
extern const Command EchoCommand;
extern const Command SetCommand;
extern const Command PlanCommand;
extern const Command WinkCommand;
extern const Command RestartCommand;
extern const Command ResetNetworkCommand;
extern const Command RestoreDefaultsCommand;
extern const Command TourCommand;
extern const Command RawCommand;

// Every command, in the order of the help.
std::vector<const Command *> allCommands();
// The command of this name or of which this is the beginning. Throws Failure when there is none or several.
const Command &commandNamed(const QString &name);

// The options of all commands together, the common ones included.
std::vector<Option> allOptions();

QString generalHelp();
QString commandHelp(const Command &command);

#endif // COMMAND_H
