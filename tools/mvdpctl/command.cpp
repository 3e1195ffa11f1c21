#include "command.h"

#include "nearest.h"

namespace
{

const int CommandColumn = 20;
const int OptionColumn = 27;

QString optionLines(const std::vector<Option> &options)
{
    QString text;
    for (const Option &option : options) {
        QString left = option.letter == 0 ? QString(6, QLatin1Char(' '))
                                          : QStringLiteral("  -%1, ").arg(QLatin1Char(option.letter));
        left += QStringLiteral("--") + QLatin1String(option.name);
        if (option.value != nullptr)
            left += QLatin1Char(' ') + QLatin1String(option.value);
        text += left.leftJustified(OptionColumn) + QLatin1String(option.help) + QLatin1Char('\n');
    }
    return text;
}

} // namespace

std::vector<const Command *> allCommands()
{
    return {&DiscoverCommand, &WatchCommand, &IdentifyCommand, &EchoCommand,         &SetCommand,
            &PlanCommand,     &WinkCommand,  &RestartCommand,  &ResetNetworkCommand, &RestoreDefaultsCommand,
            &TourCommand,     &RawCommand};
}

const Command &commandNamed(const QString &name)
{
    std::vector<const Command *> begun;
    QStringList names;
    for (const Command *command : allCommands()) {
        const QString full = QString::fromLatin1(command->name);
        if (full == name)
            return *command;
        if (!name.isEmpty() && full.startsWith(name))
            begun.push_back(command);
        names << full;
    }
    names << QStringLiteral("help");
    if (begun.size() == 1)
        return *begun.front();
    const QString advice = QStringLiteral("'mvdpctl --help' lists the commands.");
    if (begun.empty())
        throw Failure{ExitCode::Usage,
                      QStringLiteral("there is no command '%1'").arg(name) + didYouMean(name, names), advice};
    QStringList ends;
    for (const Command *command : begun)
        ends << QString::fromLatin1(command->name);
    throw Failure{ExitCode::Usage,
                  QStringLiteral("'%1' is the beginning of several commands: %2")
                      .arg(name, ends.join(QStringLiteral(", "))),
                  advice};
}

std::vector<Option> allOptions()
{
    std::vector<Option> options = commonOptions();
    for (const Command *command : allCommands())
        options.insert(options.end(), command->grammar.options.begin(), command->grammar.options.end());
    return options;
}

QString generalHelp()
{
    QString text = QStringLiteral("Usage: mvdpctl COMMAND [ARGUMENTS] [OPTIONS]\n\n"
                                  "Finds operator panels on the network and configures them.\n\n"
                                  "Commands:\n");
    for (const Command *command : allCommands()) {
        text += (QStringLiteral("  ") + QLatin1String(command->name)).leftJustified(CommandColumn) +
                QLatin1String(command->summary) + QLatin1Char('\n');
    }
    text +=
        QStringLiteral("\nOptions of every command:\n") + optionLines(commonOptions()) +
        QStringLiteral("\nPANEL is a MAC address, an IP address, a name that you gave ('mvdpctl tour'), or\n"
                       "a piece of a description or name. With --all it is every panel that it fits.\n"
                       "\n'mvdpctl COMMAND --help' tells more about a command. The beginning of a\n"
                       "command's name is enough. Options may stand anywhere.\n"
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
