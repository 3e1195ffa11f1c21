#include "action.h"
#include "command.h"

namespace
{

const Action Restart = {
    MvdpCommand::Restart,
    "restart",
    "Restart %1?",
    "%1 restarts.",
};

ExitCode run(const Arguments &arguments, Terminal &terminal)
{
    return runAction(Restart, arguments, terminal);
}

} // namespace

const Command RestartCommand = {
    "restart",
    "PANEL",
    "Restart a panel.",
    "Asks first. The command is sent once: a panel whose answer was lost would be\n"
    "restarted again while it comes up. --rounds N sends it up to N times until an\n"
    "answer comes, --timeout (10 seconds) apart.",
    {actionOptions(), 1, 1},
    run,
};
