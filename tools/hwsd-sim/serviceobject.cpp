#include "serviceobject.h"

#include "wirevalue.h"

#include <QtCore/QTimer>
#include <QtCore/QVariantMap>
#include <QtDBus/QDBusError>

namespace
{

const char Introspectable[] = "org.freedesktop.DBus.Introspectable";
const char Properties[] = "org.freedesktop.DBus.Properties";

// A caller that wants no reply gets none, not even an error.
void send(const QDBusMessage &reply, const QDBusMessage &call, const QDBusConnection &connection)
{
    if (call.isReplyRequired())
        connection.send(reply);
}

QString withDetail(const char *text, const QString &detail)
{
    return QString(QLatin1String(text)).arg(detail);
}

} // namespace

ServiceObject::ServiceObject(Panel &panel, Faults &faults, CallLog &log)
    : m_panel(panel)
    , m_faults(faults)
    , m_log(log)
{
}

bool ServiceObject::handleMessage(const QDBusMessage &call, const QDBusConnection &connection)
{
    if (call.type() != QDBusMessage::MethodCallMessage)
        return false;
    m_log.add(call);
    const Object *object = findObject(call.path());
    const Method *method = object ? findMethod(*object, call.interface(), call.member()) : nullptr;
    if (method && call.signature() == QLatin1String(method->in)) {
        callMethod(*method, call, connection);
    } else if (object && call.interface() == QLatin1String(Introspectable) &&
               call.member() == QLatin1String("Introspect") && call.signature().isEmpty()) {
        send(call.createReply(introspectionOf(call.path())), call, connection);
    } else if (object && call.interface() == QLatin1String(Properties) &&
               call.member() == QLatin1String("GetAll") && call.signature() == QLatin1String("s")) {
        // The interfaces have no properties.
        send(call.createReply(QVariantMap()), call, connection);
    } else {
        send(refusalOf(call), call, connection);
    }
    return true;
}

QString ServiceObject::introspect(const QString &path) const
{
    return introspectionOf(path);
}

QDBusMessage ServiceObject::refusalOf(const QDBusMessage &call) const
{
    const Object *object = findObject(call.path());
    if (!object)
        return call.createErrorReply(QDBusError::UnknownObject,
                                     withDetail("There is no object at \"%1\"", call.path()));
    const Method *method = findMethod(*object, call.interface(), call.member());
    if (method)
        return call.createErrorReply(
            QDBusError::InvalidArgs,
            withDetail("The arguments have the signature \"%1\"", QLatin1String(method->in)));
    const QString interface = call.interface();
    if (!interface.isEmpty() && interface != QLatin1String(object->interface) &&
        interface != QLatin1String(Introspectable) && interface != QLatin1String(Properties))
        return call.createErrorReply(QDBusError::UnknownInterface,
                                     withDetail("The object has no interface \"%1\"", interface));
    return call.createErrorReply(QDBusError::UnknownMethod,
                                 withDetail("The object has no method \"%1\"", call.member()));
}

void ServiceObject::callMethod(const Method &method, const QDBusMessage &call,
                               const QDBusConnection &connection)
{
    const FaultPlan plan = m_faults.take(method);
    if (plan.disappears) {
        Q_EMIT disappearanceWanted(plan.awayMs);
        return;
    }
    if (plan.silent)
        return;
    if (plan.delayMs == 0) {
        send(replyTo(call, method, plan), call, connection);
        return;
    }
    // Found again by its name, because a held connection would keep the service on the bus after it
    // disappeared.
    const QString connectionName = connection.name();
    const Method *called = &method;
    QTimer::singleShot(plan.delayMs, this, [this, call, called, plan, connectionName]() {
        const QDBusConnection current(connectionName);
        if (current.isConnected())
            send(replyTo(call, *called, plan), call, current);
    });
}

// Carries out the method, unless a fault makes it fail.
QDBusMessage ServiceObject::replyTo(const QDBusMessage &call, const Method &method, const FaultPlan &plan)
{
    if (!plan.errorName.isEmpty())
        return call.createErrorReply(plan.errorName, plan.errorText);
    const Reply reply = method.handler(m_panel, fromWire(call.arguments()));
    if (!reply.errorName.isEmpty())
        return call.createErrorReply(reply.errorName, reply.errorText);
    Q_ASSERT(signatureOf(reply.values) == QLatin1String(method.out));
    return call.createReply(toWire(plan.falsified(reply.values, method)));
}
