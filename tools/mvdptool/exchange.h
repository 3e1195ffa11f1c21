#ifndef EXCHANGE_H
#define EXCHANGE_H

#include "clock.h"
#include "observer.h"
#include "request.h"
#include "transport.h"

#include <QtCore/QString>

#include <array>
#include <bitset>
#include <chrono>
#include <optional>
#include <vector>

struct Patience {
    int rounds;
    std::chrono::milliseconds timeout; // of each round
};

// Requests out, their answers in. Everything that is no answer is counted and dropped here.
class Exchange
{
public:
    Exchange(Transport &transport, Observer &observer);

    Transport &transport() const { return m_transport; }
    Observer &observer() const { return m_observer; }

    // Throws ToolError: nothing could be sent, for the reason that was the last.
    [[noreturn]] void failUnsent() const;
    // Sends to each destination; fails so when not one of them could be sent to.
    void send(const Request &request, const std::vector<Destination> &destinations);
    // The same, with a warning for what cannot be sent; false when nothing could.
    bool trySend(const Request &request, const std::vector<Destination> &destinations);
    // The next answer before the deadline.
    std::optional<Received> nextAnswer(const Request &request, Clock::time_point deadline);
    // The same for a request of which the caller judges the answers by itself.
    std::optional<Received> nextDatagram(Clock::time_point deadline);
    // Counts a datagram that is no answer, unless it is a late answer to an earlier request of ours.
    void countIgnored(Verdict verdict, const Received &received);

    // Asks in rounds until an answer comes, each time the next way of `ways` and then from the first on
    // again; a round whose way cannot be sent is not waited for. Nothing when every round brought none.
    // `doing` is for the line of progress. Throws ToolError when nothing at all could be sent.
    std::optional<Received> ask(const Request &request, const std::vector<std::vector<Destination>> &ways,
                                const Patience &patience, const QString &doing);

    int ignored() const;
    // One line of a sentence with what was ignored and why.
    QString ignoredText() const;

private:
    Transport &m_transport;
    Observer &m_observer;
    std::array<int, VerdictCount> m_counts = {};
    std::bitset<256> m_commandsSent;
    int m_problemsTold = 0;
};

#endif // EXCHANGE_H
