#ifndef PLANEXECUTION_H
#define PLANEXECUTION_H

#include "exchange.h"
#include "plan.h"
#include "settingschange.h"

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

// Carries out a plan step by step and tracks which panel holds which address.
class PlanExecution
{
public:
    // `panels` are those that were found. The patience applies to each panel; for `reachedAt` see ways.h,
    // for `wait` settingschange.h.
    PlanExecution(Exchange &exchange, const PanelList &panels, const Patience &patience,
                  std::optional<std::uint32_t> reachedAt,
                  const std::optional<SettingsWait> &wait = std::nullopt);

    // Applies the step's settings to its panel and stores the panel's last reply in the step. Blocked when
    // another panel still holds the address, unless it is forced or the step opens a circle. What this
    // computer cannot send is reported to the observer as an error.
    SetResult carryOut(PlanStep &step, bool isForced);

    bool isHeldByAnother(std::uint32_t address, const MacAddress &own) const;

private:
    bool isBlocked(const PlanStep &step) const;
    SetResult send(PlanStep &step);

    Exchange &m_exchange;
    Patience m_patience;
    std::optional<std::uint32_t> m_reachedAt;
    std::optional<SettingsWait> m_wait;
    // Of all panels, as last known.
    std::vector<std::pair<MacAddress, std::vector<std::uint32_t>>> m_addresses;
};

#endif // PLANEXECUTION_H
