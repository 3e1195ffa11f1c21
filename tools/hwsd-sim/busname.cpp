#include "busname.h"

#include <QtCore/QCoreApplication>
#include <QtDBus/QDBusConnectionInterface>
#include <QtDBus/QDBusError>
#include <QtDBus/QDBusVirtualObject>

#include <cstdio>

namespace
{

const char ServiceName[] = "com.zelt.HWSD";

} // namespace

QString Bus::text() const
{
    switch (kind) {
    case Kind::System:
        return QLatin1String("the system bus");
    case Kind::Session:
        return QLatin1String("the session bus");
    default:
        return address;
    }
}

QDBusConnection Bus::connect(const QString &connectionName) const
{
    switch (kind) {
    case Kind::System:
        return QDBusConnection::connectToBus(QDBusConnection::SystemBus, connectionName);
    case Kind::Session:
        return QDBusConnection::connectToBus(QDBusConnection::SessionBus, connectionName);
    default:
        return QDBusConnection::connectToBus(address, connectionName);
    }
}

BusName::BusName(const Bus &bus, QDBusVirtualObject &object)
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

QString BusName::appear()
{
    m_return.stop();
    if (isPresent())
        return QString();
    // A new name each time, because the library may still be closing the last connection.
    const QString name = QString(QLatin1String("service-%1")).arg(++m_connections);
    QString problem;
    {
        QDBusConnection connection = m_bus.connect(name);
        if (connection.isConnected() &&
            connection.registerVirtualObject(QLatin1String("/"), &m_object, QDBusConnection::SubPath) &&
            connection.registerService(QLatin1String(ServiceName))) {
            m_connectionName = name;
            return QString();
        }
        problem = connection.lastError().message();
        if (problem.isEmpty() && connection.isConnected())
            problem = QString(QLatin1String("the name %1 is taken")).arg(QLatin1String(ServiceName));
        else if (problem.isEmpty())
            problem = QLatin1String("there is no connection");
    }
    QDBusConnection::disconnectFromBus(name);
    return problem;
}

void BusName::disappear(int awayMs)
{
    m_return.stop();
    if (isPresent()) {
        QDBusConnection connection(m_connectionName);
        // Waits for the bus. After it the name is free and all earlier replies have been sent.
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
    const QString problem = appear();
    if (!problem.isEmpty())
        std::fprintf(stderr, "hwsd-sim: cannot come back to the bus: %s\n", qPrintable(problem));
}
