#ifndef FLOOR_H
#define FLOOR_H

#include <cstdint>

// What both floors share: a datagram comes, the platform service is asked as often as the service asks it,
// and the datagram goes back as it came. Nothing is looked at but the command.

const char FloorServiceName[] = "com.zelt.HWSD";
const char FloorManagerPath[] = "/NetworkManager";
const char FloorManagerInterface[] = "com.zelt.HWSD.NetworkManager";
const char FloorInterfaceName[] = "eth0";

// The UDP port in a program's only argument; ends the program when there is none.
std::uint16_t portFromArguments(int argc, char **argv);

// Serves for ever: calls the function once for an echo and twice for any other command. Ends the program,
// with a message, when the port cannot be had.
[[noreturn]] void serveFloor(std::uint16_t port, const void *context,
                             void (*callPlatform)(const void *context));

// Ends the program with a message.
[[noreturn]] void failFloor(const char *message);

#endif // FLOOR_H
