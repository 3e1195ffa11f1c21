#include "action.h"

#include "confirm.h"
#include "interrupt.h"
#include "panelaction.h"
#include "resultlines.h"
#include "selection.h"
#include "session.h"
#include "settingscheck.h"
#include "target.h"
#include "toolerror.h"

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
const ActionReport Trouble = {"trouble", ExitCode::NetworkTrouble};
const ActionReport NotTried = {"not tried", ExitCode::NoAnswer};

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
    ActionReport carryOut(Panel &panel);
    ActionOrder order() const;
    void reportAlone(const QString &word, const Panel &panel, bool isDone);

    bool isHarmless() const { return m_action.question == nullptr; }

    const Action &m_action;
    Session &m_session;
};

ExitCode ActionRun::run()
{
    const std::vector<PanelName> names = selectedNames(m_session);
    return isForSeveral(m_session.arguments) ? runSeveral(names) : runOne(names.front());
}

ExitCode ActionRun::runOne(const PanelName &name)
{
    const Panel panel = find(name);
    if (!isHarmless())
        askConsent(m_session.arguments, m_session.terminal,
                   QString::fromLatin1(m_action.question).arg(m_session.label(panel)));
    const ActionResult result = sendAction(m_session.exchange, panel, order());
    if (result.outcome == ActionResult::NotHeard)
        throw Failure{
            ExitCode::NoAnswer,
            QStringLiteral("%1 is not heard any more; nothing was sent to it").arg(m_session.label(panel)),
            QStringLiteral("Look for it with 'mvdpctl discover'.")};
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
    leaveOutUnknown(selection, m_session);
    if (!isHarmless())
        confirm(selection);
    m_session.writer->beginList(resultColumns(), QStringLiteral("results"));
    const InterruptGuard guard;
    WorstCode worst;
    std::size_t number = 0;
    for (Selected &selected : selection.items) {
        m_session.terminal.setProgressPrefix(
            QStringLiteral("panel %1 of %2: ").arg(++number).arg(selection.items.size()));
        const ActionReport report = !selected.panel         ? NotFound
                                    : guard.isInterrupted() ? NotTried
                                                            : carryOut(*selected.panel);
        worst.add(report.code);
        reportResult(m_action.name, report.result, selected, m_session);
    }
    m_session.writer->endList(m_session.exchange.ignored());
    m_session.terminal.note(QStringLiteral("%1 of %2 done.").arg(worst.good()).arg(worst.all()));
    m_session.noteIgnored();
    return worst.code();
}

void ActionRun::confirm(const Selection &selection)
{
    QStringList lines;
    int count = 0;
    for (const Selected &selected : selection.items) {
        if (!selected.panel) {
            lines << QStringLiteral("  %1: not found").arg(selected.word);
            continue;
        }
        ++count;
        lines << QStringLiteral("  ") + m_session.label(*selected.panel);
        weighObjections(targetObjections(selected.panel->mac, selection.panels), true, m_session.terminal);
    }
    if (!m_session.arguments.isSet("yes"))
        m_session.terminal.noteTable(lines, true);
    askConsent(m_session.arguments, m_session.terminal,
               QString::fromLatin1(m_action.questionForSeveral).arg(count));
}

// Stores the panel's last reply.
ActionReport ActionRun::carryOut(Panel &panel)
{
    showOnly(panel, m_session);
    try {
        const ActionResult result = sendAction(m_session.exchange, panel, order());
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
    m_session.writer->record(
        resultColumns(),
        resultJson(m_action.name, isDone ? Done.result : NoAnswer.result, {word, panel}, m_session));
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

} // namespace

ExitCode runAction(const Action &action, const Arguments &arguments, Terminal &terminal)
{
    if (action.question != nullptr)
        requireConsent(arguments, terminal, QStringLiteral("'%1' changes panels").arg(action.name));
    Session session(arguments, terminal);
    return ActionRun(action, session).run();
}
