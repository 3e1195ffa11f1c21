#include "busaddress.h"

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>
#include <memory>

namespace
{

// A local socket that is bound to a name and, if asked to, takes connections. An abstract name has no zero
// byte behind it, as the bus library binds it.
class LocalSocket
{
public:
    enum Kind { Path, Abstract };
    LocalSocket(const QByteArray &name, Kind kind, bool listening)
        : m_descriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_un address;
        std::memset(&address, 0, sizeof address);
        address.sun_family = AF_UNIX;
        std::memcpy(address.sun_path + (kind == Abstract ? 1 : 0), name.constData(),
                    static_cast<size_t>(name.size()));
        const size_t size = offsetof(sockaddr_un, sun_path) + static_cast<size_t>(name.size()) + 1;
        m_ready =
            ::bind(m_descriptor, reinterpret_cast<sockaddr *>(&address), static_cast<socklen_t>(size)) == 0 &&
            (!listening || ::listen(m_descriptor, 1) == 0);
    }
    ~LocalSocket() { ::close(m_descriptor); }
    LocalSocket(const LocalSocket &) = delete;
    LocalSocket &operator=(const LocalSocket &) = delete;
    bool isReady() const { return m_ready; }

private:
    const int m_descriptor;
    bool m_ready;
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
    void abstractNameThatListensIsFound();
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
    std::unique_ptr<LocalSocket> m_listening;
    std::unique_ptr<LocalSocket> m_deaf;
};

// In each test "bus" and "a b,c;d" accept connections, "deaf" is a socket that does not listen, and "absent"
// does not exist.
void BusAddressTest::init()
{
    m_folder.reset(new QTemporaryDir);
    m_listening.reset(new LocalSocket(path("bus"), LocalSocket::Path, true));
    m_deaf.reset(new LocalSocket(path("deaf"), LocalSocket::Path, false));
    QVERIFY(m_listening->isReady());
    QVERIFY(m_deaf->isReady());
    QVERIFY(QFile::link(m_folder->filePath(QStringLiteral("bus")),
                        m_folder->filePath(QStringLiteral("a b,c;d"))));
    QFile file(m_folder->filePath(QStringLiteral("file")));
    QVERIFY(file.open(QIODevice::WriteOnly));
}

void BusAddressTest::cleanup()
{
    m_listening.reset();
    m_deaf.reset();
    m_folder.reset();
}

void BusAddressTest::addressIsTriedOrLeftToTrying_data()
{
    QTest::addColumn<QByteArray>("address"); // $ stands for the folder
    QTest::addColumn<BusState>("state");
    const auto row = [](const char *address, BusState state) {
        QTest::newRow(*address ? address : "empty") << QByteArray(address) << state;
    };
    row("unix:path=$/bus", BusState::Listening);
    row("unix:path=$/deaf", BusState::NotListening);
    row("unix:path=$/absent", BusState::NotListening);
    row("unix:path=$/file", BusState::NotListening);
    row("unix:path=$", BusState::NotListening);
    row("unix:path=", BusState::NotListening);
    row("", BusState::NotListening);
    // Further settings stand before or after the path.
    row("unix:path=$/bus,guid=0123456789abcdef0123456789abcdef", BusState::Listening);
    row("unix:guid=0123456789abcdef0123456789abcdef,path=$/bus", BusState::Listening);
    row("unix:guid=0123456789abcdef0123456789abcdef,path=$/deaf", BusState::NotListening);
    // Characters that would end a name are percent-encoded.
    row("unix:path=$/a%20b%2cc%3Bd", BusState::Listening);
    row("unix:path=$/b%75s", BusState::Listening);
    row("unix:path=$/b%75t", BusState::NotListening);
    // One of several is enough.
    row("unix:path=$/absent;unix:path=$/bus", BusState::Listening);
    row("unix:path=$/bus;unix:path=$/absent", BusState::Listening);
    row("unix:path=$/absent;unix:path=$/deaf", BusState::NotListening);
    row("unix:path=$/absent;", BusState::NotListening);
    row("unix:path=$/bus;", BusState::Listening);
    row(";unix:path=$/bus", BusState::Listening);
    // The state behind other transports is unknown.
    row("tcp:host=127.0.0.1,port=1", BusState::Unknown);
    row("autolaunch:", BusState::Unknown);
    row("unixexec:path=$/bus", BusState::Unknown);
    row("unix:tmpdir=/tmp", BusState::Unknown);
    row("unix:runtime=yes", BusState::Unknown);
    row("nonsense", BusState::Unknown);
    row("tcp:host=127.0.0.1,port=1;unix:path=$/absent", BusState::Unknown);
    row("unix:path=$/absent;tcp:host=127.0.0.1,port=1", BusState::Unknown);
    row("tcp:host=127.0.0.1,port=1;unix:path=$/bus", BusState::Listening);
}

void BusAddressTest::addressIsTriedOrLeftToTrying()
{
    QFETCH(QByteArray, address);
    address.replace("$", QFile::encodeName(m_folder->path()));
    QTEST(busStateOfAddress(address), "state");
}

void BusAddressTest::abstractNameThatListensIsFound()
{
    const QByteArray name = "mvdp-test-" + QByteArray::number(QCoreApplication::applicationPid());
    QCOMPARE(busStateOfAddress("unix:abstract=" + name), BusState::NotListening);
    const LocalSocket socket(name, LocalSocket::Abstract, true);
    QVERIFY(socket.isReady());
    QCOMPARE(busStateOfAddress("unix:abstract=" + name), BusState::Listening);
    // Nor is one taken for a path.
    QCOMPARE(busStateOfAddress("unix:abstract=" + path("bus")), BusState::NotListening);
}

void BusAddressTest::fullQueueOfConnectionsIsNoListener()
{
    // Each look leaves a connection in the queue of a listener that accepts none, until the queue is full. A
    // bus library that connected then would wait without end.
    int looks = 0;
    while (busStateOfAddress("unix:path=" + path("bus")) == BusState::Listening)
        QVERIFY(++looks < 100);
    QVERIFY(looks > 0);
    QCOMPARE(busStateOfAddress("unix:path=" + path("bus")), BusState::NotListening);
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
    const int before = ::dup(0);
    ::close(before);
    busStateOfAddress("unix:path=" + path("bus"));
    busStateOfAddress("unix:path=" + path("absent"));
    busStateOfAddress("unix:path=" + QByteArray(5000, 'x'));
    const int after = ::dup(0);
    ::close(after);
    QCOMPARE(after, before);
}

void BusAddressTest::namedBusIsTheOneTried()
{
    const QByteArray listening = "unix:path=" + path("bus"), absent = "unix:path=" + path("absent");
    for (const bool system : {true, false}) {
        const Variable systemBus("DBUS_SYSTEM_BUS_ADDRESS", system ? listening : absent);
        const Variable sessionBus("DBUS_SESSION_BUS_ADDRESS", system ? absent : listening);
        QCOMPARE(busState(QDBusConnection::SystemBus), system ? BusState::Listening : BusState::NotListening);
        QCOMPARE(busState(QDBusConnection::SessionBus),
                 system ? BusState::NotListening : BusState::Listening);
    }
}

void BusAddressTest::unnamedSessionBusIsLookedForInTheRuntimeFolder()
{
    const Variable session("DBUS_SESSION_BUS_ADDRESS", QByteArray());
    const Variable runtime("XDG_RUNTIME_DIR", QFile::encodeName(m_folder->path()));
    QCOMPARE(busState(QDBusConnection::SessionBus), BusState::Listening);
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
