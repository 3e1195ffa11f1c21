#include "fakebus.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QStringList>
#include <QtCore/QtDebug>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>
#include <QtDBus/QDBusServer>
#include <QtDBus/QDBusVirtualObject>

#include <sys/prctl.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>

class FakeBusObject : public QDBusVirtualObject
{
public:
    QString introspect(const QString &) const override { return QString(); }

    bool handleMessage(const QDBusMessage &call, const QDBusConnection &connection) override
    {
        const QString method = call.member();
        if (method == QLatin1String("Hello"))
            connection.send(call.createReply(QStringLiteral(":1.1")));
        else if (method == QLatin1String("GetNameOwner"))
            connection.send(call.createErrorReply(QDBusError::InvalidService, QStringLiteral("no owner")));
        else if (method == QLatin1String("NameHasOwner"))
            connection.send(call.createReply(false));
        else if (method == QLatin1String("AddMatch") || method == QLatin1String("RemoveMatch"))
            connection.send(call.createReply());
        else
            connection.send(call.createErrorReply(QDBusError::UnknownMethod, method));
        return true;
    }
};

namespace
{

const char FakeBusOption[] = "--fake-bus";
const char ListeningLine[] = "listening\n";

} // namespace

void FakeBus::runIfAskedFor(int argc, char **argv)
{
    if (argc != 3 || qstrcmp(argv[1], FakeBusOption) != 0)
        return;
    ::prctl(PR_SET_PDEATHSIG, SIGKILL); // also when the test crashes
    QCoreApplication application(argc, argv);
    FakeBusObject object;
    QDBusServer server(QString::fromLocal8Bit(argv[2]));
    QObject::connect(&server, &QDBusServer::newConnection, &object, [&object](QDBusConnection connection) {
        connection.registerVirtualObject(QStringLiteral("/"), &object, QDBusConnection::SubPath);
    });
    if (!server.isConnected())
        std::exit(1);
    std::fputs(ListeningLine, stdout);
    std::fflush(stdout);
    std::exit(QCoreApplication::exec());
}

FakeBus::FakeBus(const QByteArray &address)
    : m_listening(false)
{
    // The kernel cannot start an emulated program by itself; tests/emulate.py tells how.
    QStringList command;
    for (const QByteArray &word : qgetenv("MVDP_EMULATOR").split('\n')) {
        if (!word.isEmpty())
            command.append(QString::fromLocal8Bit(word));
    }
    command << QCoreApplication::applicationFilePath() << QLatin1String(FakeBusOption)
            << QString::fromLocal8Bit(address);
    m_process.start(command.takeFirst(), command);
    m_listening = m_process.waitForReadyRead(60000) && m_process.readAllStandardOutput() == ListeningLine;
}

FakeBus::~FakeBus()
{
    m_process.kill();
    m_process.waitForFinished(60000);
}

BusMonitor::BusMonitor(const QByteArray &address)
    : m_address(address)
{
}

BusMonitor::~BusMonitor()
{
    if (m_monitor.state() != QProcess::NotRunning)
        stop();
}

bool BusMonitor::start()
{
    m_monitor.start(
        QStringLiteral("dbus-monitor"),
        {QStringLiteral("--address"), QString::fromLatin1(m_address), QStringLiteral("--profile")});
    // A new monitor is informed that it lost its own name; it receives everything from then on.
    QByteArray heading;
    while (!heading.contains("NameLost")) {
        if (!m_monitor.waitForReadyRead(60000)) {
            qWarning() << "dbus-monitor:" << m_monitor.errorString() << m_monitor.readAllStandardError();
            return false;
        }
        heading += m_monitor.readAllStandardOutput();
    }
    return true;
}

QStringList BusMonitor::stop()
{
    // The test's own call of a method that no bus has marks the end of the output.
    const QString name = QStringLiteral("bus-monitor-mark");
    QDBusConnection::connectToBus(QString::fromLatin1(m_address), name)
        .call(QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/"),
                                             QStringLiteral("org.freedesktop.DBus"),
                                             QStringLiteral("ThatIsAll")));
    QDBusConnection::disconnectFromBus(name);
    QByteArray output;
    do
        output += m_monitor.readAllStandardOutput();
    while (!output.contains("\tThatIsAll\n") && m_monitor.waitForReadyRead(60000));
    m_monitor.terminate();
    m_monitor.waitForFinished(60000);

    // Type, time, serial, sender, destination, path, interface, method, between tabs.
    QStringList calls;
    for (const QByteArray &line : output.split('\n')) {
        const QList<QByteArray> fields = line.split('\t');
        if (fields.size() < 8 || fields.at(0) != "mc" || fields.at(4) != "com.zelt.HWSD")
            continue;
        const QByteArray interface = fields.at(6) == "<none>" ? QByteArray() : fields.at(6);
        calls.append(QString::fromLatin1(fields.at(5) + ' ' + interface + '.' + fields.at(7)));
    }
    return calls;
}
