// What each step of a datagram's road through the service takes, and how many blocks it asks the heap for on
// the server's thread.
//
// Usage: benchmark-road [option of Google Benchmark...]
// Runs in the network namespace of a panel with eth0 at 192.168.10.5/24, a default route, and a platform
// service on the system bus.

#include "countedmeasure.h"
#include "hwsdplatform.h"
#include "interfacequeries.h"
#include "jsondocuments.h"
#include "mvdpdatagram.h"
#include "networkinterfaceconfig.h"
#include "networkmanagerinterface.h"

#include <QtCore/QCoreApplication>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusPendingReply>

#include <arpa/inet.h>

#include <cstdio>
#include <stdexcept>

namespace
{

void chooseInterface(benchmark::State &state, const char *peer)
{
    const quint32 address = ::inet_addr(peer);
    measure(state, [address] {
        char name[256] = {};
        findInterfaceForPeer(address, name);
        if (name[0] == '\0')
            throw std::runtime_error("no interface fits");
    });
}

void testHeader(benchmark::State &state)
{
    MvdpDatagram datagram;
    datagram.setRequestHeader(MvdpCommand::Discover);
    measure(state, [&datagram] {
        benchmark::DoNotOptimize(datagram.data());
        benchmark::DoNotOptimize(datagram.isRequest());
    });
}

void writeIdentity(benchmark::State &state)
{
    MvdpDatagram datagram;
    MvdpIdentity identity;
    measure(state, [&datagram, &identity] {
        benchmark::DoNotOptimize(&identity);
        datagram.setIdentity(identity);
        benchmark::DoNotOptimize(datagram.data());
        benchmark::ClobberMemory();
    });
}

void parseRecord(benchmark::State &state)
{
    const QString text = QString::fromStdString(interfaceText());
    measure(state, [&text] {
        NetworkInterfaceConfig record;
        if (!record.fromJsonString(text))
            throw std::runtime_error("the record cannot be read");
        benchmark::DoNotOptimize(record);
    });
}

void writeRecord(benchmark::State &state)
{
    NetworkInterfaceConfig record;
    record.fromJsonString(QString::fromStdString(interfaceText()));
    measure(state, [&record] { benchmark::DoNotOptimize(record.toJsonString()); });
}

// Qt's share of a refresh: the call as the service makes it, with the answer's text.
void callPlatform(benchmark::State &state)
{
    ComZeltHWSDNetworkManagerInterface manager(
        QLatin1String("com.zelt.HWSD"), QLatin1String("/NetworkManager"),
        QDBusConnection::connectToBus(QDBusConnection::SystemBus, QLatin1String("benchmark")));
    const QString interface = QLatin1String("eth0");
    measure(state, [&] {
        QDBusPendingReply<QString> reply = manager.getInterfaceConfig(interface);
        reply.waitForFinished();
        if (reply.isError())
            throw std::runtime_error("no reply of the platform service");
        benchmark::DoNotOptimize(reply.argumentAt<0>());
    });
}

// What the service does about the platform for an echo, while the record stays the same.
void refresh(benchmark::State &state)
{
    HWSDPlatform *platform = HWSDPlatform::instance();
    measure(state, [platform] {
        platform->setInterface("eth0");
        if (!platform->refreshNetworkState() || platform->ipAddress() == 0)
            throw std::runtime_error("no state of the network");
    });
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    benchmark::RegisterBenchmark("interface, peer on its subnet", chooseInterface, "192.168.10.77");
    benchmark::RegisterBenchmark("interface, peer behind a router", chooseInterface, "203.0.113.7");
    benchmark::RegisterBenchmark("header test", testHeader);
    benchmark::RegisterBenchmark("identity into the reply", writeIdentity);
    benchmark::RegisterBenchmark("record parse", parseRecord);
    benchmark::RegisterBenchmark("record write", writeRecord);
    benchmark::RegisterBenchmark("platform call, QtDBus alone", callPlatform);
    benchmark::RegisterBenchmark("refresh: call, record as before", refresh);
    try {
        benchmark::RunSpecifiedBenchmarks();
    } catch (const std::exception &error) {
        std::fprintf(stderr, "benchmark-road: %s\n", error.what());
        return 1;
    }
    return 0;
}
