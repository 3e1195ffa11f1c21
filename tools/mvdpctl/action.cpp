#include "action.h"

#include "confirm.h"
#include "panelaction.h"
#include "session.h"
#include "settingscheck.h"
#include "target.h"

namespace
{

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
    Panel find();
    ActionOrder order() const;
    void report(const Panel &panel, bool isDone);

    bool isHarmless() const { return m_action.question == nullptr; }

    const Action &m_action;
    Session &m_session;
};

ExitCode ActionRun::run()
{
    const Panel panel = find();
    if (!isHarmless())
        askConsent(m_session.arguments, m_session.terminal,
                   QString::fromLatin1(m_action.question).arg(panelLabel(panel)));
    const ActionResult result = sendAction(m_session.exchange, panel, order());
    if (result.outcome == ActionResult::NotHeard)
        throw Failure{
            ExitCode::NoAnswer,
            QStringLiteral("%1 is not heard any more; nothing was sent to it").arg(panelLabel(panel)),
            QStringLiteral("Look for it with 'mvdpctl discover'.")};
    report(result.panel, result.outcome == ActionResult::Done);
    return ExitCode::Done;
}

Panel ActionRun::find()
{
    if (isHarmless())
        return findTarget(m_session);
    const PanelName name = panelNameFromText(m_session.arguments.words().first());
    const PanelList panels = searchFor(name, m_session);
    Panel panel = onlyMatch(name, panels, m_session);
    weighObjections(targetObjections(panel.mac, panels), true, m_session.terminal);
    return panel;
}

ActionOrder ActionRun::order() const
{
    const Patience usual = actionPatience(m_action.command);
    return {m_action.command, QString::fromLatin1(m_action.name), m_session.searchPatience(),
            m_session.arguments.patience(usual.rounds, usual.timeout), m_session.reachedAt()};
}

void ActionRun::report(const Panel &panel, bool isDone)
{
    const QStringList columns = {QStringLiteral("command"), QStringLiteral("result")};
    m_session.writer->record(
        columns + panelColumns(),
        {{QStringLiteral("command"), QLatin1String(m_action.name)},
         {QStringLiteral("result"), isDone ? QStringLiteral("done") : QStringLiteral("no answer")},
         {QStringLiteral("panel"), m_session.json(panel)}});
    if (isDone)
        m_session.writer->say(QString::fromLatin1(m_action.done).arg(panelLabel(panel)));
    else
        m_session.writer->print(panelDetails(panel, m_session.interfaceNames()));
    m_session.noteIgnored();
    if (isDone)
        return;
    const QString what = QStringLiteral("%1 did not answer to '%2'").arg(panelLabel(panel), m_action.name);
    if (isHarmless())
        throw Failure{ExitCode::NoAnswer, what, heardBeforeAdvice()};
    throw Failure{ExitCode::NoAnswer, what,
                  QStringLiteral("It may have carried it out all the same and only its answer be lost: see "
                                 "with 'mvdpctl discover' before you ask it again.")};
}

} // namespace

ExitCode runAction(const Action &action, const Arguments &arguments, Terminal &terminal)
{
    panelNameFromText(arguments.words().first());
    if (action.question != nullptr)
        requireConsent(arguments, terminal, QStringLiteral("'%1' changes the panel").arg(action.name));
    Session session(arguments, terminal);
    return ActionRun(action, session).run();
}
