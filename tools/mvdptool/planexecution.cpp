#include "planexecution.h"

#include "toolerror.h"
#include "whereabouts.h"

#include <algorithm>

PlanExecution::PlanExecution(Exchange &exchange, const PanelList &panels, const Patience &patience,
                             std::optional<std::uint32_t> reachedAt, const std::optional<SettingsWait> &wait)
    : m_exchange(exchange)
    , m_patience(patience)
    , m_reachedAt(reachedAt)
    , m_wait(wait)
{
    for (const Panel &panel : panels.sorted())
        m_addresses.emplace_back(panel.mac, panel.heldAddresses());
}

SetResult PlanExecution::carryOut(PlanStep &step, bool isForced)
{
    if (!step.isFound())
        return unsent(Outcome::NotFound);
    if (step.isAlreadySo())
        return unsent(Outcome::AlreadySo);
    if (isBlocked(step) && !isForced)
        return unsent(Outcome::Blocked);
    try {
        return send(step);
    } catch (const ToolError &error) {
        // Other panels may still be reachable.
        m_exchange.observer().error(error.message);
        return unsent(Outcome::Trouble);
    }
}

bool PlanExecution::isBlocked(const PlanStep &step) const
{
    const bool movesIn = !step.isWhereItTells || step.now->address != step.wanted.address;
    return movesIn && !step.opensCircle && isHeldByAnother(step.wanted.address, step.entry.mac);
}

SetResult PlanExecution::send(PlanStep &step)
{
    SetResult result = applySettings(m_exchange, *step.now, step.wanted, m_patience, m_reachedAt, m_wait);
    step.isWhereItTells = result.outcome == Outcome::Applied ||
                          isShownToBeThere(*step.now, m_exchange.transport().localInterfaces());
    for (auto &[mac, addresses] : m_addresses) {
        if (mac == step.entry.mac)
            addresses = step.now->heldAddresses();
    }
    return result;
}

bool PlanExecution::isHeldByAnother(std::uint32_t address, const MacAddress &own) const
{
    return std::any_of(m_addresses.begin(), m_addresses.end(), [address, &own](const auto &holder) {
        const auto &addresses = holder.second;
        return holder.first != own &&
               std::find(addresses.begin(), addresses.end(), address) != addresses.end();
    });
}
