#include "settingscheck.h"

#include "marks.h"
#include "whereabouts.h"

#include <algorithm>

namespace
{

QString specialAddress(std::uint32_t address)
{
    if (address >> 24 == 0)
        return QStringLiteral("an address of the unspecified network 0.0.0.0/8");
    if (address >> 24 == 127)
        return QStringLiteral("a loopback address");
    if (address >> 28 == 0xE)
        return QStringLiteral("a multicast address");
    if (address >> 28 == 0xF)
        return QStringLiteral("a reserved or broadcast address");
    return QString();
}

// The special use of an address in its subnet; empty for a host address.
QString specialInSubnet(std::uint32_t address, std::uint32_t netmask)
{
    const std::uint32_t hostBits = ~netmask;
    if (hostBits <= 1) // subnets of one or two addresses have neither
        return QString();
    if ((address & hostBits) == 0)
        return QStringLiteral("the network's own address");
    if ((address & hostBits) == hostBits)
        return QStringLiteral("the broadcast address");
    return QString();
}

void addAddressObjection(QStringList &objections, const QString &what, std::uint32_t address,
                         std::uint32_t netmask, bool netmaskIsUsable)
{
    QString special = specialAddress(address);
    QString subnet;
    if (special.isEmpty() && netmaskIsUsable) {
        special = specialInSubnet(address, netmask);
        subnet = QStringLiteral(" under the netmask %1").arg(ipv4Text(netmask));
    }
    if (!special.isEmpty())
        objections << QStringLiteral("The %1 %2 is %3%4.").arg(what, ipv4Text(address), special, subnet);
}

} // namespace

QStringList settingsObjections(const NetworkSettings &settings)
{
    QStringList objections;
    const auto prefix = prefixLength(settings.netmask);
    const bool usable = prefix && *prefix > 0;
    if (!prefix)
        objections << QStringLiteral("The netmask %1 has holes: its one bits must all come first.")
                          .arg(ipv4Text(settings.netmask));
    else if (!usable)
        objections << QStringLiteral("The netmask 0.0.0.0 makes the whole internet one subnet.");
    addAddressObjection(objections, QStringLiteral("address"), settings.address, settings.netmask, usable);
    if (settings.gateway == 0)
        return objections;
    addAddressObjection(objections, QStringLiteral("gateway"), settings.gateway, settings.netmask, usable);
    if (settings.gateway == settings.address) {
        objections << QStringLiteral("The gateway %1 is the panel's own new address.")
                          .arg(ipv4Text(settings.gateway));
    } else if (((settings.gateway ^ settings.address) & settings.netmask) != 0) {
        objections << QStringLiteral("The gateway %1 is outside the subnet %2 of the new address.")
                          .arg(ipv4Text(settings.gateway),
                               addressWithNetmask(settings.address & settings.netmask, settings.netmask));
    }
    return objections;
}

QStringList targetObjections(const MacAddress &mac, const PanelList &panels)
{
    if (isZero(mac))
        return {
            QStringLiteral("The MAC address %1 names no panel: each whose platform service is down has it.")
                .arg(macText(mac))};
    if (panels.sourcesOf(mac).size() > 1)
        return {sharedMacText(mac, panels.sourcesOf(mac).size()) + QLatin1Char('.')};
    return {};
}

QStringList holderObjections(std::uint32_t address, const MacAddress &own, const std::vector<Panel> &others,
                             const std::vector<NetworkInterface> &interfaces)
{
    QStringList objections;
    for (const Panel &panel : others) {
        if (panel.mac != own && panel.holds(address))
            objections << QStringLiteral("The address %1 is held by the panel %2 (%3).")
                              .arg(ipv4Text(address), macText(panel.mac), panel.description);
    }
    for (const NetworkInterface &interface : interfaces) {
        if (interface.hasAddress(address))
            objections << QStringLiteral("The address %1 is this computer's own, on %2.")
                              .arg(ipv4Text(address), interface.name);
    }
    return objections;
}

QStringList cableObjections(std::uint32_t address, const std::vector<NetworkInterface> &heardOn,
                            const std::vector<NetworkInterface> &interfaces)
{
    const auto hasSubnet = [address](const NetworkInterface &interface) {
        return !interface.isLoopback && interface.isOnSubnet(address);
    };
    const auto other = std::find_if(interfaces.begin(), interfaces.end(), hasSubnet);
    if (heardOn.empty() || other == interfaces.end() ||
        std::any_of(heardOn.begin(), heardOn.end(), hasSubnet))
        return {};
    return {QStringLiteral("The address %1 is in the subnet of %2, but the panel is connected to %3.")
                .arg(ipv4Text(address), other->name, namesOf(heardOn))};
}

QStringList deafnessObjections(const NetworkSettings &settings, const Panel &panel,
                               const std::vector<NetworkInterface> &heardOn)
{
    const QString text = deafnessText(settings, panel, heardOn);
    if (text.isEmpty() || !settingsObjections(settings).isEmpty())
        return {};
    return {text + QStringLiteral(", and this one has none on %1.").arg(namesOf(heardOn))};
}
