#include "target.h"

#include "discovery.h"
#include "failure.h"

#include <algorithm>
#include <iterator>

namespace
{

const std::size_t MostCandidates = 20;

bool fits(const TargetName &name, const Panel &panel)
{
    if (name.mac)
        return panel.mac == *name.mac;
    if (name.address)
        return panel.address == *name.address || panel.source == *name.address;
    return panel.description.contains(name.text, Qt::CaseInsensitive);
}

void listPanels(const std::vector<Panel> &panels, Terminal &terminal)
{
    for (std::size_t index = 0; index < panels.size() && index < MostCandidates; ++index)
        terminal.error(QStringLiteral("  ") + panelLabel(panels[index]));
    if (panels.size() > MostCandidates)
        terminal.error(QStringLiteral("  and %1 more").arg(panels.size() - MostCandidates));
}

[[noreturn]] void failWithoutMatch(const TargetName &name, const PanelList &panels, Session &session)
{
    session.noteIgnored();
    const QString kind = name.mac ? QStringLiteral("no panel with the MAC address %1 answered")
                         : name.address
                             ? QStringLiteral("no panel with the address %1 answered")
                             : QStringLiteral("no panel that answered has '%1' in its description");
    if (panels.isEmpty())
        throw Failure{ExitCode::NoAnswer, kind.arg(name.text), session.noAnswerAdvice()};
    session.terminal.error(kind.arg(name.text));
    listPanels(panels.sorted(), session.terminal);
    throw Failure{
        ExitCode::NoAnswer,
        panels.size() == 1 ? QStringLiteral("only this panel answered")
                           : QStringLiteral("only these panels answered"),
        QStringLiteral("Name a panel by its MAC address, for example; 'mvdpctl discover' shows more "
                       "of them.")};
}

[[noreturn]] void failAmbiguous(const TargetName &name, const std::vector<Panel> &found, Session &session)
{
    session.terminal.error(
        QStringLiteral("'%1' fits %2 panels").arg(name.text, QString::number(found.size())));
    listPanels(found, session.terminal);
    throw Failure{ExitCode::Usage, QStringLiteral("nothing was sent to any of them"),
                  isZero(found.front().mac)
                      ? QStringLiteral("Name the panel by the address that it answers from.")
                      : QStringLiteral("Name the panel by its MAC address, for example %1.")
                            .arg(macText(found.front().mac))};
}

void showOnly(const TargetName &name, Session &session)
{
    session.observer.showOnly(
        [name](const Received &received) { return fits(name, Panel::fromReply(received)); });
}

// A panel that is asked by its MAC address, at --to alone if that is given.
std::optional<Panel> askByMac(const MacAddress &mac, Session &session)
{
    showOnly({macText(mac), mac, std::nullopt}, session);
    const auto through = session.through();
    const auto destinations = through ? session.transport.towards(*through) : session.transport.everywhere();
    const auto answer = session.exchange.ask(Request::toMac(MvdpCommand::Identify, mac), {destinations},
                                             session.searchPatience(), QStringLiteral("asking"));
    return answer ? std::optional<Panel>(Panel::fromReply(*answer)) : std::nullopt;
}

} // namespace

TargetName targetFromText(const QString &text)
{
    const QString word = text.trimmed();
    if (word.isEmpty())
        throwUsage(QStringLiteral("an empty word names no panel"),
                   QStringLiteral("Give a MAC address, an IP address or a piece of a description."));
    return {word, macFromText(word), ipv4FromText(word)};
}

std::vector<Panel> matches(const TargetName &name, const PanelList &panels)
{
    const std::vector<Panel> all = panels.sorted();
    std::vector<Panel> found;
    std::copy_if(all.begin(), all.end(), std::back_inserter(found),
                 [&name](const Panel &panel) { return fits(name, panel); });
    return found;
}

Panel onlyMatch(const TargetName &name, const PanelList &panels, Session &session)
{
    const std::vector<Panel> found = matches(name, panels);
    if (found.empty())
        failWithoutMatch(name, panels, session);
    if (found.size() > 1)
        failAmbiguous(name, found, session);
    showOnly(found.front(), session);
    return found.front();
}

PanelList searchFor(const TargetName &name, Session &session)
{
    if (name.address && session.through())
        throwUsage(QStringLiteral("--to goes with a MAC address or a description"));
    if (name.address && session.transport.reachesMany(*name.address))
        throwUsage(QStringLiteral("%1 is not the address of one panel").arg(name.text));
    showOnly(name, session);
    Search search = {session.everywhere(), session.searchPatience(), {}};
    if (name.address && Transport::hasRouteTo(*name.address)) {
        const auto towards = session.transport.towards(*name.address);
        search.destinations.insert(search.destinations.end(), towards.begin(), towards.end());
    }
    return discoverPanels(session.exchange, search);
}

Panel findTarget(Session &session)
{
    const TargetName name = targetFromText(session.arguments.words().first());
    if (!name.mac || isZero(*name.mac))
        return onlyMatch(name, searchFor(name, session), session);
    const auto panel = askByMac(*name.mac, session);
    if (!panel)
        failWithoutMatch(name, PanelList(), session);
    showOnly(*panel, session);
    return *panel;
}

void showOnly(const Panel &panel, Session &session)
{
    // An echo that came back altered may carry any MAC address.
    session.observer.showOnly([mac = panel.mac, source = panel.source](const Received &received) {
        return received.source == source || (!isZero(mac) && received.datagram.hasMacAddress(mac.data()));
    });
}

QString panelLabel(const Panel &panel)
{
    const std::uint32_t address = panel.address != 0 ? panel.address : panel.source;
    QString facts = ipv4Text(address);
    if (!panel.description.isEmpty())
        facts += QStringLiteral(", ") + panel.description;
    return QStringLiteral("%1 (%2)").arg(macText(panel.mac), facts);
}

QString heardBeforeAdvice()
{
    return QStringLiteral(
        "It was heard a moment ago, so it may be busy: try again, with a longer --timeout or more "
        "--rounds.");
}

std::vector<std::vector<Destination>> waysTo(const Panel &panel, const Session &session)
{
    if (const auto through = session.through())
        return {session.transport.towards(*through)};
    std::vector<std::vector<Destination>> ways;
    for (const std::uint32_t toAll : {LimitedBroadcast, std::uint32_t(MvdpDatagram::MulticastGroup)}) {
        const auto way = session.transport.towardsOn(panel.interfaceIndex, toAll);
        // Panels that do not know their MAC address would all feel addressed.
        if (!way.empty() && !isZero(panel.mac))
            ways.push_back(way);
    }
    ways.push_back(session.transport.towards(panel.source));
    return ways;
}
