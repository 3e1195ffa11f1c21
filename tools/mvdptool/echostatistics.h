#ifndef ECHOSTATISTICS_H
#define ECHOSTATISTICS_H

// Counts of echoes and their round-trip times, in milliseconds.
class EchoStatistics
{
public:
    void addSent() { ++m_sent; }
    void addAnswer(double milliseconds);
    void addDuplicate() { ++m_duplicates; }
    void addAltered() { ++m_altered; }

    int sent() const { return m_sent; }
    int answered() const { return m_answered; }
    int lost() const;
    int altered() const { return m_altered; }
    int duplicates() const { return m_duplicates; }
    bool isComplete() const { return m_answered + m_altered >= m_sent; }

    // The times of the answered echoes. There must be at least one.
    double least() const { return m_least; }
    double mean() const { return m_sum / m_answered; }
    double most() const { return m_most; }

private:
    int m_sent = 0;
    int m_answered = 0;
    int m_duplicates = 0;
    int m_altered = 0;
    double m_least = 0;
    double m_most = 0;
    double m_sum = 0;
};

#endif // ECHOSTATISTICS_H
