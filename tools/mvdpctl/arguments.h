#ifndef ARGUMENTS_H
#define ARGUMENTS_H

#include "addresses.h"
#include "exchange.h"
#include "settingscheck.h"
#include "terminal.h"
#include "transport.h"

#include <QtCore/QHash>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

struct Option {
    const char *name;
    const char *value; // placeholder of its value; null: takes none
    const char *help;
    bool isRepeatable = false;
    char letter = 0; // its short form; 0: none
};

// The options and words that one command accepts.
struct Grammar {
    std::vector<Option> options; // without the common ones
    int leastWords = 0;
    int mostWords = 0;
};

// The options that every command takes.
const std::vector<Option> &commonOptions();

// Where the command is in the words of a command line; -1: nowhere. Options may come before it; `options` are
// those of all commands, because a value is no command.
int commandPosition(const QStringList &words, const std::vector<Option> &options);

// A parsed command line. Every getter throws Failure with ExitCode::Usage for a malformed value.
class Arguments
{
public:
    // `words` without program and command name.
    Arguments(const QStringList &words, const Grammar &grammar);

    const QStringList &words() const { return m_words; }
    // True when the command has this option.
    bool takes(const char *option) const { return m_known.contains(QLatin1String(option)); }
    bool isSet(const char *option) const { return m_values.contains(QLatin1String(option)); }
    QString text(const char *option) const { return texts(option).value(0); }
    QStringList texts(const char *option) const { return m_values.value(QLatin1String(option)); }

    std::optional<std::uint32_t> address(const char *option) const;
    // --address, --netmask and --gateway, of commands that take all three. The netmask may stand behind the
    // address, as 192.168.0.10/24; another one in --netmask contradicts it.
    WantedSettings settings() const;
    std::optional<std::uint32_t> netmask(const char *option) const;
    std::optional<MacAddress> mac(const char *option) const;
    std::optional<int> number(const char *option, int least, int most) const;
    // Seconds, decimals allowed.
    std::optional<std::chrono::milliseconds> seconds(const char *option) const;

    TransportOptions transportOptions() const;
    ColorUse color() const;
    Patience patience(int rounds, std::chrono::milliseconds timeout) const;

private:
    QStringList m_words;
    QStringList m_known;
    QHash<QString, QStringList> m_values; // present without value: an empty list
};

[[noreturn]] void throwUsage(const QString &message, const QString &advice = QString());
std::uint32_t addressArgument(const QString &text);
MacAddress macArgument(const QString &text);

#endif // ARGUMENTS_H
