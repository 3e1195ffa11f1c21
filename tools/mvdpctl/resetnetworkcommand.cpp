#include "action.h"
#include "command.h"

namespace
{

const Action ResetNetwork = {
    MvdpCommand::ResetNetwork,
    "reset-network",
    "Reset the network settings of %1 and restart it?",
    "%1 resets its network settings and restarts.",
};

ExitCode run(const Arguments &arguments, Terminal &terminal)
{
    return runAction(ResetNetwork, arguments, terminal);
}

} // namespace

const Command ResetNetworkCommand = {
    "reset-network",
    "PANEL",
    "Give a panel its network settings of the factory.",
    "Asks first. The panel goes back to the factory's network settings and restarts,\n"
    "so it comes up with another address than it has now. All else that it holds\n"
    "stays. The command is sent once, as with restart; --rounds N repeats it.",
    {actionOptions(), 1, 1},
    run,
};
