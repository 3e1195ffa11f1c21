#include "command.h"
#include "interrupt.h"
#include "panelwatcher.h"
#include "session.h"

#include <QtCore/QDateTime>

namespace
{

const int DefaultMissedRounds = 3;
const std::chrono::seconds DefaultRound(2);

void report(const PanelEvent &event, const Session &session)
{
    const QDateTime now = QDateTime::currentDateTime();
    const QLatin1String kind(eventName(event.kind));
    const Panel &panel = event.panel;
    const bool isChange = event.kind == PanelEvent::Changed;
    QJsonObject record = {
        {QStringLiteral("time"), now.toOffsetFromUtc(now.offsetFromUtc()).toString(Qt::ISODate)},
        {QStringLiteral("event"), kind},
        {QStringLiteral("panel"), session.json(panel)}};
    if (isChange)
        record.insert(QStringLiteral("before"), session.json(event.before));
    session.writer->add(record);

    const QString name = session.nameOf(panel);
    const QString start = QStringLiteral("%1 %2 %3 ")
                              .arg(now.toString(QStringLiteral("HH:mm:ss")))
                              .arg(kind, -8)
                              .arg(macText(panel.mac));
    const QString facts =
        isChange ? (name.isEmpty() ? name : name + QStringLiteral(": ")) + changesText(event.before, panel)
                 : QStringLiteral("%1 %2 %3")
                       .arg(addressWithNetmask(panel.address, panel.netmask), -18)
                       .arg(versionOrUnknown(panel), -10)
                       .arg(name.isEmpty() ? panel.description : name);
    session.writer->say(start + facts);
}

ExitCode run(const Arguments &arguments, Terminal &terminal)
{
    Session session(arguments, terminal);
    const InterruptGuard guard;
    PanelWatcher watcher(session.exchange, arguments.patience(DefaultMissedRounds, DefaultRound));
    watcher.start();
    const QStringList columns = {QStringLiteral("time"), QStringLiteral("event")};
    session.writer->begin(columns + panelColumns() + labelColumns());
    watcher.run([&session](const PanelEvent &event) { report(event, session); },
                [&guard, &terminal] { return guard.isInterrupted() || !terminal.canPrint(); });
    terminal.note(QStringLiteral("Panels at the end: %1.").arg(watcher.size()));
    session.noteIgnored();
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
