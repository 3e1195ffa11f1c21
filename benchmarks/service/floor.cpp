#include "floor.h"

#include "mvdpdatagram.h"

#include <arpa/inet.h>
#include <sys/socket.h>

#include <cstdio>
#include <cstdlib>

std::uint16_t portFromArguments(int argc, char **argv)
{
    const long port = argc == 2 ? std::strtol(argv[1], nullptr, 10) : 0;
    if (port < 1 || port > 65535)
        failFloor("the only argument is a UDP port");
    return static_cast<std::uint16_t>(port);
}

void serveFloor(std::uint16_t port, const void *context, void (*callPlatform)(const void *context))
{
    const int descriptor = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in local = {};
    local.sin_family = AF_INET;
    local.sin_port = htons(port);
    if (::bind(descriptor, reinterpret_cast<const sockaddr *>(&local), sizeof local) != 0)
        failFloor("the port cannot be had");
    MvdpDatagram datagram;
    for (;;) {
        sockaddr_in sender;
        socklen_t length = sizeof sender;
        if (::recvfrom(descriptor, datagram.data(), MvdpDatagram::Size, 0,
                       reinterpret_cast<sockaddr *>(&sender), &length) < 1)
            continue;
        callPlatform(context);
        if (datagram.command() != static_cast<std::uint8_t>(MvdpCommand::Echo))
            callPlatform(context);
        ::sendto(descriptor, datagram.data(), MvdpDatagram::Size, 0,
                 reinterpret_cast<const sockaddr *>(&sender), sizeof sender);
    }
}

void failFloor(const char *message)
{
    std::fprintf(stderr, "%s\n", message);
    std::exit(1);
}
