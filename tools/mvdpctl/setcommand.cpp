#include "command.h"
#include "exchange.h"
#include "output.h"
#include "settingscheck.h"

#include <QtCore/QJsonDocument>

#include <netinet/in.h>

#include <algorithm>

namespace
{

enum class Outcome {
    Applied,
    Refused,    // the panel's reply says so
    Unchanged,  // the panel's reply says applied, yet it still shows other settings
    Unverified, // the reply says applied, then the panel was not heard again
    NoAnswer,
};

struct OutcomeFacts {
    const char *name; // in JSON
    ExitCode code;
    const char *sentence; // %1 the panel, %2 settings asked for
    const char *advice;
};

const OutcomeFacts &factsOf(Outcome outcome)
{
    static const OutcomeFacts facts[] = {
        {"applied", ExitCode::Done, "%1 now has %2.", ""},
        {"refused", ExitCode::Refused, "%1 could not apply %2",
         "Its platform service refused the settings; what it shows now is above."},
        {"unchanged", ExitCode::Refused, "%1 accepted %2 but still shows other settings",
         "It may need a restart, or its platform service ignores the change; what it shows now is above."},
        {"unverified", ExitCode::NoAnswer, "%1 accepted %2 but was not heard again",
         "Look for it with 'mvdpctl discover'; its new subnet may keep its answers from this computer."},
        {"no answer", ExitCode::NoAnswer, "%1 did not answer to the new settings %2",
         "See with 'mvdpctl discover' which settings it has now, and try again."},
    };
    return facts[static_cast<std::size_t>(outcome)];
}

QString settingsText(const NetworkSettings &settings)
{
    Panel wanted;
    wanted.address = settings.address;
    wanted.netmask = settings.netmask;
    return addressWithNetmask(wanted) + (settings.gateway == 0
                                             ? QStringLiteral(", no gateway")
                                             : QStringLiteral(", gateway ") + ipv4Text(settings.gateway));
}

// Options that are not given keep what the panel has.
NetworkSettings wantedSettings(const Arguments &arguments, const Panel &panel)
{
    return {arguments.address("address").value_or(panel.address),
            arguments.netmask("netmask").value_or(panel.netmask),
            arguments.address("gateway").value_or(panel.gateway)};
}

void object(const QStringList &objections, bool force, Terminal &terminal)
{
    if (objections.isEmpty())
        return;
    for (const QString &objection : objections)
        terminal.error(objection);
    if (!force)
        throwUsage(QStringLiteral("nothing was sent"),
                   QStringLiteral("--force sends such settings all the same."));
}

// One way at a time, since a panel applies the settings as often as it hears them. Broadcast first: it needs
// neither an address of ours in the panel's subnet nor that the panel alone holds its address.
std::vector<std::vector<Destination>> waysTo(const Panel &panel, std::optional<std::uint32_t> through,
                                             const Transport &transport)
{
    if (through)
        return {transport.towards(*through)};
    return {{{INADDR_BROADCAST, panel.interfaceIndex, 0}},
            {{MvdpDatagram::MulticastGroup, panel.interfaceIndex, 0}},
            {{panel.source, 0, 0}}};
}

class Setter
{
public:
    Setter(Exchange &exchange, Terminal &terminal, const Patience &patience, const NetworkSettings &settings)
        : m_exchange(exchange)
        , m_terminal(terminal)
        , m_patience(patience)
        , m_settings(settings)
    {
    }

    // Sends the settings and finds out what became of them; `panel` is then what the panel last told.
    Outcome run(Panel &panel, const std::vector<std::vector<Destination>> &ways,
                const std::vector<Destination> &everywhere);

private:
    std::optional<Received> sendSettings(const MacAddress &mac,
                                         const std::vector<std::vector<Destination>> &ways);
    bool verify(Panel &panel, const std::vector<Destination> &everywhere);

