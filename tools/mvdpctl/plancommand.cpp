#include "addressprobe.h"
#include "command.h"
#include "planmaker.h"
#include "plantable.h"
#include "selection.h"
#include "session.h"
#include "whereabouts.h"
#include "wirecheck.h"

#include <QtCore/QJsonObject>

#include <algorithm>
#include <set>

namespace
{

// As many as an ordinary user can ask for at once, see addressprobe.h.
const std::size_t MostAskedAtOnce = 256;

using Addresses = std::set<std::uint32_t>;

PanelOrder orderOf(const Arguments &arguments)
{
    const QString text = arguments.text("order");
    if (text == QLatin1String("names"))
        return PanelOrder::Name;
    if (text == QLatin1String("model"))
        return PanelOrder::Model;
    if (text != QLatin1String("mac") && arguments.isSet("order"))
        throwUsage(QStringLiteral("--order takes mac, names or model, not '%1'").arg(text));
    return PanelOrder::Mac;
}

// Without a netmask where neither option has one.
AddressRange rangeOf(const Arguments &arguments)
{
    if (!arguments.isSet("range"))
        throwUsage(QStringLiteral("--range is missing"),
                   QStringLiteral("Say which addresses to give, as in --range 192.168.10.20-59."));
    AddressRange range = rangeFromText(arguments.text("range"));
    const auto netmask = arguments.netmask("netmask");
    if (range.netmask && netmask && *range.netmask != *netmask)
        throwUsage(QStringLiteral("--netmask %1 is another netmask than that of the range %2")
                       .arg(arguments.text("netmask"), arguments.text("range")));
    if (netmask)
        range.netmask = netmask;
    return range;
}

// That of this computer's address in the same subnet.
std::uint32_t ownNetmask(const AddressRange &range, const Session &session)
{
    for (const NetworkInterface &interface : session.transport.interfaces()) {
        for (const InterfaceAddress &own : interface.addresses) {
            if (own.contains(range.first) && own.contains(range.last))
                return own.netmask;
        }
    }
    throwUsage(QStringLiteral("the netmask is missing, and this computer has no address in the same subnet"),
               QStringLiteral("Give it with --netmask."));
}

class PlanCommandRun
{
public:
    PlanCommandRun(const RangeWish &wish, Session &session)
        : m_wish(wish)
        , m_session(session)
    {
    }

    ExitCode run();

private:
    std::vector<LabelledPanel> select();
    void countAsHeld(const std::vector<LabelledPanel> &selected);
    void warnOfGateways(const std::vector<LabelledPanel> &panels) const;
    AddressPlan assign(const std::vector<LabelledPanel> &panels);
    std::vector<std::uint32_t> addressesToAskFor(const AddressPlan &plan) const;
    void report(const AddressPlan &plan);

