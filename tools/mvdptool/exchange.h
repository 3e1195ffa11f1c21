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
#include <functional>
#include <optional>
#include <vector>

struct Patience {
    int rounds;
    std::chrono::milliseconds timeout; // of each round
};

// Sends requests and receives their answers. Datagrams that are no answer are counted and dropped.
class Exchange
{
public:
    Exchange(Transport &transport, Observer &observer);

    Transport &transport() const { return m_transport; }
    Observer &observer() const { return m_observer; }

    // Throws ToolError: nothing could be sent, with the last error as the reason.
    [[noreturn]] void failUnsent() const;
    // Sends to each destination. Throws as failUnsent() when none of them could be sent to.
    void send(const Request &request, const std::vector<Destination> &destinations);
    // The same, with a warning in place of the exception; false when nothing could be sent.
    bool trySend(const Request &request, const std::vector<Destination> &destinations);
    // The next answer before the deadline.
    std::optional<Received> nextAnswer(const Request &request, Clock::time_point deadline);
    // The same; ends also soon after `isInterrupted`, if that is given.
    std::optional<Received> nextAnswer(const Request &request, Clock::time_point deadline,
                                       const std::function<bool()> &isInterrupted);
    // The next datagram, for a request whose answers the caller judges itself.
    std::optional<Received> nextDatagram(Clock::time_point deadline);
    // Counts a datagram that is no answer, unless it is a late answer to an earlier request of ours.
    void countIgnored(Verdict verdict, const Received &received);

    // Sends the request in rounds until an answer comes. Each round uses the next way of `ways`, and the
    // first again after the last. A round whose way cannot be sent to is not waited for. Nothing when no
    // round brought an answer, and soon after `isInterrupted`. `doing` is the text of the progress line.
    // Throws ToolError when nothing could be sent in any round.
    std::optional<Received> ask(const Request &request, const std::vector<std::vector<Destination>> &ways,
                                const Patience &patience, const QString &doing,
                                const std::function<bool()> &isInterrupted = {});

    int ignored() const;
    // One line that says what was ignored and why.
    QString ignoredText() const;

private:
    Transport &m_transport;
    Observer &m_observer;
    std::array<int, VerdictCount> m_counts = {};
    std::bitset<256> m_commandsSent;
    int m_problemsTold = 0;
};

#endif // EXCHANGE_H
