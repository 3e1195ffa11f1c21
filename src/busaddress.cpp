#include "busaddress.h"

#include <QtCore/QList>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>

namespace
{

// The D-Bus standard's default; /var/run is its spelling.
const char CustomarySystemBus[] =
    "unix:path=/var/run/dbus/system_bus_socket;unix:path=/run/dbus/system_bus_socket";

bool takesConnection(const QByteArray &path, bool abstract)
{
    sockaddr_un address;
    std::memset(&address, 0, sizeof address);
    address.sun_family = AF_UNIX;
    const size_t length = static_cast<size_t>(path.size());
    if (length == 0 || length + 1 >= sizeof address.sun_path)
        return false;
    // An abstract name stands behind a zero byte and is not terminated.
    std::memcpy(address.sun_path + (abstract ? 1 : 0), path.constData(), length);
    const size_t size = offsetof(sockaddr_un, sun_path) + length + 1;

    const int probe = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (probe < 0)
        return false;
    // Non-blocking, so that a bus whose queue of connections is full counts as not listening. A blocking
    // connect() would wait for it without end.
    const bool taken =
        ::connect(probe, reinterpret_cast<const sockaddr *>(&address), static_cast<socklen_t>(size)) == 0;
    ::close(probe);
    return taken;
}

BusState stateOfOneAddress(const QByteArray &address)
{
    if (!address.startsWith("unix:"))
        return BusState::Unknown;
    const QList<QByteArray> settings = address.mid(5).split(',');
    for (int i = 0; i < settings.size(); ++i) {
        const QByteArray &setting = settings.at(i);
        const int equals = static_cast<int>(setting.indexOf('='));
        const QByteArray key = setting.left(equals);
        if (key == "path" || key == "abstract") {
            const QByteArray value = QByteArray::fromPercentEncoding(setting.mid(equals + 1));
            return takesConnection(value, key == "abstract") ? BusState::Listening : BusState::NotListening;
        }
    }
    return BusState::Unknown;
}

} // namespace

BusState busStateOfAddress(const QByteArray &addresses)
{
    BusState result = BusState::NotListening;
    const QList<QByteArray> list = addresses.split(';');
    for (int i = 0; i < list.size(); ++i) {
        const BusState state = list.at(i).isEmpty() ? BusState::NotListening : stateOfOneAddress(list.at(i));
        if (state == BusState::Listening)
            return state;
        if (state == BusState::Unknown)
            result = state;
    }
    return result;
}

BusState busState(QDBusConnection::BusType type)
{
    const bool system = type == QDBusConnection::SystemBus;
    const QByteArray named = qgetenv(system ? "DBUS_SYSTEM_BUS_ADDRESS" : "DBUS_SESSION_BUS_ADDRESS");
    if (!named.isEmpty())
        return busStateOfAddress(named);
    const QByteArray customary =
        system ? QByteArray(CustomarySystemBus) : "unix:path=" + qgetenv("XDG_RUNTIME_DIR") + "/bus";
    return busStateOfAddress(customary) == BusState::Listening ? BusState::Listening : BusState::NotNamed;
}
