#include "playedpanel.h"

#include <QtCore/QtGlobal>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>

namespace
{

// 192.168.0.1 travels as 01 00 A8 C0. All that follows is zero.
const unsigned char Identity[] = {
    0x5E, 0x13, 0x06, 0x03,             // magic
    0x04, 0x02, 0x00, 0x00,             // version 4, reply; command and tag are those of the request
    0x01, 0x00, 0x00, 0x7F,             // 127.0.0.1
    0x00, 0x00, 0x00, 0xFF,             // 255.0.0.0
    0x00, 0x00, 0x00, 0x00,             // no gateway
    0x02, 0x00, 0x5E, 0x10, 0x00, 0x01, // MAC address
};
const std::size_t Settings = 8; // offset and length of address, netmask and gateway
const std::size_t SettingsSize = 12;

sockaddr_in address(in_addr_t ip)
{
    sockaddr_in result = {};
    result.sin_family = AF_INET;
    result.sin_addr.s_addr = htonl(ip);
    result.sin_port = htons(58553);
    return result;
}

} // namespace

PlayedPanel::PlayedPanel()
    : m_socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0))
{
    const sockaddr_in everywhere = address(INADDR_ANY);
    if (::bind(m_socket, reinterpret_cast<const sockaddr *>(&everywhere), sizeof everywhere) != 0)
        qFatal("The played panel has no socket");
    m_thread = std::thread([this] { answerUntilStopped(); });
}

PlayedPanel::~PlayedPanel()
{
    // A datagram of one byte ends the thread.
    const sockaddr_in itself = address(INADDR_LOOPBACK);
    ::sendto(m_socket, "", 1, 0, reinterpret_cast<const sockaddr *>(&itself), sizeof itself);
    m_thread.join();
    ::close(m_socket);
}

void PlayedPanel::answerUntilStopped() const
{
    unsigned char identity[256] = {};
    std::memcpy(identity, Identity, sizeof Identity);
    for (;;) {
        unsigned char datagram[256] = {};
        sockaddr_in sender = {};
        socklen_t size = sizeof sender;
        const ssize_t received =
            ::recvfrom(m_socket, datagram, sizeof datagram, 0, reinterpret_cast<sockaddr *>(&sender), &size);
        if (received <= 1)
            return;
        const unsigned char command = datagram[6];
        if (command == 5)
            std::memcpy(identity + Settings, datagram + Settings, SettingsSize);
        if (command != 2) {
            identity[6] = command;
            identity[7] = datagram[7];
            std::memcpy(datagram, identity, sizeof identity);
        }
        ::sendto(m_socket, datagram, sizeof datagram, 0, reinterpret_cast<const sockaddr *>(&sender), size);
    }
}
