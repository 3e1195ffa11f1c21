#ifndef NETWORKMANAGERINTERFACE_H
#define NETWORKMANAGERINTERFACE_H

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QVariant>
#include <QtDBus/QDBusAbstractInterface>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusPendingReply>

// Proxy of com.zelt.HWSD.NetworkManager, with the interface of a generated one. It is written by hand because
// the generator sorts methods by name, and the service lists these in another order.
class ComZeltHWSDNetworkManagerInterface : public QDBusAbstractInterface
{
    Q_OBJECT
public:
    static inline const char *staticInterfaceName() { return "com.zelt.HWSD.NetworkManager"; }

    ComZeltHWSDNetworkManagerInterface(const QString &service, const QString &path,
                                       const QDBusConnection &connection, QObject *parent = nullptr);
    ~ComZeltHWSDNetworkManagerInterface();

public Q_SLOTS:
    inline QDBusPendingReply<QString> getConfigJSON()
    {
        return asyncCallWithArgumentList(QLatin1String("getConfigJSON"), QList<QVariant>());
    }

    inline QDBusPendingReply<QString> getInterfaceConfig(const QString &ifname)
    {
        return asyncCallWithArgumentList(QLatin1String("getInterfaceConfig"),
                                         QList<QVariant>() << QVariant::fromValue(ifname));
    }

    inline QDBusPendingReply<int> setInterfaceConfigJSON(const QString &interface, const QString &config)
    {
        return asyncCallWithArgumentList(QLatin1String("setInterfaceConfigJSON"),
                                         QList<QVariant>() << QVariant::fromValue(interface)
                                                           << QVariant::fromValue(config));
    }

    // The argument carries the whole configuration; its name is that of the service's description.
    inline QDBusPendingReply<int> setConfigJSON(const QString &interface)
    {
        return asyncCallWithArgumentList(QLatin1String("setConfigJSON"),
                                         QList<QVariant>() << QVariant::fromValue(interface));
    }

    inline QDBusPendingReply<int> applyNewConfiguration()
    {
        return asyncCallWithArgumentList(QLatin1String("applyNewConfiguration"), QList<QVariant>());
    }

    inline QDBusPendingReply<int> resetConfiguration()
    {
        return asyncCallWithArgumentList(QLatin1String("resetConfiguration"), QList<QVariant>());
    }

Q_SIGNALS:
    void error(const QString &in0);
};

#endif // NETWORKMANAGERINTERFACE_H
