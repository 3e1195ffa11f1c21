#include "action.h"

#include "confirm.h"
#include "interrupt.h"
#include "panelaction.h"
#include "panelreturn.h"
#include "resultlines.h"
#include "selection.h"
#include "session.h"
#include "settingscheck.h"
#include "target.h"
#include "toolerror.h"
#include "waiting.h"

#include <algorithm>

namespace
{

// What became of one panel.
struct ActionReport {
    const char *result; // in text, JSON and CSV
    ExitCode code;
};

const ActionReport Done = {"done", ExitCode::Done};
const ActionReport NoAnswer = {"no answer", ExitCode::NoAnswer};
const ActionReport NotHeard = {"not heard", ExitCode::NoAnswer};
const ActionReport NotFound = {"not found", ExitCode::NoAnswer};
// A request to the MAC address of zeros would be carried out by every panel that does not know its own.
const ActionReport NoIdentity = {"no MAC", ExitCode::NoAnswer};
const ActionReport Trouble = {"trouble", ExitCode::NetworkTrouble};
const ActionReport NotTried = {"not tried", ExitCode::NoAnswer};
// With --wait.
const ActionReport Back = {"back", ExitCode::Done};
const ActionReport NotBack = {"not back", ExitCode::NoAnswer};
const ActionReport Stayed = {"stayed", ExitCode::NoAnswer};
const ActionReport NotAwaited = {"not awaited", ExitCode::NoAnswer}; // interrupted

ActionReport reportOf(const AwaitedPanel &awaited, const InterruptGuard &guard)
{
    if (awaited.state == AwaitedPanel::Back)
        return Back;
    if (guard.isInterrupted())
        return NotAwaited;
    return awaited.state == AwaitedPanel::Here ? Stayed : NotBack;
}

class ActionRun
{
public:
    ActionRun(const Action &action, Session &session)
        : m_action(action)
        , m_session(session)
    {
    }

    ExitCode run();

private:
    ExitCode runOne(const PanelName &name);
    ExitCode runSeveral(const std::vector<PanelName> &names);
    Panel find(const PanelName &name);
    void confirm(const Selection &selection);
    ActionReport carryOut(Panel &panel, const InterruptGuard &guard);
    ActionOrder order() const;
    void take(const Selected &selected, const ActionReport &report, OutcomeTime waited);
    void wait(std::vector<Selected> &restarting, const InterruptGuard &guard);
    void reportAlone(const QString &word, const Panel &panel, bool isDone);
    ExitCode reportReturn(const QString &word, const Panel &panel);
    bool isToWait() const { return m_session.arguments.isSet("wait"); }

    bool isHarmless() const { return m_action.question == nullptr; }

