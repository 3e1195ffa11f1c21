#include "busname.h"

#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <QDBusError>
#include <QDBusVirtualObject>

#include <cstdio>

namespace
{

constexpr char ServiceName[] = "com.zelt.HWSD";

} // namespace

QString Bus::text() const
{
    switch (kind) {
    case System:
        return QLatin1String("the system bus");
    case Session:
        return QLatin1String("the session bus");
    default:
        return address;
    }
}

QDBusConnection Bus::connect(const QString &connectionName) const
{
    switch (kind) {
    case System:
        return QDBusConnection::connectToBus(QDBusConnection::SystemBus, connectionName);
    case Session:
        return QDBusConnection::connectToBus(QDBusConnection::SessionBus, connectionName);
    default:
        return QDBusConnection::connectToBus(address, connectionName);
    }
}

BusName::BusName(const Bus &bus, QDBusVirtualObject *object)
    : m_bus(bus)
    , m_object(object)
{
    m_return.setSingleShot(true);
    connect(&m_return, &QTimer::timeout, this, &BusName::comeBack);
}

BusName::~BusName()
{
    disappear(0);
}

bool BusName::appear(QString *error)
{
    m_return.stop();
    if (isPresent())
        return true;
    // A new name each time: the library may still be busy with closing the last connection.
    const QString name = QString(QLatin1String("service-%1")).arg(++m_connections);
    {
        QDBusConnection connection = m_bus.connect(name);
        if (!connection.isConnected()) {
            *error = connection.lastError().message();
        } else if (!connection.registerVirtualObject(QLatin1String("/"), m_object,
                                                     QDBusConnection::SubPath) ||
                   !connection.registerService(QLatin1String(ServiceName))) {
            *error = connection.lastError().message();
            if (error->isEmpty())
                *error = QString(QLatin1String("the name %1 is taken")).arg(QLatin1String(ServiceName));
        } else {
            m_connectionName = name;
            return true;
        }
    }
    QDBusConnection::disconnectFromBus(name);
    return false;
}

void BusName::disappear(int awayMs)
{
    m_return.stop();
    if (isPresent()) {
        QDBusConnection connection(m_connectionName);
        // Waits for the bus, so the name is free, and all replies before this one are out, when it returns.
        connection.unregisterService(QLatin1String(ServiceName));
        connection.unregisterObject(QLatin1String("/"));
        QDBusConnection::disconnectFromBus(m_connectionName);
        m_connectionName.clear();
    }
    if (awayMs > 0)
        m_return.start(awayMs);
}

void BusName::endWithoutBus()
{
    std::fprintf(stderr, "hwsd-sim: lost %s\n", qPrintable(m_bus.text()));
    QCoreApplication::exit(1);
}

void BusName::comeBack()
{
    QString error;
    if (!appear(&error))
        std::fprintf(stderr, "hwsd-sim: cannot come back to the bus: %s\n", qPrintable(error));
}
