#include "command.h"
#include "discovery.h"
#include "session.h"
#include "target.h"
#include "ways.h"

namespace
{

// A search finds panels by broadcast; the output shows the answer to a request to this panel alone.
std::optional<Panel> identify(const Panel &found, Session &session)
{
    return identifyPanel(session.exchange, found.mac, waysTo(found, session.transport, session.reachedAt()),
                         session.searchPatience(), QStringLiteral("asking"));
}

ExitCode run(const Arguments &arguments, Terminal &terminal)
{
    const PanelName name = panelNameFromText(arguments.words().first());
    Session session(arguments, terminal);
    const Panel found = findTarget(session);
    // A panel named by its MAC address has already answered such a request.
    const auto panel = name.mac ? found : identify(found, session);
    if (!panel)
        throw Failure{ExitCode::NoAnswer, QStringLiteral("%1 is not heard any more").arg(panelLabel(found)),
                      session.noAnswerAdvice()};
    session.writer->record(panelColumns(), session.json(*panel));
    session.writer->print(panelDetails(*panel, session.interfaceNames()));
    session.noteIgnored();
    return ExitCode::Done;
}

} // namespace

const Command IdentifyCommand = {
    "identify",
    "PANEL",
    "Show the identity of one panel.",
    "A MAC address is asked for everywhere, so that its IP address need not be known\n"
    "nor be reachable. Otherwise all panels are searched for first.",
    {{ToOption}, 1, 1},
    run,
};
