#include "addressprobe.h"

#include <algorithm>

namespace
{

QString listed(const std::vector<std::uint32_t> &addresses)
{
    if (addresses.size() == 1)
        return ipv4Text(addresses.front());
    return QStringLiteral("%1 addresses").arg(addresses.size());
}

} // namespace

QStringList strangerObjections(std::uint32_t address, const std::set<MacAddress> &expected,
                               const PanelList &panels, const ProbeResult &result)
{
    const auto isStranger = [address, &expected](const AddressHolder &holder) {
        return holder.address == address && (!holder.mac || expected.count(*holder.mac) == 0);
    };
    const auto holder = std::find_if(result.held.begin(), result.held.end(), isStranger);
    if (holder == result.held.end())
        return {};
    const QString held = QStringLiteral("The address %1 is held by ").arg(ipv4Text(address));
    if (!holder->mac)
        return {held + QStringLiteral("something that answers there and is no panel that was found.")};
    if (const Panel *panel = panels.find(*holder->mac))
        return {held + QStringLiteral("the panel %1, although that reports %2.")
                           .arg(macText(panel->mac), ipv4Text(panel->address))};
    return {held + QStringLiteral("%1, which is no panel that was found.").arg(macText(*holder->mac))};
}

QString probeNote(const std::vector<std::uint32_t> &addresses, const ProbeResult &result)
{
    std::vector<std::uint32_t> asked;
    for (const std::uint32_t address : addresses) {
        if (std::find(result.unasked.begin(), result.unasked.end(), address) == result.unasked.end())
            asked.push_back(address);
    }
    QString note;
    if (!asked.empty()) {
        QString answer = QStringLiteral("nobody answered");
        if (!result.held.empty())
            answer = asked.size() == 1 ? QStringLiteral("somebody answered")
                                       : QStringLiteral("%1 answered").arg(result.held.size());
        note = QStringLiteral("%1 %2 asked for %3: %4.")
                   .arg(listed(asked), asked.size() == 1 ? QStringLiteral("was") : QStringLiteral("were"),
                        result.how, answer);
    }
    if (!result.unasked.empty()) {
        if (!note.isEmpty())
            note += QLatin1Char(' ');
        note += QStringLiteral("Whether %1 %2 held by anything but panels could not be found out.")
                    .arg(listed(result.unasked),
                         result.unasked.size() == 1 ? QStringLiteral("is") : QStringLiteral("are"));
    }
    return note;
}

#ifndef __linux__
// Linux has another, in addressprobe_linux.cpp.
ProbeResult probeAddresses(const std::vector<std::uint32_t> &addresses, const Transport &)
{
    return {{}, addresses, {}};
}
#endif
