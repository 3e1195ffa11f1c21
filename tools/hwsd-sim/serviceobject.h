#ifndef SERVICEOBJECT_H
#define SERVICEOBJECT_H

#include <QDBusMessage>
#include <QDBusVirtualObject>

#include "calllog.h"
#include "faults.h"
#include "panel.h"

// All objects of the service in one: logs each call, finds its method, lets the faults at it and replies.
class ServiceObject : public QDBusVirtualObject
{
    Q_OBJECT

public:
    ServiceObject(Panel *panel, Faults *faults, CallLog *log);

    bool handleMessage(const QDBusMessage &call, const QDBusConnection &connection) override;
    QString introspect(const QString &path) const override;

signals:
    // A call was met by the fault "disappear".
    void disappearanceWanted(int awayMs);

private:
    QDBusMessage refusalOf(const QDBusMessage &call) const;
    void callMethod(const Method &method, const QDBusMessage &call, const QDBusConnection &connection);
    QDBusMessage replyTo(const QDBusMessage &call, const Method &method, const FaultPlan &plan);

    Panel *m_panel;
    Faults *m_faults;
    CallLog *m_log;
};

#endif
