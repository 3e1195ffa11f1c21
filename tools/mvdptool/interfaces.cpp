#include "interfaces.h"

#include <QtCore/QFile>
#include <QtCore/QStringList>
#include <QtNetwork/QNetworkInterface>

#include <algorithm>
#include <iterator>

namespace
{

std::vector<InterfaceAddress> ipv4Addresses(const QNetworkInterface &interface)
{
    std::vector<InterfaceAddress> addresses;
    for (const QNetworkAddressEntry &entry : interface.addressEntries()) {
        if (entry.ip().protocol() == QAbstractSocket::IPv4Protocol)
            addresses.push_back({entry.ip().toIPv4Address(), entry.netmask().toIPv4Address()});
    }
    return addresses;
}

bool isReversePathFilterOn(const QString &name)
{
    QFile file(QStringLiteral("/proc/sys/net/ipv4/conf/%1/rp_filter").arg(name));
    return file.open(QIODevice::ReadOnly) && file.readAll().trimmed().toInt() > 0;
}

} // namespace

bool NetworkInterface::isOnSubnet(std::uint32_t address) const
{
    return std::any_of(addresses.begin(), addresses.end(),
                       [address](const InterfaceAddress &own) { return own.contains(address); });
}

bool NetworkInterface::hasAddress(std::uint32_t address) const
{
    return std::any_of(addresses.begin(), addresses.end(),
                       [address](const InterfaceAddress &own) { return own.address == address; });
}

std::vector<NetworkInterface> upInterfaces()
{
    std::vector<NetworkInterface> interfaces;
    for (const QNetworkInterface &each : QNetworkInterface::allInterfaces()) {
        const auto flags = each.flags();
        if (!flags.testFlag(QNetworkInterface::IsUp))
            continue;
        NetworkInterface interface;
        interface.index = static_cast<unsigned>(each.index());
        interface.name = each.humanReadableName();
        interface.isLoopback = flags.testFlag(QNetworkInterface::IsLoopBack);
        interface.hasCarrier = flags.testFlag(QNetworkInterface::IsRunning);
        // The loopback interface delivers broadcasts although it lacks the flag.
        interface.canBroadcast = interface.isLoopback || flags.testFlag(QNetworkInterface::CanBroadcast);
        interface.canMulticast = flags.testFlag(QNetworkInterface::CanMulticast);
        interface.addresses = ipv4Addresses(each);
        interfaces.push_back(std::move(interface));
    }
    std::sort(
        interfaces.begin(), interfaces.end(),
        [](const NetworkInterface &one, const NetworkInterface &other) { return one.index < other.index; });
    return interfaces;
}

std::vector<NetworkInterface> interfacesAmong(const std::vector<NetworkInterface> &interfaces,
                                              const std::set<unsigned> &indices)
{
    std::vector<NetworkInterface> among;
    std::copy_if(
        interfaces.begin(), interfaces.end(), std::back_inserter(among),
        [&indices](const NetworkInterface &interface) { return indices.count(interface.index) > 0; });
    return among;
}

bool hasReversePathFilter(const NetworkInterface &interface)
{
    return isReversePathFilterOn(interface.name) || isReversePathFilterOn(QStringLiteral("all"));
}

QString namesOf(const std::vector<NetworkInterface> &interfaces)
{
    QStringList names;
    for (const NetworkInterface &interface : interfaces)
        names << interface.name;
    return names.join(QStringLiteral(" and "));
}
