#ifndef KERNELNETWORK_H
#define KERNELNETWORK_H

#include <QtCore/QString>

// Sets the address of a real interface in this network namespace, and its default route through the gateway,
// with the `ip` program. An empty or all-zero address removes the address, an empty or all-zero gateway the
// default route. Routes that need no address, such as a multicast route, stay. Blocks until done. Returns an
// empty text, or the error message of `ip` or of the check of the values.
// done; returns an empty text, or what `ip` or the check of the values complained about.
QString setKernelInterface(const QString &name, const QString &address, const QString &netmask,
                           const QString &gateway);

#endif // KERNELNETWORK_H
