#include "action.h"
#include "command.h"

namespace
{

const char Question[] = "Restore all defaults of %1 and restart it?";
const char Done[] = "%1 restores its defaults and restarts.";

const Action Absolute = {MvdpCommand::RestoreDefaults, "restore-defaults", Question, Done};
const Action Relative = {MvdpCommand::RestoreDefaultsRelative, "restore-defaults", Question, Done};

std::vector<Option> options()
{
    std::vector<Option> all = actionOptions();
    all.push_back({"marker", "KIND", "Leave the 'absolute' (default) or 'relative' marker."});
    return all;
}

ExitCode run(const Arguments &arguments, Terminal &terminal)
{
    const QString marker = arguments.isSet("marker") ? arguments.text("marker") : QStringLiteral("absolute");
    if (marker != QLatin1String("absolute") && marker != QLatin1String("relative"))
        throwUsage(QStringLiteral("--marker takes 'absolute' or 'relative', not '%1'").arg(marker));
    return runAction(marker == QLatin1String("relative") ? Relative : Absolute, arguments, terminal);
}

} // namespace

const Command RestoreDefaultsCommand = {
    "restore-defaults",
    "PANEL",
    "Have a panel restore its defaults.",
    "Asks first. The panel leaves a marker file for what starts after it, goes back\n"
    "to the factory's network settings and restarts. The marker is either\n"
    "/mnt/data/hmi/restorecdsdefault.bin (absolute, command 15) or a file in the\n"
    "working directory of the panel's service (relative, command 6). The command is\n"
    "sent once, as with restart; --rounds N repeats it.",
    {options(), 1, 1},
    run,
};
