#ifndef PLATFORM_H
#define PLATFORM_H

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <cstdint>
#include <cstdio>

// What operating systems do differently and Qt does not even out: the streams of a terminal program, its
// command line, its signals, and the finer points of sockets. platform_posix.cpp and platform_windows.cpp
// each have all of it.

// What a terminal can show. More than these three need not be told apart: the texts are Latin-1 at most.
enum class CharacterSet { Utf8, Latin1, Ascii };

// Sets up the standard streams, once and before anything else: reads the locale, which Qt changes later on.
CharacterSet prepareStreams();

bool isTerminal(std::FILE *stream);
// 80 when the terminal does not tell.
int terminalColumns(std::FILE *stream);

// The words behind the program's name.
QStringList commandLineWords(int argc, char *argv[]);

using SignalHandler = void (*)(int);
// Has the handler take the next signal of this number and cut short a write that waits for its reader; the
// one after that is again what it is to every program. Returns the handler before, for std::signal().
SignalHandler catchNextSignal(int number, SignalHandler handler);

// Sockets are what QAbstractSocket::socketDescriptor() gives.

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

#endif // PLATFORM_H
