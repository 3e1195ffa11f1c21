#include "action.h"

#include "confirm.h"
#include "session.h"
#include "settingscheck.h"
#include "target.h"
#include "ways.h"

namespace
{

// The answer comes when the platform service has taken the command, which can take a while.
const std::chrono::seconds AnswerTimeout(10);
const int HarmlessRounds = 3;

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
    std::optional<Received> send(const Panel &panel);
    std::vector<Destination> provenWay(const Panel &panel);
    void report(const Panel &panel, bool isDone);

    bool isHarmless() const { return m_action.question == nullptr; }

    const Action &m_action;
    Session &m_session;
};

ExitCode ActionRun::run()
{
    Panel panel = find();
    if (!isHarmless())
        askConsent(m_session.arguments, m_session.terminal,
                   QString::fromLatin1(m_action.question).arg(panelLabel(panel)));
    const auto answer = send(panel);
    // The resets are answered with the request, which says nothing of the panel.
    if (answer && !isAnsweredByTheRequest(static_cast<std::uint8_t>(m_action.command)))
        panel = Panel::fromReply(*answer);
    report(panel, answer.has_value());
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

std::optional<Received> ActionRun::send(const Panel &panel)
{
    const Patience patience = m_session.arguments.patience(isHarmless() ? HarmlessRounds : 1, AnswerTimeout);
    return m_session.exchange.ask(Request::toMac(m_action.command, panel.mac), {provenWay(panel)}, patience,
                                  QString::fromLatin1(m_action.name));
}

// The way that a question and its answer have just travelled: a request that is sent once must not be lost to
// a way that leads nowhere.
std::vector<Destination> ActionRun::provenWay(const Panel &panel)
{
    const Request question = Request::toMac(MvdpCommand::Identify, panel.mac);
    const auto ways = waysTo(panel, m_session.transport, m_session.reachedAt());
    const Patience patience = m_session.searchPatience();
    for (int round = 0; round < patience.rounds; ++round) {
        m_session.terminal.progress(QStringLiteral("looking for the way, round %1").arg(round + 1));
        for (const auto &way : ways) {
            if (m_session.exchange.trySend(question, way) &&
                m_session.exchange.nextAnswer(question, Clock::now() + patience.timeout))
                return way;
        }
    }
    throw Failure{ExitCode::NoAnswer,
                  QStringLiteral("%1 is not heard any more; nothing was sent to it").arg(panelLabel(panel)),
                  QStringLiteral("Look for it with 'mvdpctl discover'.")};
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
