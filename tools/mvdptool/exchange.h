#ifndef EXCHANGE_H
#define EXCHANGE_H

#include "panel.h"
#include "request.h"
#include "terminal.h"
#include "transport.h"

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

// Requests out, their answers in. Everything that is no answer is counted and dropped here.
class Exchange
{
public:
    Exchange(Transport &transport, Terminal &terminal);

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

    // From now on --verbose shows only those received datagrams for which this is true; the others are
    // handled as before. What is sent is always shown.
    void showOnly(std::function<bool(const Received &)> isShown);

    int ignored() const;
    // One line of a sentence with what was ignored and why.
    QString ignoredText() const;
    // What may keep answers from being heard on this computer.
    QString noAnswerAdvice() const;

private:
    bool isShown(const Received &received) const { return !m_isShown || m_isShown(received); }

    Transport &m_transport;
    Terminal &m_terminal;
    std::function<bool(const Received &)> m_isShown;
    std::array<int, VerdictCount> m_counts = {};
    std::bitset<256> m_commandsSent;
    int m_problemsShown = 0;
};

#endif // EXCHANGE_H
