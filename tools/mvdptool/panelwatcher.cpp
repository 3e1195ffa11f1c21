#include "panelwatcher.h"

#include "clock.h"
#include "discovery.h"
#include "ways.h"

PanelWatcher::PanelWatcher(Exchange &exchange, const Patience &patience,
                           std::optional<std::uint32_t> reachedAt)
    : m_exchange(exchange)
    , m_patience(patience)
    , m_destinations(everyWay(exchange.transport(), reachedAt))
    , m_watch(patience.rounds)
    , m_request(Request::toAll(MvdpCommand::Discover))
{
}

void PanelWatcher::start()
{
    m_exchange.send(m_request, m_destinations);
}

void PanelWatcher::run(const std::function<void(const PanelEvent &)> &onEvent,
                       const std::function<bool()> &isInterrupted)
{
    for (;;) {
        listen(onEvent, isInterrupted);
        if (isInterrupted())
            return;
        for (const PanelEvent &event : m_watch.endRound())
            onEvent(event);
        ask();
    }
}

// A failure to send, as with a pulled cable, does not end the watch: the user wants to see that the panels
// vanish.
void PanelWatcher::ask()
{
    const bool canSend = m_exchange.trySend(m_request, m_destinations);
    if (m_couldSend && !canSend)
        m_exchange.observer().warning(QStringLiteral("nothing can be sent at the moment; still watching"));
    m_couldSend = canSend;
}

void PanelWatcher::listen(const std::function<void(const PanelEvent &)> &onEvent,
                          const std::function<bool()> &isInterrupted)
{
    const auto deadline = Clock::now() + m_patience.timeout;
    while (!isInterrupted()) {
        const auto reply = m_exchange.nextAnswer(m_request, nextLook(deadline));
        if (!reply) {
            if (Clock::now() >= deadline)
                return;
            continue;
        }
        const Panel panel = Panel::fromReply(*reply);
        if (m_watch.size() >= PanelLimit && !m_watch.knows(panel))
            m_exchange.countIgnored(Verdict::Answer, *reply);
        else if (const auto event = m_watch.hear(panel))
            onEvent(*event);
    }
}
