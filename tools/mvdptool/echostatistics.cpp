#include "echostatistics.h"

#include <algorithm>

void EchoStatistics::addAnswer(double milliseconds)
{
    m_least = m_answered == 0 ? milliseconds : std::min(m_least, milliseconds);
    m_most = std::max(m_most, milliseconds);
    m_sum += milliseconds;
    ++m_answered;
}

// An altered echo may be counted more than once.
int EchoStatistics::lost() const
{
    return std::max(0, m_sent - m_answered - m_altered);
}
