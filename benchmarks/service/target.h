#ifndef TARGET_H
#define TARGET_H

#include <sys/types.h>

#include <cstdint>
#include <string>

class MvdpDatagram;

// A running program that answers datagrams on a UDP port: the service, or a floor.
class Target
{
public:
    // Throws std::runtime_error when there is no way to the address (dotted quad).
    Target(const char *address, std::uint16_t port, pid_t process);
    ~Target();
    Target(const Target &) = delete;
    Target &operator=(const Target &) = delete;

    // False when the kernel reports that nobody listens.
    bool send(const MvdpDatagram &datagram) const;
    // Waits for a datagram; false when none comes within 10 s, or nobody listens.
    bool receive(MvdpDatagram &datagram) const;
    // Takes a datagram without waiting; false when there is none. For short waits: a timeout of the kernel is
    // a multiple of its tick, which is up to 10 ms.
    bool hasReceived() const;

    // The processor time of all its threads so far, in seconds.
    double cpuTime() const;
    // How often its threads have been switched out so far.
    long switches() const;

private:
    const pid_t m_process;
    const int m_socket;
};

#endif // TARGET_H
