#include "command.h"
#include "exchange.h"
#include "output.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>

#include <algorithm>

namespace
{

void printJson(const PanelList &panels, const Exchange &exchange, const InterfaceNames &interfaceName,
               Terminal &terminal)
{
    QJsonArray list;
    for (const Panel &panel : panels.sorted())
        list.append(panelJson(panel, interfaceName));
    const QJsonObject document = {{QStringLiteral("panels"), list},
                                  {QStringLiteral("ignored"), exchange.ignored()}};
    terminal.printJson(QJsonDocument(document).toJson());
}

void printTable(const PanelList &panels, Terminal &terminal)
{
    if (panels.isEmpty())
        return;
    for (const QString &line : panelTable(panels.sorted(), terminal.columns()))
        terminal.print(line);
    terminal.note(panels.size() == 1 ? QStringLiteral("1 panel.")
                                     : QStringLiteral("%1 panels.").arg(panels.size()));
    for (const QString &note : panelNotes(panels))
        terminal.note(note);
}

ExitCode run(const Arguments &arguments, Terminal &terminal)
{
    const Patience patience = arguments.patience(5, std::chrono::seconds(1));
    std::vector<std::uint32_t> addresses;
    for (const QString &word : arguments.words())
        addresses.push_back(addressArgument(word));

    Transport transport(arguments.transportOptions());
    Exchange exchange(transport, terminal);
    std::vector<Destination> destinations;
    std::vector<std::uint32_t> expected;
    for (const std::uint32_t address : addresses) {
        const auto towards = transport.towards(address);
        destinations.insert(destinations.end(), towards.begin(), towards.end());
        if (!transport.reachesMany(address))
            expected.push_back(address);
    }
    if (expected.size() < addresses.size())
        expected.clear();

    const PanelList panels = discoverPanels(
        exchange, terminal, addresses.empty() ? transport.everywhere() : destinations, patience, expected);

    if (arguments.isSet("json"))
        printJson(
            panels, exchange, [&transport](unsigned index) { return transport.interfaceName(index); },
            terminal);
    else
        printTable(panels, terminal);
    if (exchange.ignored() > 0)
        terminal.note(exchange.ignoredText());
    if (panels.isEmpty())
        throw Failure{ExitCode::NoAnswer, QStringLiteral("no panel answered"), exchange.noAnswerAdvice()};
    ExitCode code = ExitCode::Done;
    for (const std::uint32_t address : expected) {
        if (!panels.hasAnswered(address)) {
            terminal.error(QStringLiteral("no panel answered at %1").arg(ipv4Text(address)));
            code = ExitCode::NoAnswer;
        }
    }
    return code;
}

} // namespace

const Command DiscoverCommand = {
    "discover",
    "[ADDRESS...]",
    "Find panels.",
    "Asks by broadcast and multicast on every network interface, or only the given\n"
    "addresses, in rounds until one brings nothing new. A panel answers an address\n"
    "outside its own subnet by broadcast or to the multicast group 224.0.5.128, so\n"
    "panels with foreign addresses on the same wire are found; from behind a router\n"
    "they are heard only where it routes that group back.",
    {{}, 0, 10000},
    run,
};
