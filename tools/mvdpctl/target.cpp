#include "target.h"

#include "discovery.h"
#include "failure.h"
#include "ways.h"

namespace
{

const std::size_t MostCandidates = 20;

void listPanels(const std::vector<Panel> &panels, Terminal &terminal)
{
    for (std::size_t index = 0; index < panels.size() && index < MostCandidates; ++index)
        terminal.error(QStringLiteral("  ") + panelLabel(panels[index]));
    if (panels.size() > MostCandidates)
        terminal.error(QStringLiteral("  and %1 more").arg(panels.size() - MostCandidates));
}

[[noreturn]] void failWithoutMatch(const PanelName &name, const PanelList &panels, Session &session)
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

[[noreturn]] void failAmbiguous(const PanelName &name, const std::vector<Panel> &found, Session &session)
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

void showOnly(const PanelName &name, Session &session)
{
    session.observer.showOnly(
        [name](const Received &received) { return name.fits(Panel::fromReply(received)); });
}

// The panel's answer to a request to its MAC address, sent only to --to if that is given.
std::optional<Panel> askByMac(const MacAddress &mac, Session &session)
{
    showOnly({macText(mac), mac, std::nullopt}, session);
    const auto reachedAt = session.reachedAt();
    const auto destinations =
        reachedAt ? session.transport.towards(*reachedAt) : session.transport.everywhere();
    return identifyPanel(session.exchange, mac, {destinations}, session.searchPatience(),
                         QStringLiteral("asking"));
}

} // namespace

Panel onlyMatch(const PanelName &name, const PanelList &panels, Session &session)
{
    const std::vector<Panel> found = matches(name, panels);
    if (found.empty())
        failWithoutMatch(name, panels, session);
    if (found.size() > 1)
        failAmbiguous(name, found, session);
    showOnly(found.front(), session);
    return found.front();
}

PanelList searchFor(const PanelName &name, Session &session)
{
    if (name.address && session.reachedAt())
        throwUsage(QStringLiteral("--to goes with a MAC address or a description"));
    if (name.address && session.transport.reachesMany(*name.address))
        throwUsage(QStringLiteral("%1 is not the address of one panel").arg(name.text));
    showOnly(name, session);
    Search search = {everyWay(session.transport, session.reachedAt()), session.searchPatience(), {}};
    if (name.address && Transport::hasRouteTo(*name.address)) {
        const auto towards = session.transport.towards(*name.address);
        search.destinations.insert(search.destinations.end(), towards.begin(), towards.end());
    }
    return discoverPanels(session.exchange, search);
}

Panel findTarget(Session &session)
{
    const PanelName name = panelNameFromText(session.arguments.words().first());
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
