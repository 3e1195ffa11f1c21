#include "hwsdlink.h"

#include "busaddress.h"
#include "hwsdinterface.h"
#include "i2cseeprominterface.h"
#include "networkmanagerinterface.h"
#include "partitioninfointerface.h"
#include "systeminfointerface.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDebug>
#include <QtDBus/QDBusError>

#include <atomic>
#include <utility>

namespace
{

const char ServiceName[] = "com.zelt.HWSD";
const char RootPath[] = "/";
const int ProbeTimeoutMs = 5000;
const int ProbeAttempts = 3;
const int RootProxyAttempts = 3;

const char ErrorReachingService[] = "Error reaching dbus service: ";

// Unique, because Qt returns the existing connection for a name that it knows.
QString uniqueConnectionName()
{
    static std::atomic<unsigned> counter(0);
    return QLatin1String("mvdp-hwsd-") + QString::number(counter++);
}

// A bus without an address may be launched on demand. After the first failure that is not tried again,
// because each attempt may start programs, and one would be made with every datagram. The two buses are
// launched in different ways, so each has a flag.
std::atomic<bool> systemLaunchFailed(false);
std::atomic<bool> sessionLaunchFailed(false);

// One call of the bus itself. Its result does not matter; false when no answer came.
bool exchangeWithBus(const QDBusConnection &connection)
{
    const QString bus = QLatin1String("org.freedesktop.DBus");
    const QDBusMessage question = QDBusMessage::createMethodCall(bus, QLatin1String("/org/freedesktop/DBus"),
                                                                 bus, QLatin1String("GetId"));
    const QDBusMessage::MessageType type = connection.call(question, QDBus::Block, ProbeTimeoutMs).type();
    return type == QDBusMessage::ReplyMessage;
}

// Qt 5 and 6 note a connection's own name when the bus announces it, on a thread of Qt's and without a lock.
// They look up the name of every called service in the same list, so that a call that comes too early can end
// the process. Calls of the bus itself are not looked up. The first reply comes after the announcement, the
// second after Qt has noted the name.
void waitForOwnName(const QDBusConnection &connection)
{
    if (exchangeWithBus(connection))
        exchangeWithBus(connection);
}

QDBusConnection openBus(QDBusConnection::BusType type, const QString &name)
{
    std::atomic<bool> &launchFailed =
        type == QDBusConnection::SystemBus ? systemLaunchFailed : sessionLaunchFailed;
    const BusState state = busState(type);
    if (state == BusState::NotListening || state == BusState::Silent ||
        (state == BusState::NotNamed && launchFailed))
        return QDBusConnection(QString());
    QDBusConnection connection = QDBusConnection::connectToBus(type, name);
    if (connection.isConnected())
        waitForOwnName(connection);
    else if (state == BusState::NotNamed)
        launchFailed = true;
    return connection;
}

bool isAnswer(const QDBusMessage &reply)
{
    return reply.type() == QDBusMessage::ReplyMessage;
}

QDBusMessage pingWithRetries(const BusConnection &bus)
{
    QDBusMessage reply;
    for (int attempt = 1; attempt <= ProbeAttempts; ++attempt) {
        reply = bus.pingService();
        if (isAnswer(reply))
            break;
        qWarning() << ErrorReachingService << reply.errorMessage() << " -> retry #" << attempt;
    }
    return reply;
}

template <class Proxy>
std::unique_ptr<Proxy> makeProxy(const BusConnection &bus, const char *path)
{
    return std::unique_ptr<Proxy>(
        new Proxy(QLatin1String(ServiceName), QLatin1String(path), bus.connection(), nullptr));
}

// Null, with a warning for each of its attempts, when the service does not come up meanwhile.
std::unique_ptr<ComZeltHWSDInterface> makeValidRootProxy(const BusConnection &bus)
{
    for (int attempt = 0; attempt < RootProxyAttempts; ++attempt) {
        std::unique_ptr<ComZeltHWSDInterface> proxy = makeProxy<ComZeltHWSDInterface>(bus, RootPath);
        if (proxy->isValid())
            return proxy;
        qWarning() << "Waiting for all HWSD services up and running...";
    }
    return nullptr;
}

// One of the four object proxies; an invalid one is reported and kept.
template <class Proxy>
std::unique_ptr<Proxy> makeObjectProxy(const BusConnection &bus, const char *path, const char *warning)
{
    std::unique_ptr<Proxy> proxy = makeProxy<Proxy>(bus, path);
    if (!proxy->isValid())
        qWarning() << warning << bus.connection().lastError();
    return proxy;
}

} // namespace

