#ifndef BUSADDRESS_H
#define BUSADDRESS_H

#include <QtCore/QByteArray>
#include <QtDBus/QDBusConnection>

// Whether something listens at a message bus's address. Asked before Qt is, because Qt 4 keeps every
// connection that it failed to make: a panel whose bus is down would grow with each datagram.
enum class BusState {
    Listening,    // a socket took the connection
    NotListening, // the addresses are all local sockets, and none takes a connection
    Unknown,      // only trying will tell: another transport
    NotNamed,     // no address is given, and the customary socket does not answer
};

// By the addresses that the environment names (DBUS_SYSTEM_BUS_ADDRESS, DBUS_SESSION_BUS_ADDRESS), else by
// the customary sockets. Does not block; any thread.
BusState busState(QDBusConnection::BusType type);

// The same for one address list in the D-Bus form, "unix:path=/run/bus;unix:abstract=x".
BusState busStateOfAddress(const QByteArray &addresses);

#endif // BUSADDRESS_H
