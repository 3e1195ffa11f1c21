#include "plan.h"

#include <algorithm>
#include <list>
#include <map>
#include <set>

namespace
{

PlanStep stepOf(const PlanEntry &entry, const PanelList &panels,
                const std::function<bool(const Panel &)> &isWhereItTells)
{
    PlanStep step;
    step.entry = entry;
    if (const Panel *found = panels.find(entry.mac))
        step.now = *found;
    step.isWhereItTells = !step.now || isWhereItTells(*step.now);
    step.wanted = entry.wanted.over(step.now.value_or(Panel()));
    return step;
}

// The holders of each address after the plan.
std::map<std::uint32_t, std::vector<MacAddress>> finalHolders(const std::vector<PlanStep> &steps,
                                                              const PanelList &panels)
{
    std::map<std::uint32_t, std::vector<MacAddress>> holders;
    std::map<MacAddress, bool> isPlanned;
    for (const PlanStep &step : steps) {
        isPlanned[step.entry.mac] = true;
        if (step.wanted.address != 0)
            holders[step.wanted.address].push_back(step.entry.mac);
    }
    for (const Panel &panel : panels.sorted()) {
        if (isPlanned.count(panel.mac) > 0)
            continue;
        for (const std::uint32_t address : panel.heldAddresses())
            holders[address].push_back(panel.mac);
    }
    return holders;
}

QStringList objectionsTo(const PlanStep &step, const PanelList &panels,
                         const std::vector<NetworkInterface> &interfaces)
{
    const auto heardOn = interfacesAmong(interfaces, panels.interfacesOf(step.entry.mac));
    // Checks only this computer's own addresses; conflicts between panels are checked for the plan as a
    // whole.
    return targetObjections(step.entry.mac, panels) + settingsObjections(step.wanted) +
           holderObjections(step.wanted.address, step.entry.mac, {}, interfaces) +
           cableObjections(step.wanted.address, heardOn, interfaces) +
           deafnessObjections(step.wanted, *step.now, heardOn);
}

void addObjections(Plan &plan, const PanelList &panels, const std::vector<NetworkInterface> &interfaces)
{
    const auto holders = finalHolders(plan.steps, panels);
    for (PlanStep &step : plan.steps) {
        if (step.isChange()) {
            for (const QString &objection : objectionsTo(step, panels, interfaces))
                plan.object(step, objection);
        }
        const auto held = holders.find(step.wanted.address);
        if (step.isAlreadySo() || held == holders.end())
            continue;
        for (const MacAddress &other : held->second) {
            if (other != step.entry.mac)
                plan.object(step, QStringLiteral("The address %1 would be that of %2, too.")
                                      .arg(ipv4Text(step.wanted.address), macText(other)));
        }
    }
}

// Orders the changes so that an address is freed before another panel takes it.
void order(std::list<PlanStep> waiting, std::vector<PlanStep> &result)
{
    std::map<std::uint32_t, int> held; // by panels whose change is still to come
    for (const PlanStep &step : waiting) {
        for (const std::uint32_t address : step.now->heldAddresses())
            ++held[address];
    }
    const auto isFree = [&held](const PlanStep &step) {
        if (step.isWhereItTells && step.wanted.address == step.now->address)
            return true;
        return held[step.wanted.address] == (step.now->holds(step.wanted.address) ? 1 : 0);
    };
    while (!waiting.empty()) {
        auto next = std::find_if(waiting.begin(), waiting.end(), isFree);
        const bool isCircle = next == waiting.end();
        if (isCircle)
            next = waiting.begin();
        next->opensCircle = isCircle;
        for (const std::uint32_t address : next->now->heldAddresses())
            --held[address];
        result.push_back(std::move(*next));
        waiting.erase(next);
    }
}

} // namespace

void Plan::object(PlanStep &step, const QString &sentence)
{
    step.isObjectedTo = true;
    objections << QStringLiteral("%1: %2: ").arg(step.entry.place, macText(step.entry.mac)) + sentence;
}

Plan makePlan(const std::vector<PlanEntry> &entries, const PanelList &panels,
              const std::vector<NetworkInterface> &interfaces,
              const std::function<bool(const Panel &)> &isWhereItTells)
{
    Plan plan;
    for (const PlanEntry &entry : entries)
        plan.steps.push_back(stepOf(entry, panels, isWhereItTells));
    addObjections(plan, panels, interfaces);
    std::list<PlanStep> changes;
    std::vector<PlanStep> others;
    for (PlanStep &step : plan.steps) {
        if (step.isChange())
            changes.push_back(std::move(step));
        else
            others.push_back(std::move(step));
    }
    plan.steps = std::move(others);
    order(std::move(changes), plan.steps);
    return plan;
}

void objectToStrangers(Plan &plan, const PanelList &panels, const ProbeResult &result)
{
    std::set<MacAddress> changed;
    for (const PlanStep &step : plan.steps) {
        if (step.isChange())
            changed.insert(step.entry.mac);
    }
    for (PlanStep &step : plan.steps) {
        if (!step.isChange())
            continue;
        for (const QString &objection : strangerObjections(step.wanted.address, changed, panels, result))
            plan.object(step, objection);
    }
}
