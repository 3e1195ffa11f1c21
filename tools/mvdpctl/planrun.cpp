#include "planrun.h"

#include "confirm.h"
#include "discovery.h"
#include "interrupt.h"
#include "outcomeadvice.h"
#include "planexecution.h"
#include "plantable.h"
#include "platform.h"
#include "target.h"
#include "ways.h"
#include "whereabouts.h"
#include "wirecheck.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>
#include <vector>

namespace
{

QString toldText(const PlanStep &step)
{
    const Panel &panel = *step.now;
    if (step.isWhereItTells || panel.address == 0)
        return settingsText(settingsOf(panel));
    return addressWithNetmask(panel.address, panel.netmask) + QStringLiteral(", answers from ") +
           ipv4Text(panel.source);
}

// Of what the panels may report at the end.
int settingsWidth(const Plan &plan)
{
    int width = 0;
    for (const PlanStep &step : plan.steps)
        width = step.isFound() ? std::max(width, static_cast<int>(settingsText(step.wanted).size())) : width;
    return width;
}

QStringList resultColumns(const PlanContent &content)
{
    return outcomeColumns() + QStringList{QStringLiteral("name"), QStringLiteral("remark")} +
           content.unknownColumns;
}

QJsonObject resultJson(Outcome outcome, const PlanStep &step, Session &session)
{
    const WantedSettings wanted = step.isFound() ? allOf(step.wanted) : step.entry.wanted;
    QJsonObject record = outcomeJson(outcome, step.entry.mac, wanted, step.now, session.interfaceNames());
    record.insert(QStringLiteral("name"), step.entry.label.name);
    record.insert(QStringLiteral("remark"), step.entry.label.remark);
    record.insert(QStringLiteral("columns"), step.entry.columns);
    return record;
}

class PlanRun
{
public:
    PlanRun(Plan plan, const PanelList &panels, const QStringList &columns, Session &session);

    ExitCode run();

private:
    SetResult carryOut(PlanStep &step);
    void report(const PlanStep &step, const SetResult &result);
    void conclude();
    void warnOfSharedAddresses();

