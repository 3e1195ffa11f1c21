#ifndef BUSNAME_H
#define BUSNAME_H

#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QTimer>
#include <QtDBus/QDBusConnection>

class QDBusVirtualObject;

// Which bus to be on.
struct Bus {
    enum class Kind { System, Session, Address };

    Kind kind = Kind::System;
    QString address; // of a bus of kind Address

    QString text() const;
    QDBusConnection connect(const QString &connectionName) const;
};

// The service's presence on the bus: a connection of its own that owns the name. Disappearing closes it, as
// a process that ends does: who waits for a reply then gets the bus's NoReply error.
class BusName : public QObject
{
    Q_OBJECT
public:
    // The object must outlive this one.
    BusName(const Bus &bus, QDBusVirtualObject &object);
    ~BusName();

    bool isPresent() const { return !m_connectionName.isEmpty(); }
    QString connectionName() const { return m_connectionName; }

    // Done when it returns an empty text; else that says why not.
    QString appear();

public Q_SLOTS:
    // Done when it returns. Comes back by itself after `awayMs`, or with 0 when appear() is called.
    void disappear(int awayMs);

    // Without a bus there is nothing to simulate: ends the program with a message and exit code 1.
    void endWithoutBus();

private Q_SLOTS:
    void comeBack();

private:
    Bus m_bus;
    QDBusVirtualObject &m_object;
    QString m_connectionName;
    int m_connections = 0;
    QTimer m_return;
};

#endif // BUSNAME_H
