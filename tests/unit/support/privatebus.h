#ifndef PRIVATEBUS_H
#define PRIVATEBUS_H

#include <QtCore/QByteArray>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>

// A message bus of the test's own, a dbus-daemon that ends with this object. It can be stopped and started
// again at the same address.
class PrivateBus
{
public:
    PrivateBus();
    ~PrivateBus();

    bool start(); // true once it listens
    void stop();

    // "unix:path=..." in a folder of its own; known from the beginning.
    QByteArray address() const;

private:
    QTemporaryDir m_folder;
    QProcess m_daemon;
};

#endif // PRIVATEBUS_H
