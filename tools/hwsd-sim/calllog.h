#ifndef CALLLOG_H
#define CALLLOG_H

#include <QtCore/QByteArrayList>
#include <QtCore/QHash>
#include <QtCore/QString>
#include <QtCore/QtGlobal>
#include <QtDBus/QDBusMessage>

// The calls that reached the service in their order, refused ones included. Ping is not among them, because
// the D-Bus library answers it.
class CallLog
{
public:
    void add(const QDBusMessage &call);
    void clear();

    // A JSON array of {"serial","path","interface","member","signature","arguments"}. Serials count from 1
    // for the life of the program. Beyond a bound the oldest calls are removed.
    QString text() const;

    // The number of calls that match the key (see keyMeans) since the last clear, including those removed
    // from the log.
    uint count(const QString &key) const;

private:
    QByteArrayList m_entries;
    qint64 m_bytes = 0;
    qint64 m_serial = 0;
    // Calls by "interface.member".
    QHash<QString, uint> m_counts;
};

#endif // CALLLOG_H
