#ifndef WAITING_H
#define WAITING_H

#include "arguments.h"

#include <QtCore/QJsonValue>
#include <QtCore/QString>

#include <chrono>
#include <optional>

// --wait, of commands after which a panel may restart.
inline constexpr Option WaitOption = {"wait", nullptr, "Wait up to 5 minutes for a panel that restarts."};

// The name of the column and member with the time that was waited; behind all others.
QString secondsColumn();
// In seconds; null when there was no wait or it did not succeed.
QJsonValue secondsJson(std::optional<std::chrono::milliseconds> time);
// "12.3 s"
QString secondsText(std::chrono::milliseconds time);

#endif // WAITING_H
