#ifndef BUSNAME_H
#define BUSNAME_H

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <QTimer>

class QDBusVirtualObject;

// Which bus to be on.
struct Bus {
    enum Kind { System, Session, Address };

    Kind kind = System;
    QString address; // of an Address bus

    QString text() const;
    QDBusConnection connect(const QString &connectionName) const;
};

// The service's presence on the bus: a connection of its own that owns the name. Disappearing closes it, as
// a process that ends does: who waits for a reply then gets the bus's NoReply error.
class BusName : public QObject
{
    Q_OBJECT

public:
    BusName(const Bus &bus, QDBusVirtualObject *object);
    ~BusName() override;

    bool isPresent() const { return !m_connectionName.isEmpty(); }
    QString connectionName() const { return m_connectionName; }

    // Done when it returns true; otherwise *error says why not.
    bool appear(QString *error);

public slots:
    // Done when it returns. Comes back by itself after `awayMs`, or with 0 when appear() is called.
    void disappear(int awayMs);

    // Without a bus there is nothing to simulate: ends the program with a message and exit code 1.
    void endWithoutBus();

private slots:
    void comeBack();

private:
    Bus m_bus;
    QDBusVirtualObject *m_object;
    QString m_connectionName;
    int m_connections = 0;
    QTimer m_return;
};

#endif
