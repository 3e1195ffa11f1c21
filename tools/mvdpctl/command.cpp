#include "command.h"

#include <algorithm>

namespace
{

const int OptionColumn = 24;

QString optionLines(const std::vector<Option> &options)
{
    QString text;
    for (const Option &option : options) {
        QString left = QStringLiteral("  --%1").arg(QLatin1String(option.name));
        if (option.value != nullptr)
            left += QLatin1Char(' ') + QLatin1String(option.value);
        text += left.leftJustified(OptionColumn) + QLatin1String(option.help) + QLatin1Char('\n');
    }
    return text;
}

} // namespace

std::vector<const Command *> allCommands()
{
    return {&DiscoverCommand, &WatchCommand,        &IdentifyCommand,
            &EchoCommand,     &SetCommand,          &WinkCommand,
            &RestartCommand,  &ResetNetworkCommand, &RestoreDefaultsCommand,
            &RawCommand};
}

const Command *findCommand(const QString &name)
{
    const auto commands = allCommands();
    const auto found = std::find_if(commands.begin(), commands.end(), [&name](const Command *command) {
        return name == QLatin1String(command->name);
    });
    return found == commands.end() ? nullptr : *found;
}

QString generalHelp()
{
    QString text = QStringLiteral("Usage: mvdpctl COMMAND [ARGUMENTS] [OPTIONS]\n\n"
                                  "Finds operator panels on the network and configures them.\n\n"
                                  "Commands:\n");
    for (const Command *command : allCommands()) {
        text += (QStringLiteral("  ") + QLatin1String(command->name)).leftJustified(OptionColumn) +
                QLatin1String(command->summary) + QLatin1Char('\n');
    }
    text +=
        QStringLiteral("\nOptions of every command:\n") + optionLines(commonOptions()) +
        QStringLiteral("\nPANEL is a MAC address, or an IP address or a piece of a description that fits\n"
                       "only one of the panels that are found.\n"
                       "\n'mvdpctl COMMAND --help' tells more about a command.\n"
                       "'mvdpctl --version' tells the version.\n"
                       "Exit status: 0 done, 1 no answer, 2 usage, 3 refused by the panel,\n"
                       "4 network trouble.");
    return text;
}

QString commandHelp(const Command &command)
{
    const QString synopsis =
        QStringLiteral("%1 %2").arg(QLatin1String(command.name), QLatin1String(command.synopsis));
    QString text =
        QStringLiteral("Usage: mvdpctl %1 [OPTIONS]\n\n%2\n\n%3\n")
            .arg(synopsis.trimmed(), QLatin1String(command.summary), QLatin1String(command.details));
    if (!command.grammar.options.empty())
        text += QStringLiteral("\nOptions:\n") + optionLines(command.grammar.options);
    text += QStringLiteral("\nOptions of every command:\n") + optionLines(commonOptions());
    text.chop(1);
    return text;
}
