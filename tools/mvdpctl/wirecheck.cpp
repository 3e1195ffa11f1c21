#include "wirecheck.h"

#include "addressprobe.h"
#include "settingscheck.h"

#include <algorithm>
#include <vector>

namespace
{

// False for an address to which others object anyway: no host may have it, or a panel that was found or this
// computer holds it.
bool isToBeAskedFor(std::uint32_t address, const PanelList &panels, const Session &session)
{
    const NetworkSettings alone = {address, netmaskOfPrefix(32), 0};
    const std::vector<Panel> found = panels.sorted();
    const auto &interfaces = session.transport.localInterfaces();
    return settingsObjections(alone).isEmpty() && !session.transport.reachesMany(address) &&
           std::none_of(found.begin(), found.end(),
                        [address](const Panel &panel) { return panel.holds(address); }) &&
           std::none_of(interfaces.begin(), interfaces.end(), [address](const NetworkInterface &interface) {
               return interface.hasAddress(address);
           });
}

ProbeResult probe(const std::vector<std::uint32_t> &addresses, Session &session)
{
    if (addresses.empty())
        return {};
    session.terminal.progress(QStringLiteral("asking who holds the new addresses"));
    ProbeResult result = probeAddresses(addresses, session.transport);
    tellProbe(addresses, result, session);
    return result;
}

} // namespace

void tellProbe(const std::vector<std::uint32_t> &addresses, const ProbeResult &result, Session &session)
{
    // Scripts, too, have to know what was not found out.
    if (result.unasked.empty())
        session.writer->note(probeNote(addresses, result));
    else
        session.terminal.warn(probeNote(addresses, result));
}

QStringList strangersAt(std::uint32_t address, const Panel &panel, const PanelList &panels, Session &session)
{
    if (!isToBeAskedFor(address, panels, session))
        return {};
    return strangerObjections(address, {panel.mac}, panels, probe({address}, session));
}

void objectToStrangers(Plan &plan, const PanelList &panels, Session &session)
{
    std::vector<std::uint32_t> addresses;
    for (const PlanStep &step : plan.steps) {
        if (step.isChange() && isToBeAskedFor(step.wanted.address, panels, session))
            addresses.push_back(step.wanted.address);
    }
    objectToStrangers(plan, panels, probe(addresses, session));
}
