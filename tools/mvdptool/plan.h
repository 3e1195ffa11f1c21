#ifndef PLAN_H
#define PLAN_H

#include "addressprobe.h"
#include "planfile.h"
#include "settingscheck.h"

#include <QtCore/QStringList>

#include <functional>
#include <optional>
#include <vector>

// One panel of a plan with what a search found of it.
struct PlanStep {
    PlanEntry entry;
    std::optional<Panel> now; // nothing: not found
    NetworkSettings wanted = {};
    // Several panels take each other's addresses in a circle, and this one is changed first. Two panels then
    // hold one address for a moment.
    bool opensCircle = false;
    bool isWhereItTells = true; // the panel has the address that it reports; see whereabouts.h
    bool isObjectedTo = false;

    bool isFound() const { return now.has_value(); }
    bool isAlreadySo() const { return now && isWhereItTells && hasSettings(*now, wanted); }
    bool isChange() const { return now && !isAlreadySo(); }
};

struct Plan {
    // First the panels that need no change or were not found, then the changes. Their order frees every
    // address before another panel takes it.
    std::vector<PlanStep> steps;
    // Why the plan would not work, each with the place of the step and its panel. Judges the final state:
    // panels may exchange addresses.
    QStringList objections;

    // The step is one of `steps`.
    void object(PlanStep &step, const QString &sentence);
};

// `interfaces` are all of this computer; `isWhereItTells` does what the function in whereabouts.h does.
Plan makePlan(const std::vector<PlanEntry> &entries, const PanelList &panels,
              const std::vector<NetworkInterface> &interfaces,
              const std::function<bool(const Panel &)> &isWhereItTells);

// Objects to changes whose addresses something holds that is no panel. The panels that the plan changes may
// hold any of them.
void objectToStrangers(Plan &plan, const PanelList &panels, const ProbeResult &result);

#endif // PLAN_H
