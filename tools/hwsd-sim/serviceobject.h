#ifndef SERVICEOBJECT_H
#define SERVICEOBJECT_H

#include "calllog.h"
#include "catalogue.h"
#include "faults.h"
#include "panel.h"

#include <QtCore/QString>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>
#include <QtDBus/QDBusVirtualObject>

// Serves all objects of the service: logs each call, finds its method, applies the faults and replies.
class ServiceObject : public QDBusVirtualObject
{
    Q_OBJECT
public:
    // All three must outlive this object.
    ServiceObject(Panel &panel, Faults &faults, CallLog &log);

    bool handleMessage(const QDBusMessage &call, const QDBusConnection &connection) override;
    QString introspect(const QString &path) const override;

Q_SIGNALS:
    // Emitted when the fault "disappear" applies to a call.
    void disappearanceWanted(int awayMs);

private:
    QDBusMessage refusalOf(const QDBusMessage &call) const;
    void callMethod(const Method &method, const QDBusMessage &call, const QDBusConnection &connection);
    QDBusMessage replyTo(const QDBusMessage &call, const Method &method, const FaultPlan &plan);

    Panel &m_panel;
    Faults &m_faults;
    CallLog &m_log;
};

#endif // SERVICEOBJECT_H
