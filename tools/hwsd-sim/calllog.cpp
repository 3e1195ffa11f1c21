#include "calllog.h"

#include "catalogue.h"
#include "wirevalue.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QJsonValue>

namespace
{

const int LargestLog = 32 * 1024 * 1024;
const int LongestArgumentText = 1024 * 1024;
// Bounds the counters when a caller invents names.
const int MostNames = 10000;

QJsonValue shortened(const QJsonValue &value)
{
    const QString text = value.toString();
    return text.size() > LongestArgumentText ? QJsonValue(text.left(LongestArgumentText)) : value;
}

} // namespace

void CallLog::add(const QDBusMessage &call)
{
    QJsonArray arguments;
    for (const QVariant &argument : fromWire(call.arguments()))
        arguments.append(shortened(toJson(argument)));
    QJsonObject entry;
    entry.insert(QLatin1String("serial"), static_cast<double>(++m_serial));
    entry.insert(QLatin1String("path"), call.path());
    entry.insert(QLatin1String("interface"), call.interface());
    entry.insert(QLatin1String("member"), call.member());
    entry.insert(QLatin1String("signature"), call.signature());
    entry.insert(QLatin1String("arguments"), arguments);
    m_entries << QJsonDocument(entry).toJson(QJsonDocument::Compact);
    m_bytes += m_entries.last().size();
    while (m_bytes > LargestLog && m_entries.size() > 1)
        m_bytes -= m_entries.takeFirst().size();

    const QString name = call.interface() + QLatin1Char('.') + call.member();
    if (m_counts.size() < MostNames || m_counts.contains(name))
        ++m_counts[name];
}

void CallLog::clear()
{
    m_entries.clear();
    m_bytes = 0;
    m_counts.clear();
}

QString CallLog::text() const
{
    return QLatin1Char('[') + QString::fromUtf8(m_entries.join(',')) + QLatin1Char(']');
}

uint CallLog::count(const QString &key) const
{
    uint calls = 0;
    for (auto counter = m_counts.begin(); counter != m_counts.end(); ++counter) {
        const int dot = static_cast<int>(counter.key().lastIndexOf(QLatin1Char('.')));
        if (keyMeans(key, counter.key().left(dot), counter.key().mid(dot + 1)))
            calls += counter.value();
    }
    return calls;
}
