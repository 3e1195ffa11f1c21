#include "planrun.h"

#include "confirm.h"
#include "discovery.h"
#include "interrupt.h"
#include "outcomeadvice.h"
#include "panelreturn.h"
#include "planexecution.h"
#include "planinput.h"
#include "plantable.h"
#include "platform.h"
#include "resultlines.h"
#include "target.h"
#include "waiting.h"
#include "ways.h"
#include "whereabouts.h"
#include "wirecheck.h"

#include <algorithm>
#include <cstddef>
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

QStringList planColumns(const PlanContent &content)
{
    return outcomeColumns() + content.unknownColumns;
}

QJsonObject planRecord(Outcome outcome, const PlanStep &step, OutcomeTime waited, Session &session)
{
    const WantedSettings wanted = step.isFound() ? allOf(step.wanted) : step.entry.wanted;
    QJsonObject record = outcomeJson(outcome, step.entry.mac, wanted, step.now, step.entry.label, waited,
                                     session.interfaceNames());
    record.insert(QStringLiteral("columns"), step.entry.columns);
    return record;
}

class PlanRun
{
public:
    PlanRun(Plan plan, const PanelList &panels, const QStringList &columns, Session &session);
    PlanRun(const PlanRun &) = delete;
    PlanRun &operator=(const PlanRun &) = delete;

    ExitCode run();

private:
    std::optional<SettingsWait> settingsWait() const;
    SetResult carryOut(PlanStep &step);
    void report(const PlanStep &step, const SetResult &result);
    void conclude();
    void warnOfSharedAddresses();

    Plan m_plan;
    int m_settingsWidth;
    QStringList m_columns;
    Session &m_session;
    const InterruptGuard m_guard;
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
                  session.reachedAt(), settingsWait())
{
}

// With --wait, Ctrl-C ends the wait for the panel in hand.
std::optional<SettingsWait> PlanRun::settingsWait() const
{
    if (!m_session.arguments.isSet("wait"))
        return std::nullopt;
    return SettingsWait{ReturnLimit, [this] { return m_guard.isInterrupted(); }};
}

ExitCode PlanRun::run()
{
    m_session.writer->beginList(m_columns, QStringLiteral("results"));
    m_session.terminal.hint(QStringLiteral("Ctrl-C ends after the panel in hand, a second one at once."));
    int number = 0;
    for (PlanStep &step : m_plan.steps) {
        m_session.terminal.setProgressPrefix(
            QStringLiteral("panel %1 of %2: ").arg(++number).arg(m_plan.steps.size()));
        const bool skipped = step.isChange() && m_guard.isInterrupted();
        report(step, skipped ? unsent(Outcome::NotTried) : carryOut(step));
    }
    conclude();
    WorstCode worst;
    for (const auto &count : m_counts)
        worst.add(outcomeCode(count.first));
    return worst.code();
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
    const auto waited = m_session.arguments.isSet("wait") ? result.shownAfter : std::nullopt;
    m_session.writer->add(planRecord(outcome, step, waited, m_session));
    // Without an answer the panel's data is from before the change, and is not shown as its result.
    const bool isSilent = outcome == Outcome::NoAnswer || outcome == Outcome::Unverified;
    QString told = step.now && (result.isHeard || !isSilent) ? toldText(step) : QString();
    if (waited)
        told += QStringLiteral(", took ") + secondsText(*waited);
    m_session.writer->print(planResultLines(step.entry, QLatin1String(outcomeName(outcome)), told,
                                            m_settingsWidth, m_session.terminal.columns()));
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

std::ptrdiff_t changesIn(const Plan &plan)
{
    return std::count_if(plan.steps.begin(), plan.steps.end(),
                         [](const PlanStep &step) { return step.isChange(); });
}

void weigh(const Plan &plan, Session &session)
{
    weighObjections(plan.objections, session.arguments.isSet("force"), session.terminal,
                    QStringLiteral("Correct the plan, or send it all the same with --force."));
}

void confirm(const Plan &plan, Session &session)
{
    const bool isConsentGiven = session.arguments.isSet("yes");
    session.terminal.noteTable(planLines(plan, errorColumns()), !isConsentGiven);
    weigh(plan, session);
    const auto changes = changesIn(plan);
    if (changes == 0)
        return;
    if (isStandardInput(session.arguments.text("from")) && !isConsentGiven)
        throwUsage(QStringLiteral("the plan came on standard input, so no question can be answered there"),
                   QStringLiteral("Give --yes to send it all the same."));
    requireConsent(session.arguments, session.terminal, QStringLiteral("'set' changes panels"));
    askConsent(session.arguments, session.terminal,
               changes == 1 ? QStringLiteral("Change 1 panel?")
                            : QStringLiteral("Change %1 panels?").arg(changes));
}

ExitCode tellPlan(const Plan &plan, const QStringList &columns, Session &session)
{
    const bool isForced = session.arguments.isSet("force");
    session.writer->beginList(columns, QStringLiteral("results"));
    for (const PlanStep &step : plan.steps) {
        QJsonObject record = planRecord(Outcome::NotTried, step, std::nullopt, session);
        record.insert(QStringLiteral("result"), QLatin1String(expectedResult(step, isForced)));
        session.writer->add(record);
    }
    session.writer->endList(session.exchange.ignored());
    session.writer->print(planLines(plan, session.terminal.columns()));
    // What speaks against one change keeps the whole plan from being sent.
    const bool isRefused = !plan.objections.isEmpty() && !isForced;
    session.terminal.note(QStringLiteral("%1 of %2 panels would be changed; no settings were sent.")
                              .arg(isRefused ? 0 : changesIn(plan))
                              .arg(plan.steps.size()));
    session.noteIgnored();
    const auto missing = std::count_if(plan.steps.begin(), plan.steps.end(),
                                       [](const PlanStep &step) { return !step.isFound(); });
    if (missing > 0)
        session.terminal.error(
            QStringLiteral("%1 not found: %2").arg(missing).arg(adviceAfter(unsent(Outcome::NotFound))));
    weigh(plan, session);
    return missing > 0 ? ExitCode::NoAnswer : ExitCode::Done;
}

} // namespace

const char *expectedResult(const PlanStep &step, bool isForced)
{
    if (!step.isFound())
        return outcomeName(Outcome::NotFound);
    if (step.isAlreadySo())
        return outcomeName(Outcome::AlreadySo);
    return step.isObjectedTo && !isForced ? "objected to" : "would apply";
}

ExitCode runPlan(const PlanContent &content, Session &session)
{
    std::vector<PlanEntry> entries = content.entries;
    for (PlanEntry &entry : entries) {
        const PanelLabel known = session.names.labelOf(entry.mac);
        entry.label.name = entry.label.name.isEmpty() ? known.name : entry.label.name;
        entry.label.remark = entry.label.remark.isEmpty() ? known.remark : entry.label.remark;
    }
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
    objectToStrangers(plan, panels, session);
    if (session.arguments.isSet("dry-run"))
        return tellPlan(plan, planColumns(content), session);
    confirm(plan, session);
    return PlanRun(plan, panels, planColumns(content), session).run();
}
