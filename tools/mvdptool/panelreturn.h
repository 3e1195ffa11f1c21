#ifndef PANELRETURN_H
#define PANELRETURN_H

#include "exchange.h"
#include "panelwatch.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

// Waiting for panels that restart: each is to be silent first and then to answer again.

// The longest wait for all of them.
constexpr std::chrono::minutes ReturnLimit(5);

// A search asks every half a second. A panel is away when it has not answered in two rounds in a row: a lost
// datagram is none of that, since each round asks in several ways. A restart of less than a second is
// therefore not seen.
constexpr std::chrono::milliseconds ReturnRound(500);
constexpr int ReturnSilentRounds = 2;

// A panel goes on answering while it shuts down. One that has answered all the time for so long has not
// restarted, or too fast to be seen, and is no longer waited for.
constexpr std::chrono::seconds ReturnStayLimit(60);

struct AwaitedPanel {
    enum State {
        Here, // has answered all the time
        Away, // is silent
        Back, // was silent and answers again
    };
    MacAddress mac = {};
    State state = Away;
    Panel panel;                       // its first answer after the silence; only when it is back
    std::chrono::milliseconds after{}; // from the call to that answer; only when it is back
};

// Follows some panels by the events of a PanelWatch. Pure state.
class ReturnWatch
{
public:
    explicit ReturnWatch(const std::vector<MacAddress> &macs);

    // So long after the start. The panel that has come back by this event, else null.
    const AwaitedPanel *take(const PanelEvent &event, std::chrono::milliseconds sinceStart);

    // True when so long after the start no panel is waited for any more.
    bool isOver(std::chrono::milliseconds sinceStart) const;
    // The number of panels that have not come back.
    int missing() const;
    // In the order of the constructor's, each once.
    const std::vector<AwaitedPanel> &panels() const { return m_panels; }

private:
    std::vector<AwaitedPanel> m_panels;
};

// Waits until all these panels have come back, until `limit` or until soon after `isInterrupted`. `onReturn`
// is called for each when it comes back. To be called as soon as the panels were told to restart. They are
// asked in every way, and at `reachedAt` if that is given. Returns what is known of each at the end.
std::vector<AwaitedPanel> awaitReturns(Exchange &exchange, const std::vector<MacAddress> &macs,
                                       std::optional<std::uint32_t> reachedAt,
                                       const std::function<void(const AwaitedPanel &)> &onReturn,
                                       const std::function<bool()> &isInterrupted,
                                       std::chrono::milliseconds limit = ReturnLimit);

#endif // PANELRETURN_H
