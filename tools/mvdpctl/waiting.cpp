#include "waiting.h"

QString secondsColumn()
{
    return QStringLiteral("seconds");
}

QJsonValue secondsJson(std::optional<std::chrono::milliseconds> time)
{
    return time ? QJsonValue(static_cast<double>(time->count()) / 1000) : QJsonValue();
}

QString secondsText(std::chrono::milliseconds time)
{
    return QStringLiteral("%1 s").arg(static_cast<double>(time.count()) / 1000, 0, 'f', 1);
}
