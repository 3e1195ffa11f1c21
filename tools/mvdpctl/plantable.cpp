#include "plantable.h"

QStringList planLines(const Plan &plan)
{
    const int macColumns = 19;
    const int addressColumns = 24;
    QStringList lines;
    for (const PlanStep &step : plan.steps) {
        const QString mac = macText(step.entry.mac).leftJustified(macColumns);
        if (!step.isFound()) {
            lines << mac + QStringLiteral("not found");
            continue;
        }
        const QString now = addressWithNetmask(step.now->address, step.now->netmask);
        const QString wanted = addressWithNetmask(step.wanted.address, step.wanted.netmask);
        if (step.isAlreadySo()) {
            lines << mac + now.leftJustified(addressColumns) + QStringLiteral("already as planned");
            continue;
        }
        QStringList changes;
        if (wanted != now)
            changes << now.leftJustified(addressColumns) + QStringLiteral("-> ") + wanted;
        if (step.wanted.gateway != step.now->gateway)
            changes << QStringLiteral("gateway ") +
                           ipv4Text(step.now->gateway).leftJustified(addressColumns - 8) +
                           QStringLiteral("-> ") + ipv4Text(step.wanted.gateway);
        if (!step.isWhereItTells && step.now->address != 0)
            changes << (changes.isEmpty() ? now.leftJustified(addressColumns) : QString()) +
                           QStringLiteral("(but answers from %1)").arg(ipv4Text(step.now->source));
        for (int index = 0; index < static_cast<int>(changes.size()); ++index)
            lines << (index == 0 ? mac : QString(macColumns, QLatin1Char(' '))) + changes.at(index);
        if (step.opensCircle)
            lines << QString(macColumns, QLatin1Char(' ')) +
                         QStringLiteral("(still held by another panel until that one's turn)");
    }
    return lines;
}
