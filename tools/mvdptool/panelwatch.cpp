#include "panelwatch.h"

#include <QtCore/QStringList>

#include <algorithm>

namespace
{

// True when the replies differ in nothing that counts as a change. How a reply was addressed does not count.
bool tellsTheSame(const Panel &one, const Panel &other)
{
    return one.address == other.address && one.netmask == other.netmask && one.gateway == other.gateway &&
           one.partitionVersion == other.partitionVersion && one.description == other.description;
}

} // namespace

const char *eventName(PanelEvent::Kind kind)
{
    switch (kind) {
    case PanelEvent::Appeared:
        return "appeared";
    case PanelEvent::Changed:
        return "changed";
    case PanelEvent::Vanished:
        break;
    }
    return "vanished";
}

QString changesText(const Panel &before, const Panel &now)
{
    QStringList changes;
    const auto add = [&changes](const QString &name, const QString &from, const QString &to) {
        if (from != to)
            changes << name + from + QStringLiteral(" -> ") + to;
    };
    add(QString(), addressWithNetmask(before.address, before.netmask),
        addressWithNetmask(now.address, now.netmask));
    add(QStringLiteral("gateway "), ipv4Text(before.gateway), ipv4Text(now.gateway));
    add(QStringLiteral("version "), versionOrUnknown(before), versionOrUnknown(now));
    add(QStringLiteral("description "), QLatin1Char('\'') + before.description + QLatin1Char('\''),
        QLatin1Char('\'') + now.description + QLatin1Char('\''));
    return changes.join(QStringLiteral(", "));
}

PanelWatch::PanelWatch(int missedRounds)
    : m_missedRounds(missedRounds)
{
}

std::optional<PanelEvent> PanelWatch::hear(const Panel &panel)
{
    for (Entry &entry : m_entries) {
        if (keyOf(entry.told) == keyOf(panel)) {
            entry.last = panel;
            entry.wasHeard = true;
            return std::nullopt;
        }
    }
    m_entries.push_back({panel, panel});
    return PanelEvent{PanelEvent::Appeared, panel, {}};
}

std::vector<PanelEvent> PanelWatch::endRound()
{
    std::vector<PanelEvent> events;
    for (Entry &entry : m_entries) {
        entry.missed = entry.wasHeard ? 0 : entry.missed + 1;
        entry.wasHeard = false;
        if (entry.missed >= m_missedRounds)
            events.push_back({PanelEvent::Vanished, entry.told, {}});
        else if (!tellsTheSame(entry.told, entry.last))
            events.push_back({PanelEvent::Changed, entry.last, entry.told});
        entry.told = entry.last;
    }
    m_entries.erase(std::remove_if(m_entries.begin(), m_entries.end(),
                                   [this](const Entry &entry) { return entry.missed >= m_missedRounds; }),
                    m_entries.end());
    return events;
}

bool PanelWatch::knows(const Panel &panel) const
{
    return std::any_of(m_entries.begin(), m_entries.end(),
                       [&panel](const Entry &entry) { return keyOf(entry.told) == keyOf(panel); });
}
