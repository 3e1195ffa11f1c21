#include "whereabouts.h"

#include "discovery.h"
#include "toolerror.h"

#include <algorithm>

namespace
{

// By the panel's netmask, because the panel uses it to choose how to answer.
bool isAnyInSubnetOf(const NetworkSettings &settings, const std::vector<NetworkInterface> &interfaces)
{
    return std::any_of(interfaces.begin(), interfaces.end(), [&settings](const NetworkInterface &interface) {
        return std::any_of(interface.addresses.begin(), interface.addresses.end(),
                           [&settings](const InterfaceAddress &own) {
                               return ((own.address ^ settings.address) & settings.netmask) == 0;
                           });
    });
}

bool isBehindTranslation(const Panel &panel, const std::vector<NetworkInterface> &interfaces)
{
    return panel.way == Way::Unicast && !isAnyInSubnetOf(settingsOf(panel), interfaces);
}

// A gateway outside the subnet does not count: most systems refuse such a route.
bool hasGateway(const NetworkSettings &settings)
{
    return settings.gateway != 0 && settings.gateway != settings.address &&
           ((settings.gateway ^ settings.address) & settings.netmask) == 0;
}

bool answersAtItsAddress(const Panel &panel, Exchange &exchange, MvdpCommand question)
{
    const Transport &transport = exchange.transport();
    if (panel.address == 0 || isZero(panel.mac) || transport.reachesMany(panel.address))
        return false;
    // On the panel's own link no route is needed.
    std::vector<Destination> there = transport.towardsOn(panel.interfaceIndex, panel.address);
    if (Transport::hasRouteTo(panel.address)) {
        const auto routed = transport.towards(panel.address);
        there.insert(there.end(), routed.begin(), routed.end());
    }
    const Patience patience = {SearchRounds, SearchTimeout};
    const auto isFound = [mac = panel.mac](const PanelList &panels) { return panels.find(mac) != nullptr; };
    try {
        if (question == MvdpCommand::Discover)
            return isFound(discoverPanels(exchange, {there, patience, isFound}));
        return identifyPanel(exchange, panel.mac, {there}, patience,
                             QStringLiteral("asking at ") + ipv4Text(panel.address))
            .has_value();
    } catch (const ToolError &) {
        return false; // a failure to send proves nothing
    }
}

} // namespace

bool isShownToBeThere(const Panel &panel, const std::vector<NetworkInterface> &interfaces)
{
    return panel.source == panel.address || isBehindTranslation(panel, interfaces);
}

bool isWhereItTells(const Panel &panel, Exchange &exchange, MvdpCommand question)
{
    return isShownToBeThere(panel, exchange.transport().localInterfaces()) ||
           answersAtItsAddress(panel, exchange, question);
}

QString elsewhereText(const Panel &panel)
{
    return QStringLiteral("%1 tells the address %2 but answered from %3")
        .arg(macText(panel.mac), ipv4Text(panel.address), ipv4Text(panel.source));
}

QString deafnessText(const NetworkSettings &settings, const Panel &panel,
                     const std::vector<NetworkInterface> &heardOn)
{
    const bool isHeard = heardOn.empty() || hasGateway(settings) || isAnyInSubnetOf(settings, heardOn) ||
                         isBehindTranslation(panel, heardOn);
    if (isHeard)
        return QString();
    return QStringLiteral("Without a gateway the panel is heard only by computers with an address in %1")
        .arg(addressWithNetmask(settings.address & settings.netmask, settings.netmask));
}
