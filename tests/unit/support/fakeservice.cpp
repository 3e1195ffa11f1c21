#include "fakeservice.h"

#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>
#include <QtDBus/QDBusVirtualObject>

#include <chrono>

namespace
{

QString argumentText(const QVariant &argument)
{
    switch (static_cast<int>(argument.userType())) {
    case QMetaType::QString:
        return QStringLiteral("s:") + argument.toString();
    case QMetaType::UChar:
        return QStringLiteral("y:") + QString::number(argument.toUInt());
    case QMetaType::UInt:
        return QStringLiteral("u:") + QString::number(argument.toUInt());
    case QMetaType::Int:
        return QStringLiteral("i:") + QString::number(argument.toInt());
    case QMetaType::Bool:
        return QLatin1String(argument.toBool() ? "b:true" : "b:false");
    case QMetaType::QByteArray:
        return QStringLiteral("ay:") + QString::fromLatin1(argument.toByteArray().toHex());
    default:
        return QLatin1String(argument.typeName());
    }
}

QString callText(const QDBusMessage &call)
{
    QStringList arguments;
    for (const QVariant &argument : call.arguments())
        arguments.append(argumentText(argument));
    return call.path() + QLatin1Char(' ') + call.interface() + QLatin1Char('.') + call.member() +
           QLatin1Char('(') + arguments.join(QLatin1Char(',')) + QLatin1Char(')');
}

} // namespace

class FakeObject : public QDBusVirtualObject
{
public:
    explicit FakeObject(FakeService *service)
        : m_service(service)
    {
    }
    QString introspect(const QString &) const override { return QString(); }
    bool handleMessage(const QDBusMessage &call, const QDBusConnection &connection) override
    {
        m_service->handle(call, connection);
        return true;
    }

private:
    FakeService *const m_service;
};

FakeService::FakeService(const QByteArray &address)
    : m_object(new FakeObject(this))
    , m_connectionName(QStringLiteral("fake-service-%1").arg(reinterpret_cast<quintptr>(this)))
    , m_hasName(false)
{
    m_object->moveToThread(&m_thread);
    m_thread.start();
    QMetaObject::invokeMethod(
        m_object, [this, &address] { connectTo(address); }, Qt::BlockingQueuedConnection);
}

FakeService::~FakeService()
{
    QMetaObject::invokeMethod(
        m_object, [this] { disconnect(); }, Qt::BlockingQueuedConnection);
    m_thread.quit();
    m_thread.wait();
}

void FakeService::connectTo(const QByteArray &address)
{
    QDBusConnection bus = QDBusConnection::connectToBus(QString::fromLatin1(address), m_connectionName);
    m_hasName = bus.registerVirtualObject(QStringLiteral("/"), m_object, QDBusConnection::SubPath) &&
                bus.registerService(QStringLiteral("com.zelt.HWSD"));
}

void FakeService::disconnect()
{
    {
        QDBusConnection bus(m_connectionName);
        bus.unregisterService(QStringLiteral("com.zelt.HWSD"));
        bus.unregisterObject(QStringLiteral("/"), QDBusConnection::UnregisterTree);
    }
    QDBusConnection::disconnectFromBus(m_connectionName);
    delete m_object;
}

void FakeService::tell(const char *method, Manner manner, const QList<QVariantList> &arguments)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    Reply &reply = m_replies[QLatin1String(method)];
    reply.manner = manner;
    reply.arguments = arguments;
}

void FakeService::answer(const char *method, const QVariantList &arguments)
{
    tell(method, Manner::Answer, {arguments});
}

void FakeService::answerInTurn(const char *method, const QList<QVariantList> &answers)
{
    tell(method, Manner::Answer, answers);
}

void FakeService::echo(const char *method)
{
    tell(method, Manner::Echo);
}

void FakeService::ignore(const char *method)
{
    tell(method, Manner::Ignore);
}

void FakeService::note(const QString &line)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_calls.append(line);
    m_called.notify_all();
}

QStringList FakeService::takeCalls()
{
    return waitForCalls(0);
}

QStringList FakeService::waitForCalls(int count)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_called.wait_for(lock, std::chrono::minutes(1), [this, count] { return m_calls.size() >= count; });
    QStringList taken = m_calls;
    m_calls.clear();
    return taken;
}

void FakeService::handle(const QDBusMessage &call, const QDBusConnection &connection)
{
    if (call.member() != QLatin1String("q_autostart"))
        note(callText(call));
    Reply reply;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        Reply &told = m_replies[call.member()];
        reply = told;
        if (told.arguments.size() > 1)
            told.arguments.removeFirst();
    }
    switch (reply.manner) {
    case Manner::Answer:
        if (reply.arguments.first() == ErrorReply)
            connection.send(
                call.createErrorReply(QStringLiteral("com.zelt.HWSD.Error"), QStringLiteral("refused")));
        else
            connection.send(call.createReply(reply.arguments.first()));
        break;
    case Manner::Echo:
        connection.send(call.createReply(call.arguments()));
        break;
    case Manner::Ignore:
        break;
    }
}

QVariant partitionInfoOnWire(const QByteArray &version)
{
    QDBusArgument argument;
    argument.beginStructure();
    for (uchar byte = 1; byte <= 4; ++byte)
        argument << byte;
    argument << version;
    argument.endStructure();
    return QVariant::fromValue(argument);
}
