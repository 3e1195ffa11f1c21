#include "action.h"
#include "command.h"
#include "session.h"
#include "waiting.h"

namespace
{

const Action Wink = {
    MvdpCommand::Wink, "wink", nullptr, nullptr, "%1 winks: its screen shows the notice for five seconds.",
};

const Action Restart = {
    MvdpCommand::Restart, "restart", "Restart %1?", "Restart these %1 panels?", "%1 restarts.",
};

const Action ResetNetwork = {
    MvdpCommand::ResetNetwork,
    "reset-network",
    "Reset the network settings of %1 and restart it?",
    "Reset the network settings of these %1 panels and restart them?",
    "%1 resets its network settings and restarts.",
};

Action restoreDefaults(MvdpCommand command)
{
    return {command, "restore-defaults", "Restore all defaults of %1 and restart it?",
            "Restore all defaults of these %1 panels and restart them?",
            "%1 restores its defaults and restarts."};
}

ExitCode runRestoreDefaults(const Arguments &arguments, Terminal &terminal)
{
    const QString marker = arguments.isSet("marker") ? arguments.text("marker") : QStringLiteral("absolute");
    const bool isRelative = marker == QLatin1String("relative");
    if (!isRelative && marker != QLatin1String("absolute"))
        throwUsage(QStringLiteral("--marker takes 'absolute' or 'relative', not '%1'").arg(marker));
    const MvdpCommand command =
        isRelative ? MvdpCommand::RestoreDefaultsRelative : MvdpCommand::RestoreDefaults;
    return runAction(restoreDefaults(command), arguments, terminal);
}

template <const Action &action>
ExitCode run(const Arguments &arguments, Terminal &terminal)
{
    return runAction(action, arguments, terminal);
}

} // namespace

const Command WinkCommand = {
    "wink",
    PanelsSynopsis,
    "Have panels show a notice on their screens.",
    "The notice stays for five seconds and tells the panel's model and address, so\n"
    "that somebody in front of it sees which one it is. Asks again, at most --rounds\n"
    "(8) times, when no answer comes within --timeout (2 seconds).",
    {{AllOption, ToOption}, 0, MostPanels},
    run<Wink>,
};

const Command RestartCommand = {
    "restart",
    PanelsSynopsis,
    "Restart panels.",
    "Asks first. The command is sent once: a panel whose answer was lost would be\n"
    "restarted again while it comes up. --rounds N sends it up to N times until an\n"
    "answer comes, --timeout (10 seconds) apart. --wait waits until the panel was\n"
    "silent and answers again, and tells how long that took.",
    {{AllOption, WaitOption, ToOption}, 0, MostPanels},
    run<Restart>,
};

const Command ResetNetworkCommand = {
    "reset-network",
    PanelsSynopsis,
    "Give panels their network settings of the factory.",
    "Asks first. The panel goes back to the factory's network settings and restarts,\n"
    "so it comes up with another address than it has now. All else that it holds\n"
    "stays. The command is sent once, as with restart; --rounds N repeats it.",
    {{AllOption, WaitOption, ToOption}, 0, MostPanels},
    run<ResetNetwork>,
};

const Command RestoreDefaultsCommand = {
    "restore-defaults",
    PanelsSynopsis,
    "Have panels restore their defaults.",
    "Asks first. The panel leaves a marker file for what starts after it, goes back\n"
    "to the factory's network settings and restarts. The marker is either\n"
    "/mnt/data/hmi/restorecdsdefault.bin (absolute, command 15) or a file in the\n"
    "working directory of the panel's service (relative, command 6). The command is\n"
    "sent once, as with restart; --rounds N repeats it.",
    {{AllOption,
      WaitOption,
      ToOption,
      {"marker", "KIND", "Leave the 'absolute' (default) or 'relative' marker."}},
     0,
     MostPanels},
    runRestoreDefaults,
};
