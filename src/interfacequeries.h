#ifndef INTERFACEQUERIES_H
#define INTERFACEQUERIES_H

#include <QtCore/QtGlobal>

// Questions to the kernel about this device's own network interfaces, without the platform service.

// The name of the local interface through which a peer is reached, written with its terminating zero to name.
//   peer  IPv4 address in network byte order, as a socket address holds it
//   name  at least IF_NAMESIZE bytes, cleared by the caller; left as it is when no interface fits
// First choice is an interface whose subnet holds the peer, then the one whose address the kernel would send
// from, then (no route) the first that is not 127.0.0.1. Only interfaces that are up and have an IPv4
// address count. Always returns 1. For the server thread.
quint32 findInterfaceForPeer(quint32 peer, char *name);

// Whether one of this device's interfaces, up or down, holds an IPv4 address, given in network byte order.
// False when the interfaces cannot be listed. For the server thread.
bool isOwnAddress(quint32 address);

// Direct access to "eth0", kept beside the platform service for integrators; the protocol does not use it.
// Addresses and masks are numbers whose most significant byte is the first dotted octet. Every failure is 0,
// which cannot be told from an address of 0.0.0.0; setting needs CAP_NET_ADMIN. Any thread; each call opens
// and closes a socket of its own.
quint32 ethMacAddress(unsigned char *mac); // writes 6 bytes and returns 1, or returns 0
quint32 ethIpAddress();
quint32 ethSetIpAddress(quint32 address); // 1 or 0
quint32 ethNetmask();
quint32 ethSetNetmask(quint32 netmask); // 1 or 0

#endif // INTERFACEQUERIES_H
