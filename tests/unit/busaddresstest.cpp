#include "busaddress.h"

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>
#include <map>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

namespace
{

// A local socket that is bound to a name. An abstract name has no zero byte behind it, as the bus library
// binds it.
class LocalSocket
{
public:
    enum Kind { Path, Abstract };
    enum Manner {
        Deaf,      // does not listen
        Silent,    // listens, with room for two connections, and accepts none
        Answering, // accepts connections and answers the first thing that comes
        Closing,   // accepts connections and closes them
    };
    LocalSocket(const QByteArray &name, Kind kind, Manner manner)
        : m_descriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
        , m_size(static_cast<socklen_t>(offsetof(sockaddr_un, sun_path)) +
                 static_cast<socklen_t>(name.size()) + 1)
    {
        std::memset(&m_address, 0, sizeof m_address);
        m_address.sun_family = AF_UNIX;
        std::memcpy(m_address.sun_path + (kind == Abstract ? 1 : 0), name.constData(),
                    static_cast<size_t>(name.size()));
        m_ready = ::bind(m_descriptor, reinterpret_cast<sockaddr *>(&m_address), m_size) == 0 &&
                  (manner == Deaf || ::listen(m_descriptor, 1) == 0);
        if (manner == Answering || manner == Closing)
            m_thread = std::thread([this, manner]() { serve(manner == Answering); });
    }
    ~LocalSocket()
    {
        // Wakes the thread.
        ::shutdown(m_descriptor, SHUT_RDWR);
        if (m_thread.joinable())
            m_thread.join();
        ::close(m_descriptor);
        for (const int client : m_clients)
            ::close(client);
    }
    LocalSocket(const LocalSocket &) = delete;
    LocalSocket &operator=(const LocalSocket &) = delete;
    bool isReady() const { return m_ready; }

    // Connects to it until there is no room for one more; false when there always is.
    bool fillQueue()
    {
        while (m_clients.size() < 100) {
            m_clients.push_back(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
            if (::connect(m_clients.back(), reinterpret_cast<sockaddr *>(&m_address), m_size) != 0)
                return true;
        }
        return false;
    }

private:
    void serve(bool answering) const
    {
        const char answer[] = "REJECTED EXTERNAL\r\n";
        for (;;) {
            const int connection = ::accept4(m_descriptor, nullptr, nullptr, SOCK_CLOEXEC);
            if (connection < 0)
                return;
            char question[100];
            if (answering && ::recv(connection, question, sizeof question, 0) > 0)
                ::send(connection, answer, sizeof answer - 1, MSG_NOSIGNAL);
            ::close(connection);
        }
    }

    const int m_descriptor;
    sockaddr_un m_address;
    const socklen_t m_size;
    bool m_ready;
    std::vector<int> m_clients;
    std::thread m_thread;
};

class Variable
{
public:
    Variable(const char *name, const QByteArray &value)
        : m_name(name)
        , m_wasSet(qEnvironmentVariableIsSet(name))
        , m_before(qgetenv(name))
    {
        if (value.isNull())
            qunsetenv(name);
        else
            qputenv(name, value);
    }
    ~Variable()
    {
        if (m_wasSet)
            qputenv(m_name, m_before);
        else
            qunsetenv(m_name);
    }
    Variable(const Variable &) = delete;
    Variable &operator=(const Variable &) = delete;

private:
    const char *const m_name;
    const bool m_wasSet;
    const QByteArray m_before;
};

} // namespace

Q_DECLARE_METATYPE(BusState)

class BusAddressTest : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void cleanup();

    void addressIsTriedOrLeftToTrying_data();
    void addressIsTriedOrLeftToTrying();
    void abstractNameThatAnswersIsFound();
    void fullQueueOfConnectionsIsNoListener();
    void nameTooLongForASocketIsNotListening();
    void descriptorsAreClosed();

