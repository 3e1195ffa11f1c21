#ifndef PLANEXECUTION_H
#define PLANEXECUTION_H

#include "exchange.h"
#include "plan.h"
#include "settingschange.h"

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

// Carries out a plan step by step and keeps track of who has which address meanwhile.
class PlanExecution
{
public:
    // `panels` are those that were found. The patience is with each panel; `reachedAt` as in ways.h.
    PlanExecution(Exchange &exchange, const PanelList &panels, const Patience &patience,
                  std::optional<std::uint32_t> reachedAt);

    // Sets the panel of the step and takes over into the step what the panel told last. An address that
    // another panel still holds is Blocked, unless it is forced or the step opens a circle. What this
    // computer cannot send is told to the observer as an error.
    SetResult carryOut(PlanStep &step, bool isForced);

    bool isHeldByAnother(std::uint32_t address, const MacAddress &own) const;

private:
    bool isBlocked(const PlanStep &step) const;
    SetResult send(PlanStep &step);

    Exchange &m_exchange;
    Patience m_patience;
    std::optional<std::uint32_t> m_reachedAt;
    // Of all panels, as far as known by now.
    std::vector<std::pair<MacAddress, std::vector<std::uint32_t>>> m_addresses;
};

#endif // PLANEXECUTION_H
