// The floor with the client library that the service uses, and with the same frame: a GUI application that
// does its work on a second thread.
//
// Usage: benchmark-floor-qtdbus PORT

#include "floor.h"

#include <QApplication>
#include <QtCore/QString>
#include <QtCore/QThread>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>
#include <QtDBus/QDBusPendingCall>

namespace
{

class Floor : public QThread
{
public:
    explicit Floor(std::uint16_t port)
        : m_port(port)
        , m_bus(QString())
        , m_service(QLatin1String(FloorServiceName))
        , m_path(QLatin1String(FloorManagerPath))
        , m_interface(QLatin1String(FloorManagerInterface))
        , m_method(QLatin1String("getInterfaceConfig"))
        , m_argument(QLatin1String(FloorInterfaceName))
    {
    }

protected:
    void run() override
    {
        m_bus = QDBusConnection::connectToBus(QDBusConnection::SystemBus, QLatin1String("floor"));
        if (!m_bus.isConnected())
            failFloor("no connection to the system bus (QtDBus)");
        serveFloor(m_port, this, [](const void *self) { static_cast<const Floor *>(self)->callPlatform(); });
    }

private:
    void callPlatform() const
    {
        QDBusMessage call = QDBusMessage::createMethodCall(m_service, m_path, m_interface, m_method);
        call << m_argument;
        // Somewhat faster than QDBusConnection::call().
        QDBusPendingCall reply = m_bus.asyncCall(call);
        reply.waitForFinished();
        if (reply.isError())
            failFloor("no reply of the platform service (QtDBus)");
    }

    const std::uint16_t m_port;
    QDBusConnection m_bus;
    const QString m_service, m_path, m_interface, m_method, m_argument;
};

} // namespace

int main(int argc, char **argv)
{
    const std::uint16_t port = portFromArguments(argc, argv);
    const QApplication application(argc, argv);
    Floor floor(port);
    floor.start();
    return QApplication::exec();
}
