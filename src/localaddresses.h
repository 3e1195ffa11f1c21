#ifndef LOCALADDRESSES_H
#define LOCALADDRESSES_H

#include <QtCore/QtGlobal>

#include <net/if.h>

#include <vector>

struct sockaddr;

// The address in an IPv4 socket address, in host byte order.
quint32 hostOrderAddress(const sockaddr *address);

// One IPv4 address of this device.
struct LocalAddress {
    quint32 address; // both in host byte order
    quint32 netmask;
    bool isUp; // its interface
    char interfaceName[IF_NAMESIZE];
};

// The IPv4 addresses of this device, kept from one datagram to the next: listing them costs the more, the
// more interfaces there are, and with a handful already as much as a third of a call of the platform service.
//
// The list cannot be stale. Before it is made, a socket is opened in which the kernel leaves a message with
// each change of an interface or of an IPv4 address; it does so before the change counts as done. The list is
// used only while that socket is empty. With anything else, be it a message, an overflow, an error, or that
// there is no such socket, both are thrown away and made anew. Messages are not interpreted.
//
// For one thread.
class LocalAddresses
{
public:
    LocalAddresses();
    ~LocalAddresses();

    // All of them in the kernel's order, also those of interfaces that are down; none when the kernel does
    // not list them. Valid until the next call. Does not block.
    const std::vector<LocalAddress> &current();

private:
    LocalAddresses(const LocalAddresses &);
    LocalAddresses &operator=(const LocalAddresses &);

    bool hasChanged() const;
    void stopWatching();
    bool list();

    int m_changes; // -1: nothing is watched, and the list is of no use
    std::vector<LocalAddress> m_addresses;
};

#endif // LOCALADDRESSES_H
