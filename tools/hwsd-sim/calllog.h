#ifndef CALLLOG_H
#define CALLLOG_H

#include <QtCore/QByteArrayList>
#include <QtCore/QHash>
#include <QtCore/QString>
#include <QtCore/QtGlobal>
#include <QtDBus/QDBusMessage>

// The calls that reached the service, in their order, also those that it refused. (Ping does not: the D-Bus
// library answers it.)
class CallLog
{
public:
    void add(const QDBusMessage &call);
    void clear();

    // A JSON array of {"serial","path","interface","member","signature","arguments"}. Serials count from 1
    // for the life of the program. Beyond a bound the oldest calls are removed.
    QString text() const;

    // How many calls the key means (see keyMeans) since the last clear, whatever the log still holds.
    uint count(const QString &key) const;

private:
    QByteArrayList m_entries;
    qint64 m_bytes = 0;
    qint64 m_serial = 0;
    // Calls by "interface.member".
    QHash<QString, uint> m_counts;
};

#endif // CALLLOG_H
