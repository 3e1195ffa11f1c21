#ifndef HWSDLINK_H
#define HWSDLINK_H

#include <QtCore/QString>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>

#include <memory>

class ComZeltHWSDI2CSEEPROMInterface;
class ComZeltHWSDInterface;
class ComZeltHWSDNetworkManagerInterface;
class ComZeltHWSDPartitionInfoInterface;
class ComZeltHWSDSystemInfoInterface;

// One connection of our own to a message bus, closed when this object goes. Qt's shared systemBus() and
// sessionBus() are not used because they remember a first failure for the life of the process: a bus that
// comes up later would never be found.
class BusConnection
{
public:
    explicit BusConnection(QDBusConnection::BusType type);
    ~BusConnection();

    bool isConnected() const { return m_connection.isConnected(); }
    const QDBusConnection &connection() const { return m_connection; }

    // Has the bus start the platform service if it knows how, then asks the service for a sign of life.
    // Blocks for up to twice 5 s. A reply of type ReplyMessage means that the service is there.
    QDBusMessage pingService() const;

private:
    BusConnection(const BusConnection &);
    BusConnection &operator=(const BusConnection &);

    const QString m_name;
    QDBusConnection m_connection;
};

// The way to the platform service: a bus and the five proxies made on it. Built once, then only read, by
// any thread; what one thread may still add, rootMadeIfMissing(), it keeps to itself.
struct HwsdLink {
    explicit HwsdLink(std::unique_ptr<BusConnection> connectedBus);
    ~HwsdLink();

    // Finds the bus on which the service answers and makes the proxies there. Null, with warnings, when no
    // bus can be had or the service answers on neither. Blocks for up to 40 s when a service hangs, and for
    // up to 10 s more for each bus that hangs.
    static std::unique_ptr<HwsdLink> open();

    // Qt sends each proxy an event when the service comes or goes. The thread that made the proxies may have
    // no event loop to take these events, which would then pile up; the GUI thread has one. To be called on
    // the thread that made the link, once it is known that the link stays; calls can be made from any thread,
    // before and after.
    void leaveEventsToGuiThread();

    // The root proxy, or, when the service had not come up in time, one that is made now, with the warnings
    // of up to three attempts, and kept. Null while the service is not up. For one thread alone, the one that
    // restarts the device: another may be reading this link meanwhile, and must not look at what is made
    // here.
    ComZeltHWSDInterface *rootMadeIfMissing();

    const std::unique_ptr<BusConnection> bus;
    // Null when the service did not come up in time; the other four exist always, though perhaps invalid:
    // calls on them end in D-Bus errors until the service is up.
    std::unique_ptr<ComZeltHWSDInterface> root;
    std::unique_ptr<ComZeltHWSDSystemInfoInterface> systemInfo;
    std::unique_ptr<ComZeltHWSDPartitionInfoInterface> mainOsInfo;
    std::unique_ptr<ComZeltHWSDNetworkManagerInterface> networkManager;
    std::unique_ptr<ComZeltHWSDI2CSEEPROMInterface> i2cSeeprom;

private:
    // Where the service does not answer on heldBus.
    static std::unique_ptr<HwsdLink> openOnSessionBus(std::unique_ptr<BusConnection> heldBus);
    void makeObjectProxies();

    // Only rootMadeIfMissing() uses it; root does not change once the link is published.
    std::unique_ptr<ComZeltHWSDInterface> m_lateRoot;
};

#endif // HWSDLINK_H
