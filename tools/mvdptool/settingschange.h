#ifndef SETTINGSCHANGE_H
#define SETTINGSCHANGE_H

#include "exchange.h"
#include "panel.h"
#include "settingscheck.h"

#include <QtCore/QString>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>

// What became of new settings for one panel.
enum class Outcome {
    Applied,
    AlreadySo,  // the panel had them before, so nothing was sent
    Refused,    // the panel's reply says so
    Unchanged,  // the panel's reply says applied, yet it still shows other settings
    Elsewhere,  // the panel tells the settings, but is not where it tells to be
    Unverified, // the reply says applied, then the panel was not heard again
    NoAnswer,
    NotFound, // no search found the panel, so nothing was sent
    Blocked,  // another panel still holds the address, so nothing was sent
    Trouble,  // this computer could not send
    NotTried, // the user interrupted before it
};
constexpr std::size_t OutcomeCount = static_cast<std::size_t>(Outcome::NotTried) + 1; // the last one

// A name that stays, for scripts too.
const char *outcomeName(Outcome outcome);
// What happened: with a full stop when all is well, without when something may be added.
QString outcomeSentence(Outcome outcome, const MacAddress &mac, const NetworkSettings &wanted);

struct SetResult {
    Outcome outcome = Outcome::NoAnswer;
    bool isHeard = false; // the panel was heard after it had been sent the settings
    // Why the settings keep a panel that is not heard again from being heard; see deafnessText().
    QString deafness;
    QString heardOn; // the interfaces on which it was heard before: "eth0"
};

// For a panel to which nothing was sent.
SetResult unsent(Outcome outcome);

// The time in which a panel is waited for: first for its answer, then for it to be heard with the settings.
constexpr int SetRounds = 3;
constexpr std::chrono::seconds SetTimeout(5);

// Sends settings to a panel, at `reachedAt` alone if that is given, and finds out by a fresh search what
// became of them. `panel` is then what the panel last told. Safe to repeat: a panel may be told the same
// settings twice, so each attempt goes another way. Throws ToolError when they could not be sent.
SetResult applySettings(Exchange &exchange, Panel &panel, const NetworkSettings &settings,
                        const Patience &patience, std::optional<std::uint32_t> reachedAt);

// "192.168.0.10/24, gateway 192.168.0.1"
QString settingsText(const NetworkSettings &settings);

#endif // SETTINGSCHANGE_H
