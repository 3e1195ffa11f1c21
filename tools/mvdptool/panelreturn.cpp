#include "panelreturn.h"

#include "clock.h"
#include "panelwatcher.h"
#include "toolerror.h"

#include <algorithm>

namespace
{

std::chrono::milliseconds since(Clock::time_point start)
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
}

} // namespace

ReturnWatch::ReturnWatch(const std::vector<MacAddress> &macs)
{
    for (const MacAddress &mac : macs) {
        const auto isSame = [&mac](const AwaitedPanel &panel) { return panel.mac == mac; };
        if (std::none_of(m_panels.begin(), m_panels.end(), isSame))
            m_panels.push_back({mac, AwaitedPanel::Away, {}, {}});
    }
}

const AwaitedPanel *ReturnWatch::take(const PanelEvent &event, std::chrono::milliseconds sinceStart)
{
    for (AwaitedPanel &panel : m_panels) {
        if (panel.mac != event.panel.mac || panel.state == AwaitedPanel::Back)
            continue;
        if (event.kind == PanelEvent::Vanished) {
            panel.state = AwaitedPanel::Away;
        } else if (event.kind == PanelEvent::Appeared) {
            // In the first rounds it was not silent yet, only not heard yet.
            const bool wasSilent = sinceStart > ReturnSilentRounds * ReturnRound;
            panel.state = wasSilent ? AwaitedPanel::Back : AwaitedPanel::Here;
            if (!wasSilent)
                continue;
            panel.panel = event.panel;
            panel.after = sinceStart;
            return &panel;
        }
    }
    return nullptr;
}

bool ReturnWatch::isOver(std::chrono::milliseconds sinceStart) const
{
    return std::all_of(m_panels.begin(), m_panels.end(), [sinceStart](const AwaitedPanel &panel) {
        return panel.state == AwaitedPanel::Back ||
               (panel.state == AwaitedPanel::Here && sinceStart >= ReturnStayLimit);
    });
}

int ReturnWatch::missing() const
{
    return static_cast<int>(std::count_if(m_panels.begin(), m_panels.end(), [](const AwaitedPanel &panel) {
        return panel.state != AwaitedPanel::Back;
    }));
}

std::vector<AwaitedPanel> awaitReturns(Exchange &exchange, const std::vector<MacAddress> &macs,
                                       std::optional<std::uint32_t> reachedAt,
                                       const std::function<void(const AwaitedPanel &)> &onReturn,
                                       const std::function<bool()> &isInterrupted,
                                       std::chrono::milliseconds limit)
{
    const auto start = Clock::now();
    ReturnWatch watch(macs);
    PanelWatcher watcher(exchange, {ReturnSilentRounds, ReturnRound}, reachedAt);
    try {
        watcher.start();
    } catch (const ToolError &) {
        // A panel at the other end of the cable takes the link down when it restarts. The watcher goes on.
    }
    const auto onEvent = [&watch, &onReturn, start](const PanelEvent &event) {
        if (const AwaitedPanel *panel = watch.take(event, since(start)))
            onReturn(*panel);
    };
    const auto isOver = [&] {
        const auto now = since(start);
        exchange.observer().progress(QStringLiteral("waiting for %1 of %2 panels, %3 s")
                                         .arg(watch.missing())
                                         .arg(watch.panels().size())
                                         .arg(now.count() / 1000));
        return watch.isOver(now) || now >= limit || isInterrupted();
    };
    watcher.run(onEvent, isOver);
    return watch.panels();
}
