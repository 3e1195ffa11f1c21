#include "busaddress.h"

#include <QtCore/QList>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstring>

namespace
{

// The D-Bus standard's default; /var/run is its spelling.
const char CustomarySystemBus[] =
    "unix:path=/var/run/dbus/system_bus_socket;unix:path=/run/dbus/system_bus_socket";

const int AnswerTimeoutMs = 5000;

// How the bus at the other end of a fresh connection takes a question. It is asked which ways of
// authentication it knows, the first thing that D-Bus lets a client ask; a zero byte goes before.
BusState stateOfConnection(int connection)
{
    const char question[] = "\0AUTH\r\n";
    const size_t length = sizeof question - 1;
    if (::send(connection, question, length, MSG_NOSIGNAL) != static_cast<ssize_t>(length))
        return BusState::Silent;
    pollfd watched = {connection, POLLIN, 0};
    int ready = 0;
    do
        ready = ::poll(&watched, 1, AnswerTimeoutMs);
    while (ready < 0 && errno == EINTR);
    char answer[512]; // a line of words; what it says does not matter
    return ready == 1 && ::recv(connection, answer, sizeof answer, 0) > 0 ? BusState::Answering
                                                                          : BusState::Silent;
}

BusState stateOfSocket(const QByteArray &path, bool abstract)
{
    sockaddr_un address;
    std::memset(&address, 0, sizeof address);
    address.sun_family = AF_UNIX;
    const size_t length = static_cast<size_t>(path.size());
    if (length == 0 || length + 1 >= sizeof address.sun_path)
        return BusState::NotListening;
    // An abstract name stands behind a zero byte and is not terminated.
    std::memcpy(address.sun_path + (abstract ? 1 : 0), path.constData(), length);
    const size_t size = offsetof(sockaddr_un, sun_path) + length + 1;

    const int probe = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (probe < 0)
        return BusState::NotListening;
    // Non-blocking, so that a bus whose queue of connections is full counts as not listening. A blocking
    // connect() would wait for it without end.
    BusState state = BusState::NotListening;
    if (::connect(probe, reinterpret_cast<const sockaddr *>(&address), static_cast<socklen_t>(size)) == 0)
        state = stateOfConnection(probe);
    ::close(probe);
    return state;
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
            return stateOfSocket(value, key == "abstract");
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
        if (state == BusState::Answering || state == BusState::Silent)
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
    const BusState state = busStateOfAddress(customary);
    return state == BusState::Answering || state == BusState::Silent ? state : BusState::NotNamed;
}
