#ifndef PLAN_H
#define PLAN_H

#include "planfile.h"
#include "settingscheck.h"

#include <QtCore/QStringList>

#include <functional>
#include <optional>
#include <vector>

// One panel of a plan beside what a search found of it.
struct PlanStep {
    PlanEntry entry;
    std::optional<Panel> now; // nothing: not found
    NetworkSettings wanted = {};
    // It takes the address of a panel that in turn waits for another one's, round in a circle. One of them
    // has to go first, and two panels then hold one address for a moment.
    bool opensCircle = false;
    bool isWhereItTells = true; // see whereabouts.h

    bool isFound() const { return now.has_value(); }
    bool isAlreadySo() const { return now && isWhereItTells && hasSettings(*now, wanted); }
    bool isChange() const { return now && !isAlreadySo(); }
};

struct Plan {
    // First those that need nothing or were not found, then the changes in an order in which every address is
    // given up before it is taken.
    std::vector<PlanStep> steps;
    // Why the plan would not work. Looks at the end of the plan: panels may exchange addresses.
    QStringList objections;
};

// `interfaces` are all of this computer, `isWhereItTells` that of whereabouts.h.
Plan makePlan(const std::vector<PlanEntry> &entries, const PanelList &panels,
              const std::vector<NetworkInterface> &interfaces,
              const std::function<bool(const Panel &)> &isWhereItTells);

#endif // PLAN_H