    void namedBusIsTheOneTried();
    void unnamedSessionBusIsLookedForInTheRuntimeFolder();
    void unnamedSessionBusWithoutASocketIsNotNamed();

private:
    QByteArray path(const char *name) const
    {
        return QFile::encodeName(m_folder->filePath(QLatin1String(name)));
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::map<const char *, std::unique_ptr<LocalSocket>> m_sockets;
};

// In each test "bus" and "a b,c;d" answer, "silent", "closing" and "deaf" do what they are called, and
// "absent" does not exist.
void BusAddressTest::init()
{
    m_folder.reset(new QTemporaryDir);
    const std::pair<const char *, LocalSocket::Manner> sockets[] = {{"bus", LocalSocket::Answering},
                                                                    {"silent", LocalSocket::Silent},
                                                                    {"closing", LocalSocket::Closing},
                                                                    {"deaf", LocalSocket::Deaf}};
    for (const auto &[name, manner] : sockets) {
        m_sockets[name] = std::make_unique<LocalSocket>(path(name), LocalSocket::Path, manner);
        QVERIFY(m_sockets[name]->isReady());
    }
    QVERIFY(QFile::link(m_folder->filePath(QStringLiteral("bus")),
                        m_folder->filePath(QStringLiteral("a b,c;d"))));
    QFile file(m_folder->filePath(QStringLiteral("file")));
    QVERIFY(file.open(QIODevice::WriteOnly));
}

void BusAddressTest::cleanup()
{
    m_sockets.clear();
    m_folder.reset();
}

void BusAddressTest::addressIsTriedOrLeftToTrying_data()
{
    QTest::addColumn<QByteArray>("address"); // $ stands for the folder
    QTest::addColumn<BusState>("state");
    const auto row = [](const char *address, BusState state) {
        QTest::newRow(*address ? address : "empty") << QByteArray(address) << state;
    };
    row("unix:path=$/bus", BusState::Answering);
    row("unix:path=$/deaf", BusState::NotListening);
    row("unix:path=$/absent", BusState::NotListening);
    row("unix:path=$/file", BusState::NotListening);
    row("unix:path=$", BusState::NotListening);
    row("unix:path=", BusState::NotListening);
    row("", BusState::NotListening);
    // Further settings stand before or after the path.
    row("unix:path=$/bus,guid=0123456789abcdef0123456789abcdef", BusState::Answering);
    row("unix:guid=0123456789abcdef0123456789abcdef,path=$/bus", BusState::Answering);
    row("unix:guid=0123456789abcdef0123456789abcdef,path=$/deaf", BusState::NotListening);
    // Characters that would end a name are percent-encoded.
    row("unix:path=$/a%20b%2cc%3Bd", BusState::Answering);
    row("unix:path=$/b%75s", BusState::Answering);
    row("unix:path=$/b%75t", BusState::NotListening);
    // One of several is enough.
    row("unix:path=$/absent;unix:path=$/bus", BusState::Answering);
    row("unix:path=$/bus;unix:path=$/absent", BusState::Answering);
    row("unix:path=$/absent;unix:path=$/deaf", BusState::NotListening);
    row("unix:path=$/absent;", BusState::NotListening);
    row("unix:path=$/bus;", BusState::Answering);
    row(";unix:path=$/bus", BusState::Answering);
    // The bus library takes the first that accepts a connection.
    row("unix:path=$/absent;unix:path=$/silent;unix:path=$/bus", BusState::Silent);
    row("unix:path=$/absent;unix:path=$/closing;unix:path=$/bus", BusState::Silent);
    // The state behind other transports is unknown.
    row("tcp:host=127.0.0.1,port=1", BusState::Unknown);
    row("autolaunch:", BusState::Unknown);
    row("unixexec:path=$/bus", BusState::Unknown);
    row("unix:tmpdir=/tmp", BusState::Unknown);
    row("unix:runtime=yes", BusState::Unknown);
    row("nonsense", BusState::Unknown);
    row("tcp:host=127.0.0.1,port=1;unix:path=$/absent", BusState::Unknown);
    row("unix:path=$/absent;tcp:host=127.0.0.1,port=1", BusState::Unknown);
    row("tcp:host=127.0.0.1,port=1;unix:path=$/bus", BusState::Answering);
}

void BusAddressTest::addressIsTriedOrLeftToTrying()
{
    QFETCH(QByteArray, address);
    address.replace("$", QFile::encodeName(m_folder->path()));
    QTEST(busStateOfAddress(address), "state");
}

void BusAddressTest::abstractNameThatAnswersIsFound()
{
    const QByteArray name = "mvdp-test-" + QByteArray::number(QCoreApplication::applicationPid());
    QCOMPARE(busStateOfAddress("unix:abstract=" + name), BusState::NotListening);
    const LocalSocket socket(name, LocalSocket::Abstract, LocalSocket::Answering);
    QVERIFY(socket.isReady());
    QCOMPARE(busStateOfAddress("unix:abstract=" + name), BusState::Answering);
    // Nor is one taken for a path.
    QCOMPARE(busStateOfAddress("unix:abstract=" + path("bus")), BusState::NotListening);
}

void BusAddressTest::fullQueueOfConnectionsIsNoListener()
{
    // A bus library that connected now would wait without end.
    QVERIFY(m_sockets["silent"]->fillQueue());
    QCOMPARE(busStateOfAddress("unix:path=" + path("silent")), BusState::NotListening);
}

void BusAddressTest::nameTooLongForASocketIsNotListening()
{
    for (const int length : {106, 107, 108, 109, 5000})
        QCOMPARE(busStateOfAddress("unix:path=" + QByteArray(length, '/')), BusState::NotListening);
    for (const int length : {106, 107, 108, 5000})
        QCOMPARE(busStateOfAddress("unix:abstract=" + QByteArray(length, 'x')), BusState::NotListening);
}

void BusAddressTest::descriptorsAreClosed()
{
    const auto lowestFree = [] {
        const int descriptor = ::dup(0);
        ::close(descriptor);
        return descriptor;
    };
    const int before = lowestFree();
    busStateOfAddress("unix:path=" + path("bus"));
    busStateOfAddress("unix:path=" + path("absent"));
    busStateOfAddress("unix:path=" + QByteArray(5000, 'x'));
    // The played bus is in this process, too, and closes its ends a moment later.
    QTRY_VERIFY(lowestFree() <= before);
}

void BusAddressTest::namedBusIsTheOneTried()
{
    const QByteArray listening = "unix:path=" + path("bus"), absent = "unix:path=" + path("absent");
    for (const bool system : {true, false}) {
        const Variable systemBus("DBUS_SYSTEM_BUS_ADDRESS", system ? listening : absent);
        const Variable sessionBus("DBUS_SESSION_BUS_ADDRESS", system ? absent : listening);
        QCOMPARE(busState(QDBusConnection::SystemBus), system ? BusState::Answering : BusState::NotListening);
        QCOMPARE(busState(QDBusConnection::SessionBus),
                 system ? BusState::NotListening : BusState::Answering);
    }
}

void BusAddressTest::unnamedSessionBusIsLookedForInTheRuntimeFolder()
{
    const Variable session("DBUS_SESSION_BUS_ADDRESS", QByteArray());
    const Variable runtime("XDG_RUNTIME_DIR", QFile::encodeName(m_folder->path()));
    QCOMPARE(busState(QDBusConnection::SessionBus), BusState::Answering);
}

// An empty variable names nothing.
void BusAddressTest::unnamedSessionBusWithoutASocketIsNotNamed()
{
    const Variable runtime("XDG_RUNTIME_DIR", path("absent"));
    for (const QByteArray &unnamed : {QByteArray(), QByteArray("")}) {
        const Variable session("DBUS_SESSION_BUS_ADDRESS", unnamed);
        QCOMPARE(busState(QDBusConnection::SessionBus), BusState::NotNamed);
    }
}

QTEST_GUILESS_MAIN(BusAddressTest)

#include "busaddresstest.moc"
