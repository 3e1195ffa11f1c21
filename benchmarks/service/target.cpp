#include "target.h"

#include "mvdpdatagram.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <ctime>
#include <filesystem>
#include <fstream>
#include <stdexcept>

Target::Target(const char *address, std::uint16_t port, pid_t process)
    : m_process(process)
    , m_socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0))
{
    sockaddr_in destination = {};
    destination.sin_family = AF_INET;
    destination.sin_port = htons(port);
    const timeval patience = {10, 0};
    ::setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    if (::inet_pton(AF_INET, address, &destination.sin_addr) != 1 ||
        ::connect(m_socket, reinterpret_cast<const sockaddr *>(&destination), sizeof destination) != 0) {
        ::close(m_socket);
        throw std::runtime_error("no way to the panel's address");
    }
}

Target::~Target()
{
    ::close(m_socket);
}

bool Target::send(const MvdpDatagram &datagram) const
{
    return ::send(m_socket, datagram.data(), MvdpDatagram::Size, 0) == MvdpDatagram::Size;
}

bool Target::receive(MvdpDatagram &datagram) const
{
    return ::recv(m_socket, datagram.data(), MvdpDatagram::Size, 0) == MvdpDatagram::Size;
}

bool Target::hasReceived() const
{
    MvdpDatagram datagram;
    return ::recv(m_socket, datagram.data(), MvdpDatagram::Size, MSG_DONTWAIT) == MvdpDatagram::Size;
}

double Target::cpuTime() const
{
    clockid_t clock;
    timespec time;
    if (::clock_getcpuclockid(m_process, &clock) != 0 || ::clock_gettime(clock, &time) != 0)
        throw std::runtime_error("a measured program has ended");
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

long Target::switches() const
{
    long sum = 0;
    const std::filesystem::path tasks = "/proc/" + std::to_string(m_process) + "/task";
    for (const auto &task : std::filesystem::directory_iterator(tasks)) {
        std::ifstream status(task.path() / "status");
        for (std::string word; status >> word;) {
            long count = 0;
            if (word.find("voluntary_ctxt_switches:") != std::string::npos && status >> count)
                sum += count;
        }
    }
    return sum;
}
