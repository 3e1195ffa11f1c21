#include "discovery.h"

#include <algorithm>
#include <map>

namespace
{

const int QuietRounds = 2;

// Counts how many of a round's requests each panel answered. A panel that answered more in an earlier round
// shows that datagrams are lost. Answers beyond the number of requests are late ones to an earlier round, and
// no later round need have as many.
class AnswerCount
{
public:
    explicit AnswerCount(std::size_t requests)
        : m_requests(static_cast<int>(requests))
    {
    }
    void startRound() { m_thisRound.clear(); }
    void add(const Panel &panel);
    bool isAnyMissing() const;

private:
    const int m_requests; // in a round
    std::map<PanelKey, int> m_thisRound;
    std::map<PanelKey, int> m_most;
};

void AnswerCount::add(const Panel &panel)
{
    const PanelKey key = keyOf(panel);
    const int count = ++m_thisRound[key];
    int &most = m_most[key];
    most = std::max(most, std::min(count, m_requests));
}

bool AnswerCount::isAnyMissing() const
{
    return std::any_of(m_most.begin(), m_most.end(), [this](const auto &most) {
        const auto count = m_thisRound.find(most.first);
        return count == m_thisRound.end() || count->second < most.second;
    });
}

class Discovery
{
public:
    Discovery(Exchange &exchange, const Search &search)
        : m_exchange(exchange)
        , m_search(search)
        , m_answers(search.destinations.size())
    {
    }

    PanelList run();

private:
    void say(int round);
    void ask(int round);
    void listen(int round, Clock::time_point deadline);
    bool isComplete() const { return m_search.isComplete && m_search.isComplete(m_panels); }
    bool isInterrupted() const { return m_search.isInterrupted && m_search.isInterrupted(); }
    std::uint32_t lost() const { return m_exchange.transport().overruns() - m_overrunsBefore; }

    Exchange &m_exchange;
    const Search &m_search;
    const Request m_request = m_search.mac ? Request::toMac(MvdpCommand::Identify, *m_search.mac)
                                           : Request::toAll(MvdpCommand::Discover);
    PanelList m_panels;
    AnswerCount m_answers;
    const std::uint32_t m_overrunsBefore = m_exchange.transport().overruns();
    bool m_anySent = false;
    bool m_anyNew = false; // in this round
};

PanelList Discovery::run()
{
    int quiet = 0;
    for (int round = 1; round <= m_search.patience.rounds; ++round) {
        const std::uint32_t lostBefore = lost();
        m_answers.startRound();
        m_anyNew = false;
        say(round);
        ask(round);
        const bool anyLost = lost() != lostBefore || m_answers.isAnyMissing();
        quiet = m_anyNew || anyLost ? 0 : quiet + 1;
        const bool nothingNew = !m_search.isComplete && !m_panels.isEmpty() && quiet >= QuietRounds;
        if (nothingNew || isComplete() || isInterrupted())
            break;
    }
    if (!m_anySent && !isInterrupted())
        m_exchange.failUnsent();
    if (lost() > 0)
        m_exchange.observer().overrun(lost(), m_exchange.transport().receiveBufferBytes());
    return m_panels;
}

// Sends the round's requests and receives until its end.
void Discovery::ask(int round)
{
    std::vector<std::vector<Destination>> steps = {m_search.destinations};
    if (lost() > 0) {
        steps.clear();
        for (const Destination &destination : m_search.destinations)
            steps.push_back({destination});
    }
    const auto time = m_search.patience.timeout / static_cast<int>(steps.size());
    for (const std::vector<Destination> &step : steps) {
        if (isComplete() || isInterrupted())
            return;
        m_anySent = m_exchange.trySend(m_request, step) || m_anySent;
        // A search with a condition continues, because the link may come up again.
        if (!m_anySent && !m_search.isComplete)
            m_exchange.failUnsent();
        listen(round, Clock::now() + time); // sending can take long, where nobody holds an address
    }
}

void Discovery::listen(int round, Clock::time_point deadline)
{
    while (!isComplete() && !isInterrupted()) {
        const auto reply = m_exchange.nextAnswer(m_request, nextLook(deadline));
        if (!reply) {
            if (Clock::now() >= deadline)
                return;
            continue;
        }
        const Panel panel = Panel::fromReply(*reply);
        if (m_panels.size() >= PanelLimit && !m_panels.knows(panel)) {
            m_exchange.countIgnored(Verdict::Answer, *reply);
            continue;
        }
        m_answers.add(panel);
        if (m_panels.add(panel)) {
            m_anyNew = true;
            say(round);
        }
    }
}

void Discovery::say(int round)
{
    m_exchange.observer().progress(QStringLiteral("searching, round %1 of at most %2, panels: %3")
                                       .arg(round)
                                       .arg(m_search.patience.rounds)
                                       .arg(m_panels.size()));
}

} // namespace

PanelList discoverPanels(Exchange &exchange, const Search &search)
{
    return Discovery(exchange, search).run();
}

std::optional<Panel> identifyPanel(Exchange &exchange, const MacAddress &mac,
                                   const std::vector<std::vector<Destination>> &ways,
                                   const Patience &patience, const QString &doing)
{
    const auto answer = exchange.ask(Request::toMac(MvdpCommand::Identify, mac), ways, patience, doing);
    return answer ? std::optional<Panel>(Panel::fromReply(*answer)) : std::nullopt;
}
