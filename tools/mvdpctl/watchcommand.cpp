#include "command.h"
#include "discovery.h"
#include "interrupt.h"
#include "panelwatch.h"
#include "session.h"

#include <QtCore/QDateTime>

namespace
{

const int DefaultMissedRounds = 3;
const std::chrono::seconds DefaultRound(2);

void report(const PanelEvent &event, const Session &session)
{
    const QDateTime now = QDateTime::currentDateTime();
    const QLatin1String name(eventName(event.kind));
    const Panel &panel = event.panel;
    const bool isChange = event.kind == PanelEvent::Changed;
    QJsonObject record = {
        {QStringLiteral("time"), now.toOffsetFromUtc(now.offsetFromUtc()).toString(Qt::ISODate)},
        {QStringLiteral("event"), name},
        {QStringLiteral("panel"), session.json(panel)}};
    if (isChange)
        record.insert(QStringLiteral("before"), session.json(event.before));
    session.writer->add(record);

    const QString start = QStringLiteral("%1 %2 %3 ")
                              .arg(now.toString(QStringLiteral("HH:mm:ss")))
                              .arg(name, -8)
                              .arg(macText(panel.mac));
    const QString facts = isChange ? changesText(event.before, panel)
                                   : QStringLiteral("%1 %2 %3")
                                         .arg(addressWithNetmask(panel.address, panel.netmask), -18)
                                         .arg(versionOrUnknown(panel), -10)
                                         .arg(panel.description);
    session.writer->say(start + facts);
}

class Watcher
{
public:
    explicit Watcher(Session &session)
        : m_session(session)
        , m_patience(session.arguments.patience(DefaultMissedRounds, DefaultRound))
        , m_watch(m_patience.rounds)
    {
    }

    void run();

private:
    void ask();
    void listen(const InterruptGuard &guard);

    Session &m_session;
    Patience m_patience;
    PanelWatch m_watch;
    const Request m_request = Request::toAll(MvdpCommand::Discover);
    bool m_couldSend = true;
};

void Watcher::run()
{
    const InterruptGuard guard;
    const auto everywhere = m_session.transport.everywhere();
    m_session.exchange.send(m_request, everywhere); // throws: a network that does not work is told at once
    const QStringList columns = {QStringLiteral("time"), QStringLiteral("event")};
    m_session.writer->begin(columns + panelColumns());
    for (;;) {
        listen(guard);
        if (guard.isInterrupted() || !m_session.terminal.canPrint())
            break;
        for (const PanelEvent &event : m_watch.endRound())
            report(event, m_session);
        ask();
    }
    m_session.terminal.note(QStringLiteral("Panels at the end: %1.").arg(m_watch.size()));
    m_session.noteIgnored();
}

// A cable that is pulled is no reason to stop: that the panels vanish is what the user wants to see.
void Watcher::ask()
{
    const bool canSend = m_session.exchange.trySend(m_request, m_session.transport.everywhere());
    if (m_couldSend && !canSend)
        m_session.terminal.warn(QStringLiteral("nothing can be sent at the moment; still watching"));
    m_couldSend = canSend;
}

void Watcher::listen(const InterruptGuard &guard)
{
    const auto deadline = Clock::now() + m_patience.timeout;
    while (!guard.isInterrupted() && m_session.terminal.canPrint()) {
        const auto reply = m_session.exchange.nextAnswer(m_request, InterruptGuard::nextLook(deadline));
        if (!reply) {
            if (Clock::now() >= deadline)
                return;
            continue;
        }
        const Panel panel = Panel::fromReply(*reply);
        if (m_watch.size() >= PanelLimit && !m_watch.knows(panel))
            m_session.exchange.countIgnored(Verdict::Answer, *reply);
        else if (const auto event = m_watch.hear(panel))
            report(*event, m_session);
    }
}

ExitCode run(const Arguments &arguments, Terminal &terminal)
{
    Session session(arguments, terminal);
    Watcher(session).run();
    return ExitCode::Done;
}

} // namespace

const Command WatchCommand = {
    "watch",
    "",
    "Show panels appear, change and vanish, until Ctrl-C.",
    "Asks every --timeout (2) seconds by broadcast and multicast on every network\n"
    "interface, and prints one line for each event with the time. A panel has\n"
    "vanished when it did not answer --rounds (3) times in a row. With --json each\n"
    "line is an object. Ctrl-C ends with exit status 0.",
    {{}, 0, 0},
    run,
};