    const Action &m_action;
    Session &m_session;
    WorstCode m_worst;
};

ExitCode ActionRun::run()
{
    const std::vector<PanelName> names = selectedNames(m_session);
    return isForSeveral(m_session.arguments) ? runSeveral(names) : runOne(names.front());
}

ExitCode ActionRun::runOne(const PanelName &name)
{
    const Panel panel = find(name);
    if (isToWait() && isZero(panel.mac))
        throwUsage(QStringLiteral("--wait goes by MAC addresses, and %1 does not know its own")
                       .arg(m_session.label(panel)));
    if (!isHarmless())
        askConsent(m_session.arguments, m_session.terminal,
                   QString::fromLatin1(m_action.question).arg(m_session.label(panel)));
    const ActionResult result = sendAction(m_session.exchange, panel, order());
    if (result.outcome == ActionResult::NotHeard)
        throw Failure{
            ExitCode::NoAnswer,
            QStringLiteral("%1 is not heard any more; nothing was sent to it").arg(m_session.label(panel)),
            QStringLiteral("Look for it with 'mvdpctl discover'.")};
    if (result.outcome == ActionResult::Done && isToWait())
        return reportReturn(name.text, result.panel);
    reportAlone(name.text, result.panel, result.outcome == ActionResult::Done);
    return ExitCode::Done;
}

Panel ActionRun::find(const PanelName &name)
{
    if (isHarmless())
        return findTarget(name, m_session);
    const PanelList panels = searchFor(name, m_session);
    Panel panel = onlyMatch(name, panels, m_session);
    weighObjections(targetObjections(panel.mac, panels), true, m_session.terminal);
    return panel;
}

ExitCode ActionRun::runSeveral(const std::vector<PanelName> &names)
{
    Selection selection = selectPanels(names, m_session.arguments.isSet("all"), m_session);
    if (!isHarmless())
        confirm(selection);
    m_session.writer->beginList(resultColumns(), QStringLiteral("results"));
    const InterruptGuard guard;
    m_session.terminal.hint(QStringLiteral("Ctrl-C ends with what is done, a second one at once."));
    std::vector<Selected> restarting;
    std::size_t number = 0;
    for (Selected &selected : selection.items) {
        m_session.terminal.setProgressPrefix(
            QStringLiteral("panel %1 of %2: ").arg(++number).arg(selection.items.size()));
        const ActionReport report = !selected.panel               ? NotFound
                                    : isZero(selected.panel->mac) ? NoIdentity
                                    : guard.isInterrupted()       ? NotTried
                                                                  : carryOut(*selected.panel, guard);
        if (report.result == Done.result && isToWait())
            restarting.push_back(selected);
        else
            take(selected, report, std::nullopt);
    }
    m_session.terminal.setProgressPrefix(QString());
    wait(restarting, guard);
    m_session.writer->endList(m_session.exchange.ignored());
    m_session.writer->note(QStringLiteral("%1 of %2 done.").arg(m_worst.good()).arg(m_worst.all()));
    m_session.noteIgnored();
    return m_worst.code();
}

void ActionRun::take(const Selected &selected, const ActionReport &report, OutcomeTime waited)
{
    m_worst.add(report.code);
    reportResult(m_action.name, report.result, selected, waited, m_session);
}

// Reports each panel when it is back, and at the end those that are not.
void ActionRun::wait(std::vector<Selected> &restarting, const InterruptGuard &guard)
{
    if (restarting.empty())
        return;
    // What their answers say is of interest, of all of them.
    m_session.observer.showOnly([](const Received &) { return true; });
    std::vector<MacAddress> macs;
    macs.reserve(restarting.size());
    for (const Selected &selected : restarting)
        macs.push_back(selected.panel->mac);
    const auto selectedOf = [&restarting](const MacAddress &mac) -> Selected & {
        return *std::find_if(restarting.begin(), restarting.end(),
                             [&mac](const Selected &selected) { return selected.panel->mac == mac; });
    };
    const auto onReturn = [this, &selectedOf](const AwaitedPanel &awaited) {
        Selected &selected = selectedOf(awaited.mac);
        selected.panel = awaited.panel;
        take(selected, Back, awaited.after);
    };
    const auto all = awaitReturns(m_session.exchange, macs, m_session.reachedAt(), onReturn,
                                  [&guard] { return guard.isInterrupted(); });
    for (const AwaitedPanel &awaited : all) {
        if (awaited.state != AwaitedPanel::Back)
            take(selectedOf(awaited.mac), reportOf(awaited, guard), std::nullopt);
    }
}

void ActionRun::confirm(const Selection &selection)
{
    QStringList lines;
    int count = 0;
    for (const Selected &selected : selection.items) {
        if (!selected.panel || isZero(selected.panel->mac)) {
            lines << (selected.panel ? QStringLiteral("left out, as it does not know its MAC address: %1")
                                           .arg(m_session.label(*selected.panel))
                                     : QStringLiteral("not found: %1").arg(selected.word));
            continue;
        }
        ++count;
        lines << m_session.label(*selected.panel);
        weighObjections(targetObjections(selected.panel->mac, selection.panels), true, m_session.terminal);
    }
    if (count == 0)
        return;
    if (!m_session.arguments.isSet("yes")) {
        for (const QString &line : lines)
            m_session.terminal.question(line);
    }
    askConsent(m_session.arguments, m_session.terminal,
               count == 1 ? QString::fromLatin1(m_action.question).arg(QStringLiteral("this panel"))
                          : QString::fromLatin1(m_action.questionForSeveral).arg(count));
}

// Stores the panel's last reply.
ActionReport ActionRun::carryOut(Panel &panel, const InterruptGuard &guard)
{
    showOnly(panel, m_session);
    try {
        ActionOrder interruptible = order();
        interruptible.isInterrupted = [&guard] { return guard.isInterrupted(); };
        const ActionResult result = sendAction(m_session.exchange, panel, interruptible);
        panel = result.panel;
        return result.outcome == ActionResult::Done       ? Done
               : result.outcome == ActionResult::NoAnswer ? NoAnswer
                                                          : NotHeard;
    } catch (const ToolError &error) {
        // The others may be connected to another interface.
        m_session.terminal.error(error.message);
        return Trouble;
    }
}

ActionOrder ActionRun::order() const
{
    const Patience usual = actionPatience(m_action.command);
    return {m_action.command, QString::fromLatin1(m_action.name), m_session.searchPatience(),
            m_session.arguments.patience(usual.rounds, usual.timeout), m_session.reachedAt()};
}

void ActionRun::reportAlone(const QString &word, const Panel &panel, bool isDone)
{
    m_session.writer->record(resultColumns(),
                             resultJson(m_action.name, isDone ? Done.result : NoAnswer.result, {word, panel},
                                        std::nullopt, m_session));
    if (isDone)
        m_session.writer->say(QString::fromLatin1(m_action.done).arg(m_session.label(panel)));
    else
        m_session.writer->print(m_session.details(panel));
    m_session.noteIgnored();
    if (isDone)
        return;
    const QString what =
        QStringLiteral("%1 did not answer to '%2'").arg(m_session.label(panel), m_action.name);
    if (isHarmless())
        throw Failure{ExitCode::NoAnswer, what, heardBeforeAdvice()};
    throw Failure{ExitCode::NoAnswer, what,
                  QStringLiteral("It may have carried it out all the same and only its answer be lost: see "
                                 "with 'mvdpctl discover' before you ask it again.")};
}

ExitCode ActionRun::reportReturn(const QString &word, const Panel &panel)
{
    m_session.terminal.note(QString::fromLatin1(m_action.done).arg(m_session.label(panel)));
    const InterruptGuard guard;
    const auto awaited = awaitReturns(
        m_session.exchange, {panel.mac}, m_session.reachedAt(), [](const AwaitedPanel &) {},
        [&guard] { return guard.isInterrupted(); });
    const AwaitedPanel &one = awaited.front();
    const ActionReport report = reportOf(one, guard);
    const bool isBack = one.state == AwaitedPanel::Back;
    const Panel &last = isBack ? one.panel : panel;
    m_session.writer->record(resultColumns(),
                             resultJson(m_action.name, report.result, {word, last},
                                        isBack ? OutcomeTime(one.after) : std::nullopt, m_session));
    if (isBack)
        m_session.writer->say(
            QStringLiteral("%1 is back after %2.").arg(m_session.label(last), secondsText(one.after)));
    m_session.noteIgnored();
    if (isBack)
        return ExitCode::Done;
    const QString label = m_session.label(last);
    if (guard.isInterrupted())
        throw Failure{report.code, QStringLiteral("interrupted before %1 was back").arg(label),
                      QStringLiteral("Look for it with 'mvdpctl discover'.")};
    if (one.state == AwaitedPanel::Here)
        throw Failure{
            report.code,
            QStringLiteral("%1 has answered all the time, so it did not restart, or was away for less "
                           "than a second")
                .arg(label),
            QStringLiteral("See on its screen.")};
    throw Failure{report.code, QStringLiteral("%1 is not back").arg(label),
                  QStringLiteral("Look for it with 'mvdpctl discover'; it may have another address.")};
}

} // namespace

ExitCode runAction(const Action &action, const Arguments &arguments, Terminal &terminal)
{
    requireWords(arguments);
    if (action.question != nullptr)
        requireConsent(arguments, terminal, QStringLiteral("'%1' changes panels").arg(action.name));
    Session session(arguments, terminal);
    return ActionRun(action, session).run();
}
