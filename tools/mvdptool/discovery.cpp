#include "discovery.h"

#include <algorithm>
#include <map>

namespace
{

const int QuietRounds = 2;

// Counts how many of a round's requests each panel answered. A panel that answered more in an earlier round
// shows that datagrams are lost.
class AnswerCount
{
public:
    void startRound() { m_thisRound.clear(); }
    void add(const Panel &panel);
    bool isAnyMissing() const;

private:
    std::map<PanelKey, int> m_thisRound;
    std::map<PanelKey, int> m_most;
};

void AnswerCount::add(const Panel &panel)
{
    const PanelKey key = keyOf(panel);
    const int count = ++m_thisRound[key];
    int &most = m_most[key];
    most = std::max(most, count);
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
    {
    }

    PanelList run();

private:
    void say(int round);
    // True when the round brought a new panel.
    bool listen(int round);
    bool isComplete() const { return m_search.isComplete && m_search.isComplete(m_panels); }

    Exchange &m_exchange;
    const Search &m_search;
    const Request m_request = Request::toAll(MvdpCommand::Discover);
    PanelList m_panels;
    AnswerCount m_answers;
};

PanelList Discovery::run()
{
    int quiet = 0;
    bool anySent = false;
    for (int round = 1; round <= m_search.patience.rounds; ++round) {
        say(round);
        anySent = m_exchange.trySend(m_request, m_search.destinations) || anySent;
        // A search with a condition continues, because the link may come up again.
        if (!anySent && !m_search.isComplete)
            m_exchange.failUnsent();
        m_answers.startRound();
        const bool anyNew = listen(round);
        quiet = anyNew || m_answers.isAnyMissing() ? 0 : quiet + 1;
        const bool nothingNew = !m_search.isComplete && !m_panels.isEmpty() && quiet >= QuietRounds;
        if (nothingNew || isComplete())
            break;
    }
    if (!anySent)
        m_exchange.failUnsent();
    return m_panels;
}

bool Discovery::listen(int round)
{
    bool anyNew = false;
    const auto deadline = Clock::now() + m_search.patience.timeout;
    while (const auto reply = m_exchange.nextAnswer(m_request, deadline)) {
        const Panel panel = Panel::fromReply(*reply);
        if (m_panels.size() >= PanelLimit && !m_panels.knows(panel)) {
            m_exchange.countIgnored(Verdict::Answer, *reply);
            continue;
        }
        m_answers.add(panel);
        if (m_panels.add(panel)) {
            anyNew = true;
            say(round);
        }
        if (isComplete())
            break;
    }
    return anyNew;
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
