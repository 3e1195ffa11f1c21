#ifndef SOCKETS_H
#define SOCKETS_H

#include <QtCore/QString>

#include <cstdint>

// The finer points of sockets that operating systems do differently and Qt does not even out.
// sockets_posix.cpp and sockets_windows.cpp each have all of it. Sockets are what
// QAbstractSocket::socketDescriptor() gives.

enum class SocketEvent { Readable, Writable };
// False when it did not come within so many milliseconds. Not QAbstractSocket's own waiting: after a datagram
// that could not be sent that one closes the socket, and the next datagram leaves from another port.
bool waitForSocket(std::intptr_t socket, SocketEvent event, int milliseconds);

// Takes part in an IPv4 multicast group on one interface, given by its number and one of its addresses (most
// significant byte first, as the group's); false with errno set when that cannot be. Not QUdpSocket's own: it
// goes by the address everywhere, and where systems allow it another interface may have the same.
bool joinMulticastGroup(std::intptr_t socket, std::uint32_t group, unsigned interfaceIndex,
                        std::uint32_t interfaceAddress);

// Why a call to a socket failed: what `error`, an errno that was 0 before the call, says; `otherwise` where
// the system leaves none there.
QString socketErrorText(int error, const QString &otherwise);

#endif // SOCKETS_H
