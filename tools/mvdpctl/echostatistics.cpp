#include "echostatistics.h"

#include <algorithm>

void EchoStatistics::addAnswer(double milliseconds)
{
    m_least = m_answered == 0 ? milliseconds : std::min(m_least, milliseconds);
    m_most = std::max(m_most, milliseconds);
    m_sum += milliseconds;
    ++m_answered;
}

// Altered ones may have come more than once each.
int EchoStatistics::lost() const
{
    return std::max(0, m_sent - m_answered - m_altered);
}

QStringList EchoStatistics::lines() const
{
    QString counts = QStringLiteral("%1 sent, %2 came back, %3 lost (%4 %)")
                         .arg(m_sent)
                         .arg(m_answered)
                         .arg(lost())
                         .arg(m_sent == 0 ? 0 : 100 * lost() / m_sent);
    if (m_altered > 0)
        counts += QStringLiteral(", %1 altered").arg(m_altered);
    if (m_duplicates > 0)
        counts += QStringLiteral(", %1 more than once").arg(m_duplicates);
    QStringList lines = {counts};
    if (m_answered > 0) {
        lines << QStringLiteral("round trip %1 / %2 / %3 ms (least, mean, most)")
                     .arg(m_least, 0, 'f', 2)
                     .arg(mean(), 0, 'f', 2)
                     .arg(m_most, 0, 'f', 2);
    }
    return lines;
}

QJsonObject EchoStatistics::json() const
{
    QJsonObject object = {{QStringLiteral("sent"), m_sent},
                          {QStringLiteral("answered"), m_answered},
                          {QStringLiteral("lost"), lost()},
                          {QStringLiteral("altered"), m_altered},
                          {QStringLiteral("duplicates"), m_duplicates}};
    if (m_answered > 0) {
        object.insert(QStringLiteral("leastMs"), m_least);
        object.insert(QStringLiteral("meanMs"), mean());
        object.insert(QStringLiteral("mostMs"), m_most);
    }
    return object;
}
