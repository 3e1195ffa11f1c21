#ifndef PANELWATCHER_H
#define PANELWATCHER_H

#include "exchange.h"
#include "panelwatch.h"

#include <cstddef>
#include <functional>

// Asks for panels round by round and tells what becomes of them.
class PanelWatcher
{
public:
    // A round is as long as the patience's timeout; a panel that does not answer in as many rounds as the
    // patience has, one after the other, has vanished.
    PanelWatcher(Exchange &exchange, const Patience &patience);

    // Asks for the first time. Throws ToolError when nothing can be sent.
    void start();
    // Listens and asks again, until soon after `isInterrupted` is true. That nothing can be sent any more is
    // a warning then.
    void run(const std::function<void(const PanelEvent &)> &onEvent,
             const std::function<bool()> &isInterrupted);

    // How many panels are there.
    std::size_t size() const { return m_watch.size(); }

private:
    void ask();
    void listen(const std::function<void(const PanelEvent &)> &onEvent,
                const std::function<bool()> &isInterrupted);

    Exchange &m_exchange;
    Patience m_patience;
    PanelWatch m_watch;
    Request m_request;
    bool m_couldSend = true;
};

#endif // PANELWATCHER_H
