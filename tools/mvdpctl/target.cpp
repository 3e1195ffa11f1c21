#include "target.h"

#include "discovery.h"
#include "failure.h"
#include "selection.h"
#include "ways.h"

namespace
{

[[noreturn]] void failWithoutMatch(const PanelName &name, const PanelList &panels, Session &session)
{
    session.noteIgnored();
    refuseMistyped(name, panels, session);
    const QString misfit = misfitText(name, panels, session);
    if (panels.isEmpty())
        throw Failure{ExitCode::NoAnswer, misfit, session.noAnswerAdvice()};
    if (misfit.endsWith(QLatin1Char('?'))) // a guess is of more use than a long list
        throw Failure{ExitCode::NoAnswer, misfit,
                      QStringLiteral("'mvdpctl discover' shows all that answered.")};
    session.terminal.error(misfit);
    listPanels(panels.sorted(), session);
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
    listPanels(found, session);
    QString advice = isZero(found.front().mac)
                         ? QStringLiteral("Name the panel by the address that it answers from")
                         : QStringLiteral("Name the panel by its MAC address, for example %1")
                               .arg(macText(found.front().mac));
    advice += session.arguments.takes("all") ? QStringLiteral(", or give --all for all of them.")
                                             : QStringLiteral(".");
    throw Failure{ExitCode::Usage, QStringLiteral("nothing was sent to any of them"), advice};
}

void showOnly(const PanelName &name, Session &session)
{
    session.observer.showOnly(
        [name](const Received &received) { return name.fits(Panel::fromReply(received)); });
}

// The panel's answer to a request to its MAC address, sent only to --to if that is given.
std::optional<Panel> askByMac(const MacAddress &mac, Session &session)
{
    showOnly({macText(mac), mac, std::nullopt, {}, false}, session);
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

Panel findTarget(const PanelName &name, Session &session)
{
    if (!name.mac || isZero(*name.mac))
        return onlyMatch(name, searchFor(name, session), session);
    const auto panel = askByMac(*name.mac, session);
    if (!panel) // the others tell whether the address was mistyped
        failWithoutMatch(name, session.reachedAt() ? PanelList() : searchFor(name, session), session);
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

QString heardBeforeAdvice()
{
    return QStringLiteral(
        "It was heard a moment ago, so it may be busy: try again, with a longer --timeout or more "
        "--rounds.");
}
