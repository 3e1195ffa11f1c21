#ifndef FAKEBUS_H
#define FAKEBUS_H

#include <QtCore/QByteArray>
#include <QtCore/QProcess>
#include <QtCore/QStringList>

// A faulty bus: it accepts connections and answers for every service, but reports no owner of any name. It
// runs in its own process, because QtDBus serves all connections of a process with one thread. The process
// runs the test's own program, whose main() must begin with runIfAskedFor().
class FakeBus
{
public:
    // Listens at address, a "unix:path=", until it is destroyed.
    explicit FakeBus(const QByteArray &address);
    ~FakeBus();
    FakeBus(const FakeBus &) = delete;
    FakeBus &operator=(const FakeBus &) = delete;

    bool isListening() const { return m_listening; }

    // Runs the bus and does not return when the program's arguments are those of that process.
    static void runIfAskedFor(int argc, char **argv);

private:
    QProcess m_process;
    bool m_listening;
};

// Records, with the program dbus-monitor, the method calls to com.zelt.HWSD on a real bus, including those
// that a service's D-Bus library answers by itself.
class BusMonitor
{
public:
    explicit BusMonitor(const QByteArray &address);
    ~BusMonitor();
    BusMonitor(const BusMonitor &) = delete;
    BusMonitor &operator=(const BusMonitor &) = delete;

    bool start();
    // The calls so far, oldest first, each as "path interface.method".
    QStringList stop();

private:
    const QByteArray m_address;
    QProcess m_monitor;
};

#endif // FAKEBUS_H
