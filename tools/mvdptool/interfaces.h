#ifndef INTERFACES_H
#define INTERFACES_H

#include <QtCore/QString>

#include <cstdint>
#include <set>
#include <vector>

struct InterfaceAddress {
    std::uint32_t address;
    std::uint32_t netmask;

    std::uint32_t broadcast() const { return address | ~netmask; }
    bool contains(std::uint32_t other) const { return ((address ^ other) & netmask) == 0; }
};

// A network interface of this computer that is up.
struct NetworkInterface {
    unsigned index = 0;
    QString name;
    bool isLoopback = false;
    bool hasCarrier = false;
    bool canBroadcast = false;
    bool canMulticast = false;
    std::vector<InterfaceAddress> addresses; // IPv4; nothing can be sent when empty

    bool isOnSubnet(std::uint32_t address) const;
    bool hasAddress(std::uint32_t address) const;
};

// In the order of their indices, loopback included. Empty when the system does not list them.
std::vector<NetworkInterface> upInterfaces();

// The interfaces with one of the indices.
std::vector<NetworkInterface> interfacesAmong(const std::vector<NetworkInterface> &interfaces,
                                              const std::set<unsigned> &indices);

// True when the kernel drops datagrams from subnets that it would not send to by this interface (rp_filter).
// Only Linux has this setting.
bool hasReversePathFilter(const NetworkInterface &interface);

// "eth0" or "eth0 and eth1"
QString namesOf(const std::vector<NetworkInterface> &interfaces);

#endif // INTERFACES_H