    const RangeWish m_wish;
    Session &m_session;
    PanelList m_panels;
    Addresses m_held;  // by what gets no address from the plan
    Addresses m_asked; // for, on the network
};

ExitCode PlanCommandRun::run()
{
    std::vector<LabelledPanel> panels = select();
    countAsHeld(panels);
    sortPanels(panels, orderOf(m_session.arguments));
    warnOfGateways(panels);
    const AddressPlan plan = assign(panels);
    if (plan.missing > 0)
        throw Failure{
            ExitCode::Usage,
            QStringLiteral("the range is too small: it has addresses for %1 of %2 panels, so %3 more are "
                           "needed")
                .arg(plan.panels.size())
                .arg(panels.size())
                .arg(plan.missing),
            QStringLiteral("Give a larger --range, or name fewer panels.")};
    report(plan);
    return ExitCode::Done;
}

std::vector<LabelledPanel> PlanCommandRun::select()
{
    const std::vector<PanelName> words = namesOfWords(m_session);
    Selection selection = selectPanels(words, true, m_session);
    for (const PanelName &word : words) {
        if (matches(word, selection.panels).empty())
            throw Failure{ExitCode::NoAnswer, misfitText(word, selection.panels, m_session),
                          QStringLiteral("See which panels there are with 'mvdpctl discover'.")};
    }
    leaveOutUnknown(selection, m_session);
    m_panels = selection.panels;
    std::vector<LabelledPanel> panels;
    for (const Selected &each : selection.items)
        panels.push_back({*each.panel, m_session.names.labelOf(each.panel->mac)});
    return panels;
}

void PlanCommandRun::countAsHeld(const std::vector<LabelledPanel> &selected)
{
    std::set<PanelKey> keys;
    for (const LabelledPanel &each : selected)
        keys.insert(keyOf(each.panel));
    for (const Panel &panel : m_panels.sorted()) {
        const auto addresses = panel.heldAddresses();
        if (keys.count(keyOf(panel)) == 0)
            m_held.insert(addresses.begin(), addresses.end());
        if (!m_wish.gateway)
            m_held.insert(panel.gateway);
    }
    for (const NetworkInterface &interface : m_session.transport.localInterfaces()) {
        for (const InterfaceAddress &own : interface.addresses)
            m_held.insert(own.address);
    }
}

// 'set' would refuse a plan that leaves a panel a gateway outside its new subnet.
void PlanCommandRun::warnOfGateways(const std::vector<LabelledPanel> &panels) const
{
    if (m_wish.gateway)
        return;
    const auto unfit = std::count_if(panels.begin(), panels.end(), [this](const LabelledPanel &each) {
        const std::uint32_t gateway = each.panel.gateway;
        return gateway != 0 && ((gateway ^ m_wish.range.first) & m_wish.netmask) != 0;
    });
    if (unfit > 0)
        m_session.terminal.error(
            QStringLiteral(
                "warning: %1 of %2 panels have a gateway outside the subnet of the range, and 'set' will "
                "refuse that: give all another with --gateway (0.0.0.0 is none)")
                .arg(unfit)
                .arg(panels.size()));
}

// Asks for the addresses that it would give, and gives others for those that somebody has.
AddressPlan PlanCommandRun::assign(const std::vector<LabelledPanel> &panels)
{
    ProbeResult told;
    std::vector<std::uint32_t> asked;
    for (;;) {
        AddressPlan plan = assignAddresses(
            panels, m_wish, [this](std::uint32_t address) { return m_held.count(address) > 0; });
        const std::vector<std::uint32_t> addresses = addressesToAskFor(plan);
        if (addresses.empty()) {
            if (!asked.empty())
                tellProbe(asked, told, m_session);
            return plan;
        }
        m_session.terminal.progress(QStringLiteral("asking who holds the new addresses"));
        const ProbeResult result = probeAddresses(addresses, m_session.transport);
        m_asked.insert(addresses.begin(), addresses.end());
        for (const AddressHolder &holder : result.held)
            m_held.insert(holder.address);
        asked.insert(asked.end(), addresses.begin(), addresses.end());
        told.held.insert(told.held.end(), result.held.begin(), result.held.end());
        told.unasked.insert(told.unasked.end(), result.unasked.begin(), result.unasked.end());
        told.how = result.how.isEmpty() ? told.how : result.how;
    }
}

// The new ones of the plan and, where there are any, some that could be given in their place.
std::vector<std::uint32_t> PlanCommandRun::addressesToAskFor(const AddressPlan &plan) const
{
    std::vector<std::uint32_t> addresses;
    Addresses planned;
    for (const PlannedPanel &each : plan.panels) {
        planned.insert(*each.wanted.address);
        if (each.isMoved && m_asked.count(*each.wanted.address) == 0)
            addresses.push_back(*each.wanted.address);
    }
    if (addresses.empty())
        return addresses;
    for (std::uint32_t address = m_wish.range.first; m_wish.range.contains(address); ++address) {
        if (addresses.size() >= MostAskedAtOnce)
            break;
        if (isToBeGiven(address, m_wish) && planned.count(address) == 0 && m_held.count(address) == 0 &&
            m_asked.count(address) == 0)
            addresses.push_back(address);
    }
    return addresses;
}

QJsonObject recordOf(const PlannedPanel &planned)
{
    const Panel &panel = planned.panel.panel;
    const QString version = panel.versionText();
    const auto gateway = planned.wanted.gateway;
    QJsonObject record = {
        {QStringLiteral("mac"), macText(panel.mac)},
        {QStringLiteral("address"), ipv4Text(*planned.wanted.address)},
        {QStringLiteral("netmask"), ipv4Text(*planned.wanted.netmask)},
        {QStringLiteral("gateway"), gateway ? QJsonValue(ipv4Text(*gateway)) : QJsonValue()},
        {QStringLiteral("version"), version.isEmpty() ? QJsonValue() : QJsonValue(version)},
        {QStringLiteral("description"), panel.description},
    };
    insertLabel(record, planned.panel.label);
    return record;
}

PlanStep stepOf(const PlannedPanel &planned, const std::vector<NetworkInterface> &interfaces)
{
    PlanStep step;
    step.entry.mac = planned.panel.panel.mac;
    step.entry.label = planned.panel.label;
    step.now = planned.panel.panel;
    step.isWhereItTells = isShownToBeThere(*step.now, interfaces);
    step.wanted = planned.wanted.over(*step.now);
    return step;
}

void PlanCommandRun::report(const AddressPlan &plan)
{
    Writer &writer = *m_session.writer;
    const QStringList columns = {QStringLiteral("mac"),     QStringLiteral("address"),
                                 QStringLiteral("netmask"), QStringLiteral("gateway"),
                                 QStringLiteral("version"), QStringLiteral("description")};
    writer.beginList(columns + labelColumns(), QStringLiteral("panels"));
    Plan table;
    for (const PlannedPanel &each : plan.panels) {
        writer.add(recordOf(each));
        table.steps.push_back(stepOf(each, m_session.transport.localInterfaces()));
    }
    writer.endList(m_session.exchange.ignored());
    writer.print(planLines(table, m_session.terminal.columns()));
    const auto changes = std::count_if(table.steps.begin(), table.steps.end(),
                                       [](const PlanStep &step) { return step.isChange(); });
    if (changes == 0)
        writer.note(QStringLiteral("All have such addresses already."));
    else
        writer.note(QStringLiteral(
                        "%1 of %2 panels would be changed. Keep the plan with --csv > plan.csv, and carry it "
                        "out with 'mvdpctl set --from plan.csv'.")
                        .arg(changes)
                        .arg(table.steps.size()));
    m_session.noteIgnored();
}

ExitCode run(const Arguments &arguments, Terminal &terminal)
{
    RangeWish wish = {rangeOf(arguments), 0, arguments.address("gateway")};
    orderOf(arguments); // refuses a malformed value before anything is sent
    if (wish.range.netmask)
        checkWish({wish.range, *wish.range.netmask, wish.gateway});
    Session session(arguments, terminal);
    wish.netmask = wish.range.netmask ? *wish.range.netmask : ownNetmask(wish.range, session);
    checkWish(wish);
    return PlanCommandRun(wish, session).run();
}

} // namespace

const Command PlanCommand = {
    "plan",
    "[PANEL...] --range FIRST-LAST",
    "Make a plan that gives panels the addresses of a range.",
    "Searches for panels, all or those that fit one of the words, and prints a plan\n"
    "for 'mvdpctl set --from'; nothing is changed. A panel whose address is in the\n"
    "range keeps it. The others get the next free ones, none that another panel, this\n"
    "computer or the gateway holds, nor one that answers on the network. The range is\n"
    "written 192.168.10.20-59 or 192.168.10.20-192.168.10.59, perhaps with /24 behind\n"
    "it, and has at most 4096 addresses. Without a netmask it is that of this\n"
    "computer in the same subnet; without --gateway each panel keeps its own. Exit\n"
    "status 2: too few addresses.",
    {{{"range", "FIRST-LAST", "The addresses to give."},
      {"netmask", "NETMASK", "Their netmask, as 255.255.255.0 or as 24."},
      {"gateway", "ADDRESS", "The gateway of all; 0.0.0.0 for none."},
      {"order", "ORDER", "Give them by mac (default), names or model."}},
     0,
     MostPanels},
    run,
};
