#include "arguments.h"

#include "failure.h"
#include "nearest.h"

#include <QtCore/QCommandLineParser>

#include <algorithm>
#include <cmath>

namespace
{

const double LongestSeconds = 3600;

bool hasValue(const std::vector<Option> &options, const QString &name, char letter)
{
    return std::any_of(options.begin(), options.end(), [&name, letter](const Option &option) {
        const bool isMeant = letter != 0 ? option.letter == letter : name == QLatin1String(option.name);
        return isMeant && option.value != nullptr;
    });
}

// True when the value of this option is the next word.
bool takesNextWord(const QString &word, const std::vector<Option> &options)
{
    if (word.startsWith(QStringLiteral("--")))
        return hasValue(options, word.mid(2), 0); // "--timeout=1" is the name of none
    for (int index = 1; index < static_cast<int>(word.size()); ++index) {
        if (hasValue(options, QString(), word.at(index).toLatin1()))
            return index + 1 == static_cast<int>(word.size()); // else the value follows in the same word
    }
    return false;
}

QStringList namesOf(const Option &option)
{
    const QString name = QString::fromLatin1(option.name);
    return option.letter == 0 ? QStringList{name} : QStringList{QString(QLatin1Char(option.letter)), name};
}

[[noreturn]] void failUnread(const QCommandLineParser &parser, const std::vector<Option> &options)
{
    const QStringList unknown = parser.unknownOptionNames();
    if (unknown.isEmpty())
        throwUsage(parser.errorText());
    QStringList known;
    for (const Option &option : options)
        known << QStringLiteral("--") + QLatin1String(option.name);
    const QString dashes = unknown.first().size() == 1 ? QStringLiteral("-") : QStringLiteral("--");
    throwUsage(QStringLiteral("there is no option '%1%2'").arg(dashes, unknown.first()) +
               didYouMean(dashes + unknown.first(), known));
}

} // namespace

const std::vector<Option> &commonOptions()
{
    static const std::vector<Option> options = {
        {"interface", "NAME", "Use this network interface only.", false, 'i'},
        {"source-port", "PORT", "Send from this UDP port (default: any free one)."},
        {"timeout", "SECONDS", "How long to wait for answers in each round.", false, 't'},
        {"rounds", "N", "How often to ask, at most."},
        {"names", "FILE", "The file of names (default: your own)."},
        {"json", nullptr, "Print the result as JSON.", false, 'j'},
        {"csv", nullptr, "Print the result as comma-separated values."},
        {"quiet", nullptr, "Print results and errors only."},
        {"verbose", nullptr, "Show the datagrams that are sent and received.", false, 'v'},
        {"color", "WHEN", "Color marks: auto (on a terminal), always or never."},
        {"yes", nullptr, "Do not ask before a dangerous command."},
        {"help", nullptr, "Show this text.", false, 'h'},
        {"version", nullptr, "Show the version.", false, 'V'},
    };
    return options;
}

int commandPosition(const QStringList &words, const std::vector<Option> &options)
{
    for (int index = 0; index < static_cast<int>(words.size()); ++index) {
        const QString &word = words.at(index);
        if (!word.startsWith(QLatin1Char('-')) || word == QLatin1String("-"))
            return index;
        if (takesNextWord(word, options))
            ++index;
    }
    return -1;
}

void throwUsage(const QString &message, const QString &advice)
{
    throw Failure{ExitCode::Usage, message, advice};
}

std::uint32_t addressArgument(const QString &text)
{
    const auto address = ipv4FromText(text);
    if (!address)
        throwUsage(QStringLiteral("'%1' is no IPv4 address").arg(text),
                   QStringLiteral("Write four numbers from 0 to 255, as in 192.168.0.10."));
    return *address;
}

MacAddress macArgument(const QString &text)
{
    const auto mac = macFromText(text);
    if (!mac)
        throwUsage(QStringLiteral("'%1' is no MAC address").arg(text),
                   QStringLiteral("Write it as 'mvdpctl discover' shows it, as in 02:00:5e:10:00:01."));
    return *mac;
}