    Plan m_plan;
    int m_settingsWidth;
    QStringList m_columns;
    Session &m_session;
    PlanExecution m_execution;
    std::map<Outcome, int> m_counts;
    std::map<std::pair<Outcome, QString>, int> m_advice; // number of panels for each advice
};

PlanRun::PlanRun(Plan plan, const PanelList &panels, const QStringList &columns, Session &session)
    : m_plan(std::move(plan))
    , m_settingsWidth(settingsWidth(m_plan))
    , m_columns(columns)
    , m_session(session)
    , m_execution(session.exchange, panels, session.arguments.patience(SetRounds, SetTimeout),
                  session.reachedAt())
{
}

ExitCode PlanRun::run()
{
    m_session.writer->beginList(m_columns, QStringLiteral("results"));
    const InterruptGuard guard;
    m_session.terminal.hint(QStringLiteral("Ctrl-C ends after the panel in hand, a second one at once."));
    int number = 0;
    for (PlanStep &step : m_plan.steps) {
        m_session.terminal.setProgressPrefix(
            QStringLiteral("panel %1 of %2: ").arg(++number).arg(m_plan.steps.size()));
        const bool skipped = step.isChange() && guard.isInterrupted();
        report(step, skipped ? unsent(Outcome::NotTried) : carryOut(step));
    }
    conclude();
    for (const ExitCode code : {ExitCode::Refused, ExitCode::NetworkTrouble, ExitCode::NoAnswer}) {
        if (std::any_of(m_counts.begin(), m_counts.end(),
                        [code](const auto &count) { return outcomeCode(count.first) == code; }))
            return code;
    }
    return ExitCode::Done;
}

SetResult PlanRun::carryOut(PlanStep &step)
{
    if (step.isFound())
        showOnly(*step.now, m_session);
    return m_execution.carryOut(step, m_session.arguments.isSet("force"));
}

void PlanRun::report(const PlanStep &step, const SetResult &result)
{
    const Outcome outcome = result.outcome;
    ++m_counts[outcome];
    if (outcomeCode(outcome) != ExitCode::Done)
        ++m_advice[{outcome, adviceAfter(result)}];
    m_session.writer->add(resultJson(outcome, step, m_session));
    // Without an answer the panel's data is from before the change, and is not shown as its result.
    const bool isSilent = outcome == Outcome::NoAnswer || outcome == Outcome::Unverified;
    const bool isTold = step.now && (result.isHeard || !isSilent);
    m_session.writer->print(resultLines(step.entry, QLatin1String(outcomeName(outcome)),
                                        isTold ? toldText(step) : QString(), m_settingsWidth,
                                        m_session.terminal.columns()));
}

void PlanRun::conclude()
{
    m_session.writer->endList(m_session.exchange.ignored());
    const auto total = m_plan.steps.size();
    const auto good = m_counts[Outcome::Applied] + m_counts[Outcome::AlreadySo];
    m_session.terminal.note(QStringLiteral("%1 of %2 panels are as planned.").arg(good).arg(total));
    m_session.noteIgnored();
    warnOfSharedAddresses();
    for (const auto &[advice, count] : m_advice)
        m_session.terminal.error(QStringLiteral("%1 %2: %3")
                                     .arg(count)
                                     .arg(QLatin1String(outcomeName(advice.first)), advice.second));
}

// Two panels share an address when one of a circle failed after another had taken its address.
void PlanRun::warnOfSharedAddresses()
{
    for (const PlanStep &step : m_plan.steps) {
        if (step.now && step.isAlreadySo() && m_execution.isHeldByAnother(step.now->address, step.entry.mac))
            m_session.terminal.error(
                QStringLiteral("%1 now shares the address %2 with another panel: give that one another")
                    .arg(macText(step.entry.mac), ipv4Text(step.now->address)));
    }
}

// Of standard error; 0 when it is no terminal.
int errorColumns()
{
    return isTerminal(stderr) ? terminalColumns(stderr) : 0;
}

std::set<MacAddress> macsOf(const std::vector<PlanEntry> &entries)
{
    std::set<MacAddress> macs;
    for (const PlanEntry &entry : entries)
        macs.insert(entry.mac);
    return macs;
}

void confirm(const Plan &plan, Session &session)
{
    const auto changes = std::count_if(plan.steps.begin(), plan.steps.end(),
                                       [](const PlanStep &step) { return step.isChange(); });
    session.terminal.noteTable(planLines(plan, errorColumns()), !session.arguments.isSet("yes"));
    weighObjections(plan.objections, session.arguments.isSet("force"), session.terminal,
                    QStringLiteral("Correct the plan, or send it all the same with --force."));
    if (changes > 0)
        askConsent(session.arguments, session.terminal,
                   changes == 1 ? QStringLiteral("Change 1 panel?")
                                : QStringLiteral("Change %1 panels?").arg(changes));
}

} // namespace

ExitCode runPlan(const PlanContent &content, Session &session)
{
    const std::vector<PlanEntry> &entries = content.entries;
    const Search search = {everyWay(session.transport, session.reachedAt()), session.searchPatience(), {}};
    session.observer.showOnly([planned = macsOf(entries)](const Received &received) {
        return planned.count(Panel::fromReply(received).mac) > 0;
    });
    const PanelList panels = discoverPanels(session.exchange, search);
    std::size_t number = 0;
    const auto isThere = [&session, &number, total = entries.size()](const Panel &panel) {
        session.terminal.setProgressPrefix(QStringLiteral("panel %1 of %2: ").arg(++number).arg(total));
        return isWhereItTells(panel, session.exchange);
    };
    Plan plan = makePlan(entries, panels, session.transport.localInterfaces(), isThere);
    session.terminal.setProgressPrefix(QString());
    plan.objections += strangersInPlan(plan, panels, session);
    confirm(plan, session);
    return PlanRun(plan, panels, resultColumns(content), session).run();
}
