#include "command.h"
#include "discovery.h"
#include "interrupt.h"
#include "panelreport.h"
#include "selection.h"
#include "session.h"

#include <algorithm>

namespace
{

// What to ask and what to show, by the words of the command line. Addresses alone are asked directly and
// nothing else is; any other word is looked for among all panels.
struct Wish {
    std::vector<PanelName> names;
    bool isDirect = false;
    std::vector<std::uint32_t> expected; // with isDirect: the addresses that one panel each is to answer from

    bool fits(const Panel &panel) const
    {
        return names.empty() || isDirect ||
               std::any_of(names.begin(), names.end(),
                           [&panel](const PanelName &name) { return name.fits(panel); });
    }
};

Wish wishOf(const Session &session)
{
    Wish wish;
    for (const QString &word : session.arguments.words())
        wish.names.push_back(panelNameFromText(word, session.names));
    const auto isAddress = [](const PanelName &name) { return name.address.has_value(); };
    wish.isDirect = !wish.names.empty() && std::all_of(wish.names.begin(), wish.names.end(), isAddress);
    for (const PanelName &name : wish.names) {
        const bool isOfMany = name.address && session.transport.reachesMany(*name.address);
        if (isOfMany && !wish.isDirect)
            throwUsage(QStringLiteral("%1 is not the address of one panel").arg(name.text));
        if (wish.isDirect && !isOfMany)
            wish.expected.push_back(*name.address);
    }
    return wish;
}

Search searchFor(const Wish &wish, const Session &session, const InterruptGuard &guard)
{
    Search search = {{}, session.arguments.patience(SearchRounds, SearchTimeout), {}};
    search.isInterrupted = [&guard] { return guard.isInterrupted(); };
    if (!wish.isDirect)
        search.destinations = session.transport.everywhere();
    for (const PanelName &name : wish.names) {
        if (!name.address || (!wish.isDirect && !Transport::hasRouteTo(*name.address)))
            continue;
        const auto towards = session.transport.towards(*name.address);
        search.destinations.insert(search.destinations.end(), towards.begin(), towards.end());
    }
    if (wish.isDirect && wish.expected.size() == wish.names.size()) {
        search.isComplete = [expected = wish.expected](const PanelList &panels) {
            return std::all_of(expected.begin(), expected.end(),
                               [&panels](std::uint32_t address) { return panels.hasAnswered(address); });
        };
    }
    return search;
}

// Says which words nobody answered to.
ExitCode reportMissing(const Wish &wish, const PanelList &panels, const Session &session)
{
    ExitCode code = ExitCode::Done;
    for (const std::uint32_t address : wish.expected) {
        if (!panels.hasAnswered(address)) {
            session.terminal.error(QStringLiteral("no panel answered at %1").arg(ipv4Text(address)));
            code = ExitCode::NoAnswer;
        }
    }
    if (code != ExitCode::Done)
        session.terminal.error(
            QStringLiteral("Search everywhere with 'mvdpctl discover': they may have other addresses."));
    for (const PanelName &name : wish.names) {
        if (!wish.isDirect && matches(name, panels).empty()) {
            session.terminal.error(misfitText(name, panels, session));
            code = ExitCode::NoAnswer;
        }
    }
    return code;
}

ExitCode run(const Arguments &arguments, Terminal &terminal)
{
    Session session(arguments, terminal);
    const Wish wish = wishOf(session);
    // Ctrl-C ends the search with what was found.
    const InterruptGuard guard;
    const PanelList panels = discoverPanels(session.exchange, searchFor(wish, session, guard));
    for (const PanelName &name : wish.names) {
        if (matches(name, panels).empty())
            refuseMistyped(name, panels, session);
    }
    reportPanels(
        panels, [&wish](const Panel &panel) { return wish.fits(panel); }, session);
    session.noteIgnored();
    if (guard.isInterrupted())
        terminal.note(QStringLiteral("Interrupted; there may be more."));
    if (panels.isEmpty() && !wish.expected.empty())
        reportMissing(wish, panels, session);
    if (panels.isEmpty())
        throw Failure{ExitCode::NoAnswer, QStringLiteral("no panel answered"), session.noAnswerAdvice()};
    return reportMissing(wish, panels, session);
}

} // namespace

const Command DiscoverCommand = {
    "discover",
    "[PANEL... | ADDRESS...]",
    "Find panels.",
    "Asks by broadcast and multicast on every network interface, in at most --rounds\n"
    "(6) rounds of --timeout (0.5) seconds, until two in a row bring nothing new and\n"
    "lose no answers; more --rounds help where the network loses many. Ctrl-C ends\n"
    "with what was found. Shows all panels, or those that one of the words fits; when\n"
    "all words are addresses, only those are asked. A panel answers an address\n"
    "outside its own subnet by broadcast or to the multicast group 224.0.5.128, so\n"
    "panels with foreign addresses on the same wire are found if they have a gateway;\n"
    "from behind a router they are heard only where it routes that group back. In\n"
    "the table * marks an address that several panels hold, and ! one that is on no\n"
    "subnet of the interface that heard it.",
    {{}, 0, MostPanels},
    run,
};