Arguments::Arguments(const QStringList &words, const Grammar &grammar)
{
    QCommandLineParser parser;
    std::vector<Option> options = commonOptions();
    options.insert(options.end(), grammar.options.begin(), grammar.options.end());
    for (const Option &option : options) {
        m_known << QString::fromLatin1(option.name);
        parser.addOption(QCommandLineOption(namesOf(option), QString(), QString::fromLatin1(option.value)));
    }
    // The parser skips the first word, the program's name.
    if (!parser.parse(QStringList(QStringLiteral("mvdpctl")) + words))
        failUnread(parser, options);
    for (const Option &option : options) {
        const QString name = QString::fromLatin1(option.name);
        if (parser.isSet(name))
            m_values.insert(name, parser.values(name));
    }
    m_words = parser.positionalArguments();
    if (isSet("help") || isSet("version"))
        return;
    for (const Option &option : options) {
        // It is not known which of the two was meant.
        if (!option.isRepeatable && texts(option.name).size() > 1)
            throwUsage(QStringLiteral("--%1 is there more than once").arg(QLatin1String(option.name)));
    }
    if (m_words.size() > grammar.mostWords)
        throwUsage(QStringLiteral("'%1' is one argument too many").arg(m_words.at(grammar.mostWords)));
    if (m_words.size() < grammar.leastWords)
        throwUsage(QStringLiteral("an argument is missing"));
}

std::optional<std::uint32_t> Arguments::address(const char *option) const
{
    return isSet(option) ? std::optional<std::uint32_t>(addressArgument(text(option))) : std::nullopt;
}

WantedSettings Arguments::settings() const
{
    WantedSettings settings = {std::nullopt, netmask("netmask"), address("gateway")};
    if (!isSet("address"))
        return settings;
    const auto given = addressWithPrefixFromText(text("address"));
    if (!given)
        throwUsage(QStringLiteral("'%1' is no IPv4 address").arg(text("address")),
                   QStringLiteral("Write it as 192.168.0.10, or with its netmask as 192.168.0.10/24."));
    settings.address = given->address;
    if (!given->netmask)
        return settings;
    if (settings.netmask && *settings.netmask != *given->netmask)
        throwUsage(QStringLiteral("--address %1 and --netmask %2 contradict each other")
                       .arg(text("address"), text("netmask")),
                   QStringLiteral("Give the netmask in one of them."));
    settings.netmask = given->netmask;
    return settings;
}

std::optional<std::uint32_t> Arguments::netmask(const char *option) const
{
    if (!isSet(option))
        return std::nullopt;
    const auto netmask = netmaskFromText(text(option));
    if (!netmask)
        throwUsage(QStringLiteral("'%1' is no netmask").arg(text(option)),
                   QStringLiteral("Write it as 255.255.255.0 or as 24."));
    return netmask;
}

std::optional<MacAddress> Arguments::mac(const char *option) const
{
    return isSet(option) ? std::optional<MacAddress>(macArgument(text(option))) : std::nullopt;
}

std::optional<int> Arguments::number(const char *option, int least, int most) const
{
    if (!isSet(option))
        return std::nullopt;
    bool isNumber = false;
    const int value = text(option).toInt(&isNumber);
    if (!isNumber || value < least || value > most) {
        throwUsage(QStringLiteral("--%1 takes a number from %2 to %3, not '%4'")
                       .arg(QLatin1String(option))
                       .arg(least)
                       .arg(most)
                       .arg(text(option)));
    }
    return value;
}

std::optional<std::chrono::milliseconds> Arguments::seconds(const char *option) const
{
    if (!isSet(option))
        return std::nullopt;
    bool isNumber = false;
    const double value = text(option).toDouble(&isNumber);
    // This form of the condition also refuses NaN.
    if (!isNumber || !(value >= 0.001 && value <= LongestSeconds)) {
        throwUsage(QStringLiteral("--%1 takes seconds from 0.001 to %2, not '%3'")
                       .arg(QLatin1String(option))
                       .arg(LongestSeconds)
                       .arg(text(option)));
    }
    return std::chrono::milliseconds(std::lround(value * 1000));
}

TransportOptions Arguments::transportOptions() const
{
    TransportOptions options;
    options.interface = text("interface");
    if (isSet("interface") && options.interface.isEmpty())
        throwUsage(QStringLiteral("--interface takes the name of a network interface"));
    options.sourcePort = static_cast<std::uint16_t>(number("source-port", 1, 65535).value_or(0));
    return options;
}

ColorUse Arguments::color() const
{
    const QString when = isSet("color") ? text("color") : QStringLiteral("auto");
    if (when == QLatin1String("always"))
        return ColorUse::Always;
    if (when == QLatin1String("never"))
        return ColorUse::Never;
    if (when != QLatin1String("auto"))
        throwUsage(QStringLiteral("--color takes 'auto', 'always' or 'never', not '%1'").arg(when));
    return ColorUse::Auto;
}

Patience Arguments::patience(int rounds, std::chrono::milliseconds timeout) const
{
    return {number("rounds", 1, 1000).value_or(rounds), seconds("timeout").value_or(timeout)};
}
