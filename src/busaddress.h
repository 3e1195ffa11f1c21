#ifndef BUSADDRESS_H
#define BUSADDRESS_H

#include <QtCore/QByteArray>
#include <QtDBus/QDBusConnection>

// Whether a message bus answers at its address. This is found out before Qt is asked to connect. Qt 4 never
// frees a connection that it failed to make: without a bus the process would grow with each datagram. And the
// bus library waits without end for a bus that accepts connections and then says nothing.
enum class BusState {
    Answering,    // a socket accepted a connection, and something came from there
    Silent,       // a socket accepted a connection, and nothing came from there in 5 s, or it was closed
    NotListening, // the addresses are all local sockets, and none accepts a connection
    Unknown,      // another transport; only Qt can try it
    NotNamed,     // no address is given, and nothing listens at the customary socket
};

// By the addresses that the environment names (DBUS_SYSTEM_BUS_ADDRESS, DBUS_SESSION_BUS_ADDRESS), else by
// the customary sockets. Blocks for up to 5 s where a bus is silent; any thread.
BusState busState(QDBusConnection::BusType type);

// The same for one address list in the D-Bus form, "unix:path=/run/bus;unix:abstract=x". The first address
// that accepts a connection decides, because the bus library takes that one.
BusState busStateOfAddress(const QByteArray &addresses);

#endif // BUSADDRESS_H
