#include "networkmanagerinterface.h"

ComZeltHWSDNetworkManagerInterface::ComZeltHWSDNetworkManagerInterface(const QString &service,
                                                                       const QString &path,
                                                                       const QDBusConnection &connection,
                                                                       QObject *parent)
    : QDBusAbstractInterface(service, path, staticInterfaceName(), connection, parent)
{
}

ComZeltHWSDNetworkManagerInterface::~ComZeltHWSDNetworkManagerInterface() {}