BusConnection::BusConnection(QDBusConnection::BusType type)
    : m_name(uniqueConnectionName())
    , m_connection(openBus(type, m_name))
{
}

BusConnection::~BusConnection()
{
    QDBusConnection::disconnectFromBus(m_name);
}

QDBusMessage BusConnection::pingService() const
{
    const QString service = QLatin1String(ServiceName);
    const QString path = QLatin1String(RootPath);
    // No service has this method. A call of any name makes the bus start the service.
    m_connection.call(QDBusMessage::createMethodCall(service, path, QString(), QLatin1String("q_autostart")),
                      QDBus::Block, ProbeTimeoutMs);
    return m_connection.call(QDBusMessage::createMethodCall(service, path,
                                                            QLatin1String("org.freedesktop.DBus.Peer"),
                                                            QLatin1String("Ping")),
                             QDBus::Block, ProbeTimeoutMs);
}

HwsdLink::HwsdLink(std::unique_ptr<BusConnection> connectedBus)
    : bus(std::move(connectedBus))
{
}

HwsdLink::~HwsdLink() {}

std::unique_ptr<HwsdLink> HwsdLink::open()
{
    std::unique_ptr<BusConnection> bus(new BusConnection(QDBusConnection::SystemBus));
    if (!bus->isConnected()) {
        qWarning() << "Failed connecting to DBUS system bus -> try HWSD on session bus";
        bus.reset(new BusConnection(QDBusConnection::SessionBus));
    }
    if (!bus->isConnected()) {
        qWarning() << "Failed connecting to DBUS session bus -> trying loading HWSD plugin";
        return nullptr;
    }

    const QDBusMessage reply = pingWithRetries(*bus);
    std::unique_ptr<HwsdLink> link;
    if (isAnswer(reply)) {
        link.reset(new HwsdLink(std::move(bus)));
        link->root = makeValidRootProxy(*link->bus);
    } else {
        qWarning() << ErrorReachingService << reply.errorMessage()
                   << " -> try falling back to HWSD session bus";
        link = openOnSessionBus(std::move(bus));
    }
    if (link)
        link->makeObjectProxies();
    return link;
}

std::unique_ptr<HwsdLink> HwsdLink::openOnSessionBus(std::unique_ptr<BusConnection> heldBus)
{
    std::unique_ptr<BusConnection> session(new BusConnection(QDBusConnection::SessionBus));
    // Without a session bus the held one is kept: the service may still appear there.
    if (!session->isConnected())
        return std::unique_ptr<HwsdLink>(new HwsdLink(std::move(heldBus)));

    const QDBusMessage reply = session->pingService();
    if (!isAnswer(reply)) {
        qWarning() << "No HWSD service running !?" << reply.errorMessage();
        return nullptr;
    }
    std::unique_ptr<HwsdLink> link(new HwsdLink(std::move(session)));
    link->root = makeValidRootProxy(*link->bus);
    qWarning() << "HWSD running in session bus! " << reply.errorMessage();
    return link;
}

void HwsdLink::leaveEventsToGuiThread()
{
    QThread *guiThread = QCoreApplication::instance()->thread();
    if (root)
        root->moveToThread(guiThread);
    systemInfo->moveToThread(guiThread);
    mainOsInfo->moveToThread(guiThread);
    networkManager->moveToThread(guiThread);
    i2cSeeprom->moveToThread(guiThread);
}

ComZeltHWSDInterface *HwsdLink::rootMadeIfMissing()
{
    if (root)
        return root.get();
    if (!m_lateRoot) {
        m_lateRoot = makeValidRootProxy(*bus);
        if (m_lateRoot)
            m_lateRoot->moveToThread(QCoreApplication::instance()->thread());
    }
    return m_lateRoot.get();
}

void HwsdLink::makeObjectProxies()
{
    // "SysteInfo" and "m_networkManager" are part of the texts, which are kept as they are.
    systemInfo = makeObjectProxy<ComZeltHWSDSystemInfoInterface>(*bus, "/SystemInfo",
                                                                 "Cannot get /SysteInfo object : ");
    mainOsInfo = makeObjectProxy<ComZeltHWSDPartitionInfoInterface>(*bus, "/MainOSInfo",
                                                                    "Cannot get /MainOSInfo object : ");
    networkManager = makeObjectProxy<ComZeltHWSDNetworkManagerInterface>(
        *bus, "/NetworkManager", "Cannot get /m_networkManager object : ");
    i2cSeeprom = makeObjectProxy<ComZeltHWSDI2CSEEPROMInterface>(*bus, "/I2CSEEPROM",
                                                                 "Cannot get /I2CSEEPROM object : ");
}
