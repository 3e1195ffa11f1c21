#ifndef PANELWATCHER_H
#define PANELWATCHER_H

#include "exchange.h"
#include "panelwatch.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

// Searches for panels round by round and reports the changes.
class PanelWatcher
{
public:
    // A round is as long as the patience's timeout. A panel that does not answer in as many rounds in a row
    // as the patience has, has vanished.
    // The watcher asks in every way, and at `reachedAt` if that is given; see ways.h.
    PanelWatcher(Exchange &exchange, const Patience &patience,
                 std::optional<std::uint32_t> reachedAt = std::nullopt);

    // Sends the first request. Throws ToolError when nothing can be sent.
    void start();
    // Receives answers and repeats the request, until soon after `isInterrupted` is true. A request that
    // cannot be sent is only a warning here.
    void run(const std::function<void(const PanelEvent &)> &onEvent,
             const std::function<bool()> &isInterrupted);

    // The number of panels that are there.
    std::size_t size() const { return m_watch.size(); }

private:
    void ask();
    void listen(const std::function<void(const PanelEvent &)> &onEvent,
                const std::function<bool()> &isInterrupted);

    Exchange &m_exchange;
    Patience m_patience;
    std::vector<Destination> m_destinations;
    PanelWatch m_watch;
    Request m_request;
    bool m_couldSend = true;
};

#endif // PANELWATCHER_H
