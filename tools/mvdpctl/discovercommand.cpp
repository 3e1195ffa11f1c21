#include "command.h"
#include "discovery.h"
#include "marklines.h"
#include "session.h"

#include <QtCore/QJsonArray>

#include <algorithm>

namespace
{

void report(const PanelList &panels, Session &session)
{
    const auto &interfaces = session.transport.interfaces();
    const std::vector<Panel> sorted = panels.sorted();
    const std::vector<Marks> marks = marksOf(panels, interfaces);
    const QString marksMember = QStringLiteral("marks");
    Writer &writer = *session.writer;
    writer.beginList(panelColumns() << marksMember, QStringLiteral("panels"));
    for (std::size_t index = 0; index < sorted.size(); ++index) {
        QJsonObject record = session.json(sorted[index]);
        record.insert(marksMember, QJsonArray::fromStringList(markNames(marks[index])));
        writer.add(record);
    }
    writer.endList(session.exchange.ignored());
    if (panels.isEmpty())
        return;
    writer.print(panelTable(sorted, marks, session.terminal.columns()));
    writer.note(panels.size() == 1 ? QStringLiteral("1 panel.")
                                   : QStringLiteral("%1 panels.").arg(panels.size()));
    for (const QString &line : markLines(markNotes(panels, interfaces)))
        writer.note(line);
}

// A search at the given addresses, or everywhere. `expected` receives the addresses that one panel each is to
// answer from.
Search searchOf(const std::vector<std::uint32_t> &addresses, const Session &session,
                std::vector<std::uint32_t> &expected)
{
    Search search = {{}, session.arguments.patience(SearchRounds, SearchTimeout), {}};
    if (addresses.empty())
        search.destinations = session.transport.everywhere();
    for (const std::uint32_t address : addresses) {
        const auto towards = session.transport.towards(address);
        search.destinations.insert(search.destinations.end(), towards.begin(), towards.end());
        if (!session.transport.reachesMany(address))
            expected.push_back(address);
    }
    if (!addresses.empty() && expected.size() == addresses.size()) {
        search.isComplete = [expected](const PanelList &panels) {
            return std::all_of(expected.begin(), expected.end(),
                               [&panels](std::uint32_t address) { return panels.hasAnswered(address); });
        };
    }
    return search;
}

ExitCode run(const Arguments &arguments, Terminal &terminal)
{
    std::vector<std::uint32_t> addresses;
    for (const QString &word : arguments.words())
        addresses.push_back(addressArgument(word));
    Session session(arguments, terminal);
    std::vector<std::uint32_t> expected;
    const Search search = searchOf(addresses, session, expected);
    const PanelList panels = discoverPanels(session.exchange, search);

    report(panels, session);
    session.noteIgnored();
    if (panels.isEmpty())
        throw Failure{ExitCode::NoAnswer, QStringLiteral("no panel answered"), session.noAnswerAdvice()};
    ExitCode code = ExitCode::Done;
    for (const std::uint32_t address : expected) {
        if (!panels.hasAnswered(address)) {
            terminal.error(QStringLiteral("no panel answered at %1").arg(ipv4Text(address)));
            code = ExitCode::NoAnswer;
        }
    }
    if (code != ExitCode::Done)
        terminal.error(
            QStringLiteral("Search everywhere with 'mvdpctl discover': they may have other addresses."));
    return code;
}

} // namespace

const Command DiscoverCommand = {
    "discover",
    "[ADDRESS...]",
    "Find panels.",
    "Asks by broadcast and multicast on every network interface, or only the given\n"
    "addresses, in at most --rounds (6) rounds of --timeout (0.5) seconds, until two\n"
    "in a row bring nothing new and lose no answers; more --rounds help where the\n"
    "network loses many. A panel answers an address outside its own subnet by\n"
    "broadcast or to the multicast group 224.0.5.128, so panels with foreign\n"
    "addresses on the same wire are found if they have a gateway; from behind a\n"
    "router they are heard only where it routes that group back. In the table *\n"
    "marks an address that several panels hold, and ! one that is on no subnet of\n"
    "the interface that heard it.",
    {{}, 0, 10000},
    run,
};
