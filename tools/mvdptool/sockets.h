#ifndef SOCKETS_H
#define SOCKETS_H

#include <QtCore/QString>

#include <cstdint>

// Functions of sockets that differ between operating systems and that Qt does not provide. sockets_posix.cpp
// and sockets_windows.cpp each implement all of them. Sockets are what QAbstractSocket::socketDescriptor()
// returns.

enum class SocketEvent { Readable, Writable };
// False when the event did not occur within so many milliseconds. In place of QAbstractSocket's own waiting,
// which closes the socket after a datagram that could not be sent; the next one would then leave from another
// port.
bool waitForSocket(std::intptr_t socket, SocketEvent event, int milliseconds);

// Joins an IPv4 multicast group on one interface, given by its number and one of its addresses (most
// significant byte first, as the group's). False with errno set on failure. In place of QUdpSocket's own
// function, which selects the interface by the address on every system, although several interfaces may share
// one.
bool joinMulticastGroup(std::intptr_t socket, std::uint32_t group, unsigned interfaceIndex,
                        std::uint32_t interfaceAddress);

// Asks for a receive buffer of so many bytes. Returns the size that the system granted, in its own count
// (Linux doubles what it is asked for, and charges a datagram with all memory that it takes, several times
// its length); 0 where unknown. Linux grants more than the limit net.core.rmem_max to a process with
// CAP_NET_ADMIN.
int growReceiveBuffer(std::intptr_t socket, int bytes);

// How many datagrams the system has dropped since the socket was opened because the receive buffer was full.
// Wraps around. Always 0 where the system does not count them.
std::uint32_t droppedDatagrams(std::intptr_t socket);

// The text of `error`, an errno that was set to 0 before a call to a socket; `otherwise` where the system did
// not set it.
QString socketErrorText(int error, const QString &otherwise);

#endif // SOCKETS_H
