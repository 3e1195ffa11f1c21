#include "planmaker.h"

#include "toolerror.h"

#include <algorithm>
#include <map>
#include <set>

namespace
{

bool isDigit(QChar character)
{
    return character >= QLatin1Char('0') && character <= QLatin1Char('9');
}

// The digits from `at` on, without zeros in front.
QString numberAt(const QString &text, TextFile::Offset &at)
{
    const auto start = at;
    while (at < text.size() && isDigit(text.at(at)))
        ++at;
    auto significant = start;
    while (significant + 1 < at && text.at(significant) == QLatin1Char('0'))
        ++significant;
    return text.mid(significant, at - significant);
}

// Negative, zero or positive.
int compareNaturally(const QString &one, const QString &other)
{
    TextFile::Offset i = 0;
    TextFile::Offset j = 0;
    while (i < one.size() && j < other.size()) {
        if (isDigit(one.at(i)) && isDigit(other.at(j))) {
            const QString first = numberAt(one, i);
            const QString second = numberAt(other, j);
            if (first.size() != second.size())
                return first.size() < second.size() ? -1 : 1;
            const int difference = first.compare(second);
            if (difference != 0)
                return difference;
        } else {
            const int difference = one.mid(i++, 1).compare(other.mid(j++, 1), Qt::CaseInsensitive);
            if (difference != 0)
                return difference;
        }
    }
    return static_cast<int>(i < one.size()) - static_cast<int>(j < other.size());
}

const QString &keyOf(const LabelledPanel &panel, PanelOrder order)
{
    static const QString none;
    switch (order) {
    case PanelOrder::Name:
        return panel.label.name;
    case PanelOrder::Model:
        return panel.panel.description;
    case PanelOrder::Mac:
        break;
    }
    return none;
}

} // namespace

void checkWish(const RangeWish &wish)
{
    const auto fail = [](const QString &what) {
        throw ToolError{ToolError::BadInput, what, QStringLiteral("Give another range, netmask or gateway.")};
    };
    const AddressRange &range = wish.range;
    if (((range.first ^ range.last) & wish.netmask) != 0)
        fail(QStringLiteral("the range %1-%2 is not in one subnet under the netmask %3")
                 .arg(ipv4Text(range.first), ipv4Text(range.last), ipv4Text(wish.netmask)));
    // Judged for each address, because an end of the range may be that of the network.
    QStringList objections;
    for (std::uint32_t address = range.first; range.contains(address); ++address) {
        objections = settingsObjections({address, wish.netmask, wish.gateway.value_or(0)});
        if (objections.isEmpty())
            return;
    }
    fail(QStringLiteral("no panel can have an address of the range: ") + objections.first());
}

bool isToBeGiven(std::uint32_t address, const RangeWish &wish)
{
    return wish.range.contains(address) &&
           settingsObjections({address, wish.netmask, wish.gateway.value_or(0)}).isEmpty();
}

void sortPanels(std::vector<LabelledPanel> &panels, PanelOrder order)
{
    std::sort(panels.begin(), panels.end(), [order](const LabelledPanel &one, const LabelledPanel &other) {
        const QString &first = keyOf(one, order);
        const QString &second = keyOf(other, order);
        if (first.isEmpty() != second.isEmpty())
            return second.isEmpty();
        const int difference = compareNaturally(first, second);
        return difference != 0 ? difference < 0 : one.panel.mac < other.panel.mac;
    });
}

bool isBefore(const QString &one, const QString &other)
{
    return compareNaturally(one, other) < 0;
}

AddressPlan assignAddresses(const std::vector<LabelledPanel> &panels, const RangeWish &wish,
                            const std::function<bool(std::uint32_t)> &isTaken)
{
    std::map<std::uint32_t, MacAddress> keepers;
    for (const LabelledPanel &each : panels) {
        const std::uint32_t address = each.panel.address;
        if (isToBeGiven(address, wish) && !isTaken(address))
            keepers.insert({address, each.panel.mac}); // unless a panel before it has it
    }
    const auto keeps = [&keepers](const Panel &panel) {
        const auto keeper = keepers.find(panel.address);
        return keeper != keepers.end() && keeper->second == panel.mac;
    };
    std::uint64_t next = wish.range.first; // wide, so that it can be behind the last address of all
    AddressPlan plan;
    for (const LabelledPanel &each : panels) {
        PlannedPanel planned = {each, {each.panel.address, wish.netmask, wish.gateway}, false};
        if (!keeps(each.panel)) {
            const auto isFree = [&](std::uint32_t address) {
                return keepers.count(address) == 0 && isToBeGiven(address, wish) && !isTaken(address);
            };
            while (next <= wish.range.last && !isFree(static_cast<std::uint32_t>(next)))
                ++next;
            if (next > wish.range.last) {
                ++plan.missing;
                continue;
            }
            planned.wanted.address = static_cast<std::uint32_t>(next++);
            planned.isMoved = true;
        }
        plan.panels.push_back(planned);
    }
    return plan;
}
