#include "selection.h"

#include "discovery.h"
#include "failure.h"
#include "nearest.h"

#include <QtCore/QRegularExpression>

#include <algorithm>
#include <set>

namespace
{

const std::size_t MostCandidates = 20;

// What a user could have meant to type: also a word of a description.
QStringList candidates(const PanelList &panels, const Session &session)
{
    static const QRegularExpression between(QStringLiteral("[^0-9A-Za-z]+"));
    QStringList words;
    for (const Panel &panel : panels.sorted()) {
        words << ipv4Text(panel.heldAddress()) << panel.description << session.nameOf(panel);
        words << panel.description.split(between);
    }
    words.removeAll(QString());
    return words;
}

QStringList macsOf(const PanelList &panels, const QString &separator)
{
    QStringList words;
    for (const Panel &panel : panels.sorted())
        words << macText(panel.mac).replace(QLatin1Char(':'), separator);
    return words;
}

// The panel whose MAC address was probably meant; nothing when it could be several.
const Panel *nearestByMac(const QString &text, const PanelList &panels)
{
    const QString separator = text.contains(QLatin1Char(':'))   ? QStringLiteral(":")
                              : text.contains(QLatin1Char('-')) ? QStringLiteral("-")
                                                                : QString();
    const auto mac = macFromText(nearest(text, macsOf(panels, separator)));
    return mac ? panels.find(*mac) : nullptr;
}

PanelList search(const std::vector<PanelName> &names, Session &session)
{
    Search search = {session.transport.everywhere(), session.searchPatience(), {}};
    for (const PanelName &name : names) {
        if (!name.address || !Transport::hasRouteTo(*name.address))
            continue;
        const auto towards = session.transport.towards(*name.address);
        search.destinations.insert(search.destinations.end(), towards.begin(), towards.end());
    }
    return discoverPanels(session.exchange, search);
}

[[noreturn]] void failWithoutAny(const PanelList &panels, Session &session)
{
    session.noteIgnored();
    if (panels.isEmpty())
        throw Failure{ExitCode::NoAnswer, QStringLiteral("no panel answered"), session.noAnswerAdvice()};
    throw Failure{ExitCode::NoAnswer,
                  panels.size() == 1
                      ? QStringLiteral("the only panel that answered does not fit")
                      : QStringLiteral("none of the %1 panels that answered fits").arg(panels.size()),
                  QStringLiteral("See which there are with 'mvdpctl discover'.")};
}

void refuseSeveral(const PanelName &name, const std::vector<Panel> &found, Session &session)
{
    if (found.size() <= 1)
        return;
    session.terminal.error(QStringLiteral("'%1' fits %2 panels").arg(name.text).arg(found.size()));
    listPanels(found, session);
    throw Failure{ExitCode::Usage, QStringLiteral("nothing was sent to any of them"),
                  QStringLiteral("Name one by its MAC address, or give --all for all that a word fits.")};
}

} // namespace

bool isForSeveral(const Arguments &arguments)
{
    return arguments.isSet("all") || arguments.words().size() > 1;
}

void requireWords(const Arguments &arguments)
{
    if (arguments.words().isEmpty() && !arguments.isSet("all"))
        throwUsage(QStringLiteral("an argument is missing: name a panel, or give --all for every one"));
}

std::vector<PanelName> selectedNames(const Session &session)
{
    requireWords(session.arguments);
    if (isForSeveral(session.arguments) && session.reachedAt())
        throwUsage(QStringLiteral("--to goes with one panel"));
    return namesOfWords(session);
}

std::vector<PanelName> namesOfWords(const Session &session)
{
    std::vector<PanelName> names;
    for (const QString &word : session.arguments.words()) {
        names.push_back(panelNameFromText(word, session.names));
        if (names.back().address && session.transport.reachesMany(*names.back().address))
            throwUsage(QStringLiteral("%1 is not the address of one panel").arg(word));
    }
    return names;
}