    Exchange &m_exchange;
    Terminal &m_terminal;
    Patience m_patience;
    NetworkSettings m_settings;
    bool m_heardAgain = false;
};

Outcome Setter::run(Panel &panel, const std::vector<std::vector<Destination>> &ways,
                    const std::vector<Destination> &everywhere)
{
    const auto reply = sendSettings(panel.mac, ways);
    if (reply) {
        panel = Panel::fromReply(*reply);
        if (reply->datagram.packetType() == static_cast<std::uint8_t>(MvdpPacketType::ReplyNotApplied))
            return Outcome::Refused;
    }
    // The reply alone proves little, and its absence too: the panel's interface goes down while it changes.
    if (verify(panel, everywhere))
        return Outcome::Applied;
    if (!reply)
        return Outcome::NoAnswer;
    return m_heardAgain ? Outcome::Unchanged : Outcome::Unverified;
}

std::optional<Received> Setter::sendSettings(const MacAddress &mac,
                                             const std::vector<std::vector<Destination>> &ways)
{
    Request request = Request::toMac(MvdpCommand::SetAddress, mac);
    request.datagram.setIpAddress(m_settings.address);
    request.datagram.setNetmask(m_settings.netmask);
    request.datagram.setGateway(m_settings.gateway);
    for (int round = 0; round < m_patience.rounds; ++round) {
        m_terminal.progress(
            QStringLiteral("setting, attempt %1 of %2").arg(round + 1).arg(m_patience.rounds));
        m_exchange.send(request, ways[static_cast<std::size_t>(round) % ways.size()]);
        if (auto reply = m_exchange.nextAnswer(request, Clock::now() + m_patience.timeout))
            return reply;
    }
    return std::nullopt;
}

bool Setter::verify(Panel &panel, const std::vector<Destination> &everywhere)
{
    const Request request = Request::toMac(MvdpCommand::Identify, panel.mac);
    for (int round = 1; round <= m_patience.rounds; ++round) {
        m_terminal.progress(QStringLiteral("checking, round %1 of %2").arg(round).arg(m_patience.rounds));
        m_exchange.send(request, everywhere);
        const auto deadline = Clock::now() + m_patience.timeout;
        while (const auto answer = m_exchange.nextAnswer(request, deadline)) {
            panel = Panel::fromReply(*answer);
            m_heardAgain = true;
            if (hasSettings(panel, m_settings))
                return true;
        }
    }
    return false;
}

void report(Outcome outcome, const NetworkSettings &wanted, const Panel &panel, const Transport &transport,
            bool asJson, Terminal &terminal)
{
    const auto interfaceName = [&transport](unsigned index) { return transport.interfaceName(index); };
    const OutcomeFacts &facts = factsOf(outcome);
    const QString sentence =
        QString::fromLatin1(facts.sentence).arg(macText(panel.mac), settingsText(wanted));
    if (asJson) {
        const QJsonObject document = {{QStringLiteral("result"), QString::fromLatin1(facts.name)},
                                      {QStringLiteral("panel"), panelJson(panel, interfaceName)}};
        terminal.printJson(QJsonDocument(document).toJson());
    } else if (outcome == Outcome::Applied) {
        terminal.print(sentence);
    } else {
        for (const QString &line : panelDetails(panel, interfaceName))
            terminal.print(line);
    }
    if (outcome != Outcome::Applied)
        throw Failure{facts.code, sentence, QString::fromLatin1(facts.advice)};
}

ExitCode run(const Arguments &arguments, Terminal &terminal)
{
    const MacAddress mac = macArgument(arguments.words().first());
    if (!arguments.isSet("address") && !arguments.isSet("netmask") && !arguments.isSet("gateway"))
        throwUsage(QStringLiteral("give at least one of --address, --netmask and --gateway"));
    wantedSettings(arguments, Panel()); // finds mistyped values before anything is sent
    const auto through = arguments.address("to");
    const Patience patience = arguments.patience(3, std::chrono::seconds(5));
    const Patience searching = {
        5, std::min<std::chrono::milliseconds>(patience.timeout, std::chrono::seconds(1))};

    Transport transport(arguments.transportOptions());
    Exchange exchange(transport, terminal);
    std::vector<Destination> everywhere = transport.everywhere();
    if (through) {
        const auto towards = transport.towards(*through);
        everywhere.insert(everywhere.end(), towards.begin(), towards.end());
    }
    const PanelList panels = discoverPanels(exchange, terminal, everywhere, searching);
    const Panel *found = panels.find(mac);
    if (found == nullptr)
        throw Failure{ExitCode::NoAnswer, QStringLiteral("no panel %1 answered").arg(macText(mac)),
                      panels.isEmpty() ? exchange.noAnswerAdvice()
                                       : QStringLiteral("See 'mvdpctl discover' for those that are there.")};

    Panel panel = *found;
    const NetworkSettings settings = wantedSettings(arguments, panel);
    object(targetObjections(mac, panels) + settingsObjections(settings) +
               holderObjections(settings.address, mac, panels.sorted(), transport.interfaces()),
           arguments.isSet("force"), terminal);
    Setter setter(exchange, terminal, patience, settings);
    const Outcome outcome = setter.run(panel, waysTo(panel, through, transport), everywhere);
    report(outcome, settings, panel, transport, arguments.isSet("json"), terminal);
    return ExitCode::Done;
}

} // namespace

const Command SetCommand = {
    "set",
    "MAC [--address A] [--netmask M] [--gateway G]",
    "Give a panel another address, netmask and gateway.",
    "Looks for the panel, checks the new settings, sends them and asks the panel\n"
    "again whether it shows them. What is not given stays as the panel has it.\n"
    "--gateway 0.0.0.0 means none.",
    {{{"address", "ADDRESS", "The new address."},
      {"netmask", "NETMASK", "The new netmask, as 255.255.255.0 or as 24."},
      {"gateway", "ADDRESS", "The new gateway."},
      {"to", "ADDRESS", "Reach the panel at this address, as through a router."},
      {"force", nullptr, "Send also settings that look wrong, with a warning."}},
     1,
     1},
    run,
};
