#include "command.h"
#include "exchange.h"
#include "output.h"

#include <QtCore/QJsonDocument>

namespace
{

// The panel at an address, asked for its identity by the MAC address that it tells.
std::optional<Received> identifyAt(std::uint32_t address, Exchange &exchange, const Transport &transport,
                                   const Patience &patience)
{
    const auto destinations = transport.towards(address);
    const auto found = exchange.ask(Request::toAll(MvdpCommand::Discover), destinations, patience);
    if (!found)
        return std::nullopt;
    const MacAddress mac = Panel::fromReply(*found).mac;
    return exchange.ask(Request::toMac(MvdpCommand::Identify, mac), destinations, patience);
}

ExitCode run(const Arguments &arguments, Terminal &terminal)
{
    const QString target = arguments.words().first();
    const auto mac = macFromText(target);
    const auto address = ipv4FromText(target);
    if (!mac && !address)
        throwUsage(QStringLiteral("'%1' is neither a MAC address nor an IPv4 address").arg(target));
    const auto through = arguments.address("to");
    if (address && through)
        throwUsage(QStringLiteral("--to goes with a MAC address"));
    const Patience patience = arguments.patience(5, std::chrono::seconds(1));

    Transport transport(arguments.transportOptions());
    Exchange exchange(transport, terminal);
    const auto answer =
        mac ? exchange.ask(Request::toMac(MvdpCommand::Identify, *mac),
                           through ? transport.towards(*through) : transport.everywhere(), patience)
            : identifyAt(*address, exchange, transport, patience);
    if (!answer) {
        if (exchange.ignored() > 0)
            terminal.note(exchange.ignoredText());
        throw Failure{ExitCode::NoAnswer, QStringLiteral("no answer from %1").arg(target),
                      exchange.noAnswerAdvice()};
    }
    const Panel panel = Panel::fromReply(*answer);
    const auto interfaceName = [&transport](unsigned index) { return transport.interfaceName(index); };
    if (arguments.isSet("json")) {
        terminal.printJson(QJsonDocument(panelJson(panel, interfaceName)).toJson());
    } else {
        for (const QString &line : panelDetails(panel, interfaceName))
            terminal.print(line);
    }
    return ExitCode::Done;
}

} // namespace

const Command IdentifyCommand = {
    "identify",
    "MAC|ADDRESS",
    "Show the identity of one panel.",
    "A MAC address is asked for everywhere, so that its IP address need not be known\n"
    "nor be reachable. An IP address is asked directly.",
    {{{"to", "ADDRESS", "Ask for the MAC address at this address only."}}, 1, 1},
    run,
};
