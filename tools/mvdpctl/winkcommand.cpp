#include "action.h"
#include "command.h"

namespace
{

const Action Wink = {
    MvdpCommand::Wink,
    "wink",
    nullptr,
    "%1 winks: its screen shows the notice for five seconds.",
};

ExitCode run(const Arguments &arguments, Terminal &terminal)
{
    return runAction(Wink, arguments, terminal);
}

} // namespace

const Command WinkCommand = {
    "wink",
    "PANEL",
    "Have a panel show a notice on its screen.",
    "The notice stays for five seconds and tells the panel's model and address, so\n"
    "that somebody in front of it sees which one it is. Asks again, at most --rounds\n"
    "(3) times, when no answer comes within --timeout (10 seconds).",
    {actionOptions(), 1, 1},
    run,
};
