#ifndef BUSADDRESS_H
#define BUSADDRESS_H

#include <QtCore/QByteArray>
#include <QtDBus/QDBusConnection>

// Whether something listens at a message bus's address. This is found out before Qt is asked to connect,
// because Qt 4 never frees a connection that it failed to make: without a bus the process would grow with
// each datagram.
enum class BusState {
    Listening,    // a socket accepted a connection
    NotListening, // the addresses are all local sockets, and none accepts a connection
    Unknown,      // another transport; only Qt can try it
    NotNamed,     // no address is given, and nothing listens at the customary socket
};

// By the addresses that the environment names (DBUS_SYSTEM_BUS_ADDRESS, DBUS_SESSION_BUS_ADDRESS), else by
// the customary sockets. Does not block; any thread.
BusState busState(QDBusConnection::BusType type);

// The same for one address list in the D-Bus form, "unix:path=/run/bus;unix:abstract=x".
BusState busStateOfAddress(const QByteArray &addresses);

#endif // BUSADDRESS_H
