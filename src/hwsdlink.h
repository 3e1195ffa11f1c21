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

// A connection to a message bus, closed by the destructor. Qt's shared systemBus() and sessionBus() are not
// used because they remember a first failure for the life of the process: a bus that starts later would never
// be found.
class BusConnection
{
public:
    explicit BusConnection(QDBusConnection::BusType type);
    ~BusConnection();

    bool isConnected() const { return m_connection.isConnected(); }
    const QDBusConnection &connection() const { return m_connection; }

    // Has the bus start the platform service if it can, then pings the service. Blocks for up to twice 5 s. A
    // reply of type ReplyMessage means that the service is there.
    QDBusMessage pingService() const;

private:
    BusConnection(const BusConnection &);
    BusConnection &operator=(const BusConnection &);

    const QString m_name;
    QDBusConnection m_connection;
};

// The connection to the platform service: a bus and five proxies. Built once, then only read, by any thread.
// The one exception is rootMadeIfMissing(), whose result belongs to the one thread that calls it.
struct HwsdLink {
    explicit HwsdLink(std::unique_ptr<BusConnection> connectedBus);
    ~HwsdLink();

    // Finds the bus on which the service answers and makes the proxies there. Null, with warnings, when there
    // is no bus or the service answers on neither. Blocks for up to 40 s when a service hangs. For each bus
    // that hangs it blocks for up to 5 s more, or 30 s where the bus falls silent after the authentication. A
    // bus that hangs just between busState() and the authentication blocks it until the bus goes on or ends.
    static std::unique_ptr<HwsdLink> open();

    // Moves the proxies to the GUI thread. Qt sends each proxy an event when the service appears or
    // disappears. The thread that made the proxies may have no event loop, and the events would then use ever
    // more memory. To be called on the thread that made the link, when it is certain that the link stays. Any
    // thread can call the proxies' methods before and after.
    void leaveEventsToGuiThread();

    // The root proxy. When the service was not up as the link was made, it is made now and kept, with the
    // warnings of up to three attempts; null while the service is still not up. For the server thread alone,
    // because the proxy that is made here is not published to other threads.
    ComZeltHWSDInterface *rootMadeIfMissing();

    const std::unique_ptr<BusConnection> bus;
    // Null when the service was not up in time. The other four always exist, but may be invalid: calls on
    // them end in D-Bus errors until the service is up.
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
