#ifndef FAKEBUS_H
#define FAKEBUS_H

#include <QtCore/QByteArray>
#include <QtCore/QProcess>
#include <QtCore/QStringList>

// A bus in which something is wrong: it takes connections and answers for every service, but nobody owns a
// name there. A process of its own, because QtDBus serves all connections of a process with one thread. The
// process is the test's own program again: its main() begins with runIfAskedFor().
class FakeBus
{
public:
    // Listens at address, a "unix:path=", until the object goes.
    explicit FakeBus(const QByteArray &address);
    ~FakeBus();
    FakeBus(const FakeBus &) = delete;
    FakeBus &operator=(const FakeBus &) = delete;

    bool isListening() const { return m_listening; }

    // Returns only when the program's arguments are not those of that process.
    static void runIfAskedFor(int argc, char **argv);

private:
    QProcess m_process;
    bool m_listening;
};

// Writes down the method calls to com.zelt.HWSD on a real bus, also those that a service's D-Bus library
// answers by itself, with the program dbus-monitor.
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
