#ifndef ECHOSTATISTICS_H
#define ECHOSTATISTICS_H

#include <QtCore/QJsonObject>
#include <QtCore/QStringList>

// Counts of echoes and their round-trip times, in milliseconds.
class EchoStatistics
{
public:
    void addSent() { ++m_sent; }
    void addAnswer(double milliseconds);
    void addDuplicate() { ++m_duplicates; }
    void addAltered() { ++m_altered; }

    int answered() const { return m_answered; }
    int altered() const { return m_altered; }
    bool isComplete() const { return m_answered + m_altered >= m_sent; }

    QStringList lines() const;
    QJsonObject json() const;

private:
    int lost() const;
    double mean() const { return m_sum / m_answered; }

    int m_sent = 0;
    int m_answered = 0;
    int m_duplicates = 0;
    int m_altered = 0;
    double m_least = 0;
    double m_most = 0;
    double m_sum = 0;
};

#endif // ECHOSTATISTICS_H