Selection selectPanels(const std::vector<PanelName> &names, bool isAll, Session &session)
{
    Selection selection;
    std::set<PanelKey> taken;
    const auto take = [&selection, &taken](const QString &word, const Panel &panel) {
        if (taken.insert(keyOf(panel)).second)
            selection.items.push_back({word, panel});
    };
    session.observer.showOnly([names](const Received &received) {
        const Panel panel = Panel::fromReply(received);
        return names.empty() || std::any_of(names.begin(), names.end(),
                                            [&panel](const PanelName &name) { return name.fits(panel); });
    });
    selection.panels = search(names, session);
    QStringList misfits;
    for (const PanelName &name : names) {
        const std::vector<Panel> found = matches(name, selection.panels);
        if (found.empty())
            refuseMistyped(name, selection.panels, session);
        if (!isAll)
            refuseSeveral(name, found, session);
        for (const Panel &panel : found)
            take(name.text, panel);
        if (found.empty())
            selection.items.push_back({name.text, std::nullopt});
        if (found.empty() && !selection.panels.isEmpty())
            misfits << misfitText(name, selection.panels, session);
    }
    if (names.empty()) {
        for (const Panel &panel : selection.panels.sorted())
            take(QString(), panel);
    }
    for (const QString &misfit : misfits)
        session.terminal.error(misfit);
    if (taken.empty())
        failWithoutAny(selection.panels, session);
    return selection;
}

void leaveOutUnknown(Selection &selection, const Session &session)
{
    auto &items = selection.items;
    const auto before = items.size();
    items.erase(std::remove_if(items.begin(), items.end(),
                               [](const Selected &each) { return each.panel && isZero(each.panel->mac); }),
                items.end());
    if (items.size() < before)
        session.terminal.error(
            QStringLiteral("left out: %1 without a MAC address, because the platform service is down")
                .arg(before - items.size()));
    if (items.empty())
        throwUsage(QStringLiteral("no panel is left"),
                   QStringLiteral("Restart them, or their platform services."));
}

QString misfitText(const PanelName &name, const PanelList &panels, const Session &session)
{
    if (name.mac && !name.isName) {
        const Panel *meant = nearestByMac(name.text, panels);
        return QStringLiteral("no panel with the MAC address %1 answered").arg(name.text) +
               (meant != nullptr ? QStringLiteral(": did you mean %1?").arg(session.label(*meant))
                                 : QString());
    }
    const QString kind = name.mac      ? QStringLiteral("the panel with the name '%1' did not answer")
                         : name.isName ? QStringLiteral("no panel with the name '%1' answered")
                         : name.address
                             ? QStringLiteral("no panel with the address %1 answered")
                             : QStringLiteral("no panel that answered has '%1' in its description or name");
    return kind.arg(name.text) +
           (name.isName || name.address ? QString() : didYouMean(name.text, candidates(panels, session)));
}

void refuseMistyped(const PanelName &name, const PanelList &panels, const Session &session)
{
    if (name.isName)
        return;
    if (looksLikeMac(name.text)) {
        const Panel *meant = nearestByMac(name.text, panels);
        throwUsage(
            QStringLiteral("'%1' is no MAC address").arg(name.text),
            meant != nullptr
                ? QStringLiteral("The nearest of those that answered is %1.").arg(session.label(*meant))
                : QStringLiteral("Write it as 'mvdpctl discover' shows it, as in 02:00:5e:10:00:01."));
    }
    if (looksLikeIpv4(name.text))
        addressArgument(name.text);
}

void listPanels(const std::vector<Panel> &panels, Session &session)
{
    for (std::size_t index = 0; index < panels.size() && index < MostCandidates; ++index)
        session.terminal.error(QStringLiteral("  ") + session.label(panels[index]));
    if (panels.size() > MostCandidates)
        session.terminal.error(QStringLiteral("  and %1 more").arg(panels.size() - MostCandidates));
}
