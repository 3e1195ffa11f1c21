#ifndef BUSNAME_H
#define BUSNAME_H

#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QTimer>
#include <QtDBus/QDBusConnection>

class QDBusVirtualObject;

// The bus to connect to.
struct Bus {
    enum class Kind { System, Session, Address };

    Kind kind = Kind::System;
    QString address; // of a bus of kind Address

    QString text() const;
    QDBusConnection connect(const QString &connectionName) const;
};

// The service's presence on the bus: a separate connection that owns the name. Disappearing closes it, as the
// end of a process does, so that callers who wait for a reply get the bus's NoReply error.
class BusName : public QObject
{
    Q_OBJECT
public:
    // The object must outlive this one.
    BusName(const Bus &bus, QDBusVirtualObject &object);
    ~BusName();

    bool isPresent() const { return !m_connectionName.isEmpty(); }
    QString connectionName() const { return m_connectionName; }

    // Returns an empty text on success, else the reason.
    QString appear();

public Q_SLOTS:
    // Disappears before it returns. The service appears again after `awayMs`, or for 0 when appear() is
    // called.
    void disappear(int awayMs);

    // Ends the program with a message and exit code 1, because a simulation without a bus is of no use.
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
