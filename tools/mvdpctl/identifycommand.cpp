#include "command.h"
#include "discovery.h"
#include "interrupt.h"
#include "panelreport.h"
#include "selection.h"
#include "session.h"
#include "target.h"
#include "ways.h"

#include <set>

namespace
{

const int DirectRounds = 2;

// A search finds panels by broadcast; the output shows the answer to a request to this panel alone.
std::optional<Panel> identify(const Panel &found, Session &session)
{
    return identifyPanel(session.exchange, found.mac, waysTo(found, session.transport, session.reachedAt()),
                         session.searchPatience(), QStringLiteral("asking"));
}

// The panel that answers at the address; nothing when none does within a second.
std::optional<Panel> askAt(const PanelName &name, Session &session)
{
    const std::uint32_t address = *name.address;
    if (!Transport::hasRouteTo(address))
        return std::nullopt;
    Search search = {session.transport.towards(address), session.searchPatience(), {}};
    search.patience.rounds = std::min(search.patience.rounds, DirectRounds);
    search.isComplete = [address](const PanelList &panels) { return panels.hasAnswered(address); };
    const std::vector<Panel> found = matches(name, discoverPanels(session.exchange, search));
    return found.size() == 1 ? std::optional<Panel>(found.front()) : std::nullopt;
}

Panel find(const PanelName &name, Session &session)
{
    if (name.address && !session.reachedAt()) {
        if (const auto panel = askAt(name, session))
            return *panel;
    }
    const Panel found = findTarget(name, session);
    // A panel named by its MAC address has already answered such a request.
    const auto panel = name.mac ? found : identify(found, session);
    if (!panel)
        throw Failure{ExitCode::NoAnswer,
                      QStringLiteral("%1 is not heard any more").arg(session.label(found)),
                      session.noAnswerAdvice()};
    return *panel;
}

ExitCode identifyOne(const PanelName &name, Session &session)
{
    const Panel panel = find(name, session);
    session.writer->record(panelColumns() + labelColumns(), session.json(panel));
    session.writer->print(session.details(panel));
    session.noteIgnored();
    return ExitCode::Done;
}

ExitCode identifySeveral(const std::vector<PanelName> &names, Session &session)
{
    Selection selection = selectPanels(names, session.arguments.isSet("all"), session);
    std::set<PanelKey> heard;
    ExitCode code = ExitCode::Done;
    const InterruptGuard guard;
    for (const Selected &selected : selection.items) {
        const auto panel =
            selected.panel && !guard.isInterrupted() ? identify(*selected.panel, session) : selected.panel;
        if (panel) {
            selection.panels.add(*panel);
            heard.insert(keyOf(*panel));
            continue;
        }
        session.terminal.error(
            selected.panel
                ? QStringLiteral("%1 is not heard any more").arg(session.label(*selected.panel))
                : misfitText(panelNameFromText(selected.word, session.names), selection.panels, session));
        code = ExitCode::NoAnswer;
    }
    reportPanels(
        selection.panels, [&heard](const Panel &panel) { return heard.count(keyOf(panel)) > 0; }, session);
    session.noteIgnored();
    return code;
}

ExitCode run(const Arguments &arguments, Terminal &terminal)
{
    Session session(arguments, terminal);
    const std::vector<PanelName> names = selectedNames(session);
    return isForSeveral(arguments) ? identifySeveral(names, session) : identifyOne(names.front(), session);
}

} // namespace

const Command IdentifyCommand = {
    "identify",
    PanelsSynopsis,
    "Show the identity of panels.",
    "A MAC address is asked for everywhere, so that its IP address need not be known\n"
    "nor be reachable. An IP address is asked directly first. Otherwise all panels\n"
    "are searched for. One panel is shown in full, several in a table.",
    {{AllOption, ToOption}, 0, MostPanels},
    run,
};
