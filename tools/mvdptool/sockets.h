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

// The text of `error`, an errno that was set to 0 before a call to a socket; `otherwise` where the system did
// not set it.
QString socketErrorText(int error, const QString &otherwise);

#endif // SOCKETS_H
