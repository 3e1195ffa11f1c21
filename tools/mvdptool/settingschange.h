#ifndef SETTINGSCHANGE_H
#define SETTINGSCHANGE_H

#include "failure.h"
#include "session.h"
#include "settingscheck.h"

#include <chrono>
#include <cstddef>
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

// Its name in JSON and CSV, which the manual page promises to scripts.
const char *outcomeName(Outcome outcome);
ExitCode outcomeCode(Outcome outcome);
// What happened: %1 is the panel, %2 the settings.
QString outcomeSentence(Outcome outcome, const MacAddress &mac, const NetworkSettings &wanted);
// What to do next; empty when all is well.
QString outcomeAdvice(Outcome outcome);

struct SetResult {
    Outcome outcome;
    QString advice;       // what to do next; empty when all is well
    bool isHeard = false; // the panel was heard after it had been sent the settings
};

// The time in which a panel is waited for: first for its answer, then for it to be heard with the settings.
constexpr int SetRounds = 3;
constexpr std::chrono::seconds SetTimeout(5);

// Sends settings to a panel and finds out by a fresh search what became of them. `panel` is then what the
// panel last told. Safe to repeat: a panel may be told the same settings twice, so each attempt goes another
// way.
SetResult applySettings(Session &session, Panel &panel, const NetworkSettings &settings);

// "192.168.0.10/24, gateway 192.168.0.1"
QString settingsText(const NetworkSettings &settings);

#endif // SETTINGSCHANGE_H
