// How long a discovery takes, from the datagram that leaves the tool's socket to the reply that arrives
// there, beside what it cannot do without: two calls of getInterfaceConfig over the same bus, by the leanest
// client there is and by the client that the service uses. All three take turns, so that they meet the same
// load.
//
// Usage: discovery-benchmark PANEL-ADDRESS BUS-ADDRESS ROUNDS
// Prints medians in microseconds and the ratios to the floors. Exit code 1 when an answer stays away.

#include "mvdpdatagram.h"

#include <QtCore/QCoreApplication>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

const char ServiceName[] = "com.zelt.HWSD";
const char ManagerPath[] = "/NetworkManager";
const char ManagerInterface[] = "com.zelt.HWSD.NetworkManager";
const char InterfaceName[] = "eth0";

class Panel
{
public:
    explicit Panel(const char *address)
        : m_socket(::socket(AF_INET, SOCK_DGRAM, 0))
    {
        sockaddr_in panel = {};
        panel.sin_family = AF_INET;
        panel.sin_port = htons(MvdpDatagram::Port);
        if (::inet_pton(AF_INET, address, &panel.sin_addr) != 1)
            throw std::runtime_error("the panel's address is no IPv4 address");
        const timeval patience = {10, 0};
        ::setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        if (::connect(m_socket, reinterpret_cast<const sockaddr *>(&panel), sizeof panel) != 0)
            throw std::runtime_error("no way to the panel");
    }
    ~Panel() { ::close(m_socket); }
    Panel(const Panel &) = delete;
    Panel &operator=(const Panel &) = delete;

    void discover() const
    {
        MvdpDatagram datagram;
        datagram.setRequestHeader(MvdpCommand::Discover);
        ::send(m_socket, datagram.data(), MvdpDatagram::Size, 0);
        if (::recv(m_socket, datagram.data(), MvdpDatagram::Size, 0) != MvdpDatagram::Size ||
            !datagram.isReply())
            throw std::runtime_error("no reply of the panel");
    }

private:
    const int m_socket;
};

class SdBus
{
public:
    explicit SdBus(const char *address)
    {
        if (sd_bus_new(&m_bus) < 0 || sd_bus_set_address(m_bus, address) < 0 ||
            sd_bus_set_bus_client(m_bus, 1) < 0 || sd_bus_start(m_bus) < 0)
            throw std::runtime_error("no connection to the bus (sd-bus)");
    }
    ~SdBus() { sd_bus_flush_close_unref(m_bus); }
    SdBus(const SdBus &) = delete;
    SdBus &operator=(const SdBus &) = delete;

    void readInterface() const
    {
        sd_bus_message *reply = nullptr;
        const char *text = nullptr;
        const bool done =
            sd_bus_call_method(m_bus, ServiceName, ManagerPath, ManagerInterface, "getInterfaceConfig",
                               nullptr, &reply, "s", InterfaceName) >= 0 &&
            sd_bus_message_read(reply, "s", &text) >= 0;
        sd_bus_message_unref(reply);
        if (!done)
            throw std::runtime_error("no reply of the platform service (sd-bus)");
    }

private:
    sd_bus *m_bus = nullptr;
};

class QtBus
{
public:
    explicit QtBus(const char *address)
        : m_bus(QDBusConnection::connectToBus(QString::fromLocal8Bit(address), QLatin1String("benchmark")))
    {
        if (!m_bus.isConnected())
            throw std::runtime_error("no connection to the bus (QtDBus)");
    }

    void readInterface() const
    {
        QDBusMessage call = QDBusMessage::createMethodCall(
            QLatin1String(ServiceName), QLatin1String(ManagerPath), QLatin1String(ManagerInterface),
            QLatin1String("getInterfaceConfig"));
        call << QString::fromLatin1(InterfaceName);
        if (m_bus.call(call).type() != QDBusMessage::ReplyMessage)
            throw std::runtime_error("no reply of the platform service (QtDBus)");
    }

private:
    const QDBusConnection m_bus;
};

template <class Action>
double microseconds(Action action)
{
    const auto start = std::chrono::steady_clock::now();
    action();
    return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count();
}

double percentile(std::vector<double> &times, double share)
{
    std::sort(times.begin(), times.end());
    return times[static_cast<std::size_t>(share * static_cast<double>(times.size() - 1))];
}

void measure(const char *panelAddress, const char *busAddress, std::size_t rounds)
{
    const Panel panel(panelAddress);
    const SdBus sdBus(busAddress);
    const QtBus qtBus(busAddress);
    const auto twoSdBusCalls = [&] {
        sdBus.readInterface();
        sdBus.readInterface();
    };
    const auto twoQtBusCalls = [&] {
        qtBus.readInterface();
        qtBus.readInterface();
    };
    std::vector<double> discovery, sdBusFloor, qtBusFloor;
    // What is found out only once stays out of the figures.
    const std::size_t warmUp = rounds / 10 + 1;
    for (std::size_t i = 0; i < warmUp + rounds; ++i) {
        const double times[] = {microseconds([&] { panel.discover(); }), microseconds(twoSdBusCalls),
                                microseconds(twoQtBusCalls)};
        if (i < warmUp)
            continue;
        discovery.push_back(times[0]);
        sdBusFloor.push_back(times[1]);
        qtBusFloor.push_back(times[2]);
    }

    const double median = percentile(discovery, 0.5);
    std::printf("%zu rounds                         p50 us    p95 us    discovery is\n", rounds);
    const auto print = [median](const char *name, std::vector<double> &times) {
        const double p50 = percentile(times, 0.5);
        std::printf("%-32s %8.1f  %8.1f    %.2f x\n", name, p50, percentile(times, 0.95), median / p50);
    };
    print("discovery, there and back", discovery);
    print("two bare D-Bus calls, sd-bus", sdBusFloor);
    print("two bare D-Bus calls, QtDBus", qtBusFloor);
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const long rounds = argc == 4 ? std::strtol(argv[3], nullptr, 10) : 0;
    if (rounds < 1 || rounds > 1000000) {
        std::fprintf(stderr, "Usage: discovery-benchmark PANEL-ADDRESS BUS-ADDRESS ROUNDS (1 to 1000000)\n");
        return 2;
    }
    try {
        measure(argv[1], argv[2], static_cast<std::size_t>(rounds));
    } catch (const std::exception &error) {
        std::fprintf(stderr, "discovery-benchmark: %s\n", error.what());
        return 1;
    }
    return 0;
}
