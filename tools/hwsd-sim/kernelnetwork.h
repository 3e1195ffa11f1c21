#ifndef KERNELNETWORK_H
#define KERNELNETWORK_H

#include <QtCore/QString>

// Gives the real interface of this network namespace the address and makes the gateway its default route,
// through the `ip` program. An empty or all-zero address leaves it without one, an empty or all-zero gateway
// without a default route. Routes that need no address (a multicast route, say) survive. Blocks until
// done; returns an empty text, or what `ip` or the check of the values complained about.
QString setKernelInterface(const QString &name, const QString &address, const QString &netmask,
                           const QString &gateway);

#endif // KERNELNETWORK_H
