#ifndef SETTINGSCHANGE_H
#define SETTINGSCHANGE_H

#include "exchange.h"
#include "panel.h"
#include "settingscheck.h"

#include <QtCore/QString>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>

// The outcome of a change of one panel's settings.
enum class Outcome {
    Applied,
    AlreadySo,  // the panel had them before, so nothing was sent
    Refused,    // by the panel's reply
    Unchanged,  // applied by its reply, but the panel still reports other settings
    Elsewhere,  // the panel reports the settings, but does not have the address
    Unverified, // applied by its reply, but the panel did not answer afterwards
    NoAnswer,
    NotFound, // no search found the panel, so nothing was sent
    Blocked,  // another panel still holds the address, so nothing was sent
    Trouble,  // this computer could not send
    NotTried, // the user interrupted before this panel
};
constexpr std::size_t OutcomeCount = static_cast<std::size_t>(Outcome::NotTried) + 1; // the last one

// Scripts rely on these names.
const char *outcomeName(Outcome outcome);
// A sentence; it ends in a full stop only when the outcome is good, for else advice may follow.
QString outcomeSentence(Outcome outcome, const MacAddress &mac, const NetworkSettings &wanted);

struct SetResult {
    Outcome outcome = Outcome::NoAnswer;
    bool isHeard = false; // the panel answered after the settings were sent
    // Why the settings keep the panel's answers from this computer; see deafnessText().
    QString deafness;
    QString heardOn; // the interfaces that received its answers before: "eth0"
    // From the first request until the panel showed the settings and had the address. Only for Applied.
    std::optional<std::chrono::milliseconds> shownAfter = {};
};

// A longer wait for the new settings than usual, for panels that restart after the change.
struct SettingsWait {
    std::chrono::milliseconds limit;
    std::function<bool()> isInterrupted = {}; // when given, the wait ends soon after this is true
};

// For a panel to which nothing was sent.
SetResult unsent(Outcome outcome);

// The rounds in which a panel is waited for: first for its answer, then for its new settings in a search.
constexpr int SetRounds = 3;
constexpr std::chrono::seconds SetTimeout(5);

// Sends settings to a panel, only to `reachedAt` if that is given, and verifies the result by a new search.
// `panel` is then as in its last reply. A setting may be repeated without harm, so each attempt goes by
// another way. The search for the settings takes as long as the patience's rounds at most, or as long as
// `wait` has it. Throws ToolError when the settings could not be sent.
SetResult applySettings(Exchange &exchange, Panel &panel, const NetworkSettings &settings,
                        const Patience &patience, std::optional<std::uint32_t> reachedAt,
                        const std::optional<SettingsWait> &wait = std::nullopt);

// "192.168.0.10/24, gateway 192.168.0.1"
QString settingsText(const NetworkSettings &settings);

#endif // SETTINGSCHANGE_H
