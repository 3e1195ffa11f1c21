#include "command.h"
#include "echorun.h"
#include "interrupt.h"
#include "resultlines.h"
#include "selection.h"
#include "session.h"
#include "target.h"

#include <algorithm>

namespace
{

QString text(const Echo &echo)
{
    switch (echo.kind) {
    case Echo::First:
        return QStringLiteral("echo %1 after %2 ms").arg(echo.number).arg(echo.milliseconds, 0, 'f', 2);
    case Echo::Again:
        return QStringLiteral("echo %1 once more").arg(echo.number);
    case Echo::Altered:
        break;
    }
    return QStringLiteral("an echo with ALTERED bytes");
}

QStringList columns()
{
    return QStringList{QStringLiteral("mac"),        QStringLiteral("address"), QStringLiteral("sent"),
                       QStringLiteral("answered"),   QStringLiteral("lost"),    QStringLiteral("altered"),
                       QStringLiteral("duplicates"), QStringLiteral("leastMs"), QStringLiteral("meanMs"),
                       QStringLiteral("mostMs")} +
           labelColumns() + QStringList{QStringLiteral("word")};
}

QJsonObject json(const EchoStatistics &statistics, const Selected &selected, const Session &session)
{
    const auto &panel = selected.panel;
    QJsonObject object = {
        {QStringLiteral("mac"), panel ? QJsonValue(macText(panel->mac)) : QJsonValue()},
        {QStringLiteral("address"), panel ? QJsonValue(ipv4Text(panel->source)) : QJsonValue()},
        {QStringLiteral("sent"), statistics.sent()},
        {QStringLiteral("answered"), statistics.answered()},
        {QStringLiteral("lost"), statistics.lost()},
        {QStringLiteral("altered"), statistics.altered()},
        {QStringLiteral("duplicates"), statistics.duplicates()},
        {QStringLiteral("word"), selected.word.isEmpty() ? QJsonValue() : QJsonValue(selected.word)}};
    insertLabel(object, panel ? session.names.labelOf(panel->mac) : PanelLabel());
    if (statistics.answered() > 0) {
        object.insert(QStringLiteral("leastMs"), statistics.least());
        object.insert(QStringLiteral("meanMs"), statistics.mean());
        object.insert(QStringLiteral("mostMs"), statistics.most());
    }
    return object;
}

QStringList lines(const EchoStatistics &statistics)
{
    const int sent = statistics.sent();
    QString counts = QStringLiteral("%1 sent, %2 came back, %3 lost (%4 %)")
                         .arg(sent)
                         .arg(statistics.answered())
                         .arg(statistics.lost())
                         .arg(sent == 0 ? 0 : 100 * statistics.lost() / sent);
    if (statistics.altered() > 0)
        counts += QStringLiteral(", %1 altered").arg(statistics.altered());
    if (statistics.duplicates() > 0)
        counts += QStringLiteral(", %1 more than once").arg(statistics.duplicates());
    if (statistics.answered() == 0)
        return {counts};
    return {counts, QStringLiteral("round trip %1 / %2 / %3 ms (least, mean, most)")
                        .arg(statistics.least(), 0, 'f', 2)
                        .arg(statistics.mean(), 0, 'f', 2)
                        .arg(statistics.most(), 0, 'f', 2)};
}

// The panel answered the search, so neither its power nor its cable is the cause.
const char ForeignSubnetAdvice[] =
    "It was heard by broadcast or multicast, but an echo goes to its address, which is on no subnet of this "
    "computer: name the --interface to it, give this computer an address there, or the panel one here with "
    "'mvdpctl set'.";

QString silenceAdvice(std::uint32_t address, const Session &session)
{
    const auto &interfaces = session.transport.interfaces();
    const bool isNear =
        std::any_of(interfaces.begin(), interfaces.end(),
                    [address](const NetworkInterface &interface) { return interface.isOnSubnet(address); });
    return isNear ? heardBeforeAdvice() : QString::fromLatin1(ForeignSubnetAdvice);
}

void requireRoute(std::uint32_t address)
{
    if (!Transport::hasRouteTo(address))
        throw Failure{ExitCode::NetworkTrouble,
                      QStringLiteral("there is no route to %1").arg(ipv4Text(address)),
                      QString::fromLatin1(ForeignSubnetAdvice)};
}

EchoPace paceOf(const Arguments &arguments)
{
    return {arguments.number("count", 1, 1000000).value_or(4),
            arguments.seconds("interval").value_or(std::chrono::seconds(1)),
            arguments.seconds("timeout").value_or(std::chrono::seconds(2))};
}

ExitCode echoOne(const PanelName &name, const EchoPace &pace, Session &session)
{
    const Panel panel = findTarget(name, session);
    const std::uint32_t address = session.reachedAt().value_or(panel.source);
    if (!session.reachedAt() && !session.arguments.isSet("interface"))
        requireRoute(address);
    // Ctrl-C ends the command with its statistics, as with ping.
    const InterruptGuard guard;
    const auto print = [&session](const Echo &echo) {
        session.writer->print({QStringLiteral("%1: %2").arg(ipv4Text(echo.source), text(echo))});
    };
    const EchoStatistics statistics =
        runEchoes(session.exchange, {address, pace}, print, [&guard] { return guard.isInterrupted(); });
    session.writer->record(columns(), json(statistics, {name.text, panel}, session));
    session.writer->print(lines(statistics));
    session.noteIgnored();
    if (statistics.altered() > 0)
        throw Failure{
            ExitCode::NetworkTrouble,
            QStringLiteral("%1 sent back other bytes than it was sent").arg(ipv4Text(address)),
            QStringLiteral("Something on the way changes datagrams, or two devices hold this address.")};
    if (statistics.answered() == 0)
        throw Failure{ExitCode::NoAnswer, QStringLiteral("no echo from %1").arg(ipv4Text(address)),
                      silenceAdvice(address, session)};
    return ExitCode::Done;
}

struct EchoResult {
    const char *name;
    ExitCode code;
};

EchoResult resultOf(const EchoStatistics &statistics, const Selected &selected)
{
    if (!selected.panel)
        return {"not found", ExitCode::NoAnswer};
    if (statistics.altered() > 0)
        return {"altered", ExitCode::NetworkTrouble};
    return statistics.answered() > 0 ? EchoResult{"done", ExitCode::Done}
                                     : EchoResult{"no echo", ExitCode::NoAnswer};
}

QStringList summary(const EchoStatistics &statistics, const Panel &panel, const Session &session)
{
    const QStringList facts = factsOf(panel, session);
    const QString time = statistics.answered() == 0
                             ? QStringLiteral("-")
                             : QStringLiteral("%1 ms").arg(statistics.mean(), 0, 'f', 2);
    return {QStringLiteral("%1 of %2").arg(statistics.answered()).arg(statistics.sent()), facts[0],
            time.leftJustified(9), facts[1]};
}

ExitCode echoSeveral(const std::vector<PanelName> &names, const EchoPace &pace, Session &session)
{
    const Selection selection = selectPanels(names, session.arguments.isSet("all"), session);
    std::vector<std::uint32_t> addresses;
    for (const Selected &selected : selection.items) {
        if (selected.panel)
            addresses.push_back(selected.panel->source);
    }
    const InterruptGuard guard;
    session.terminal.progress(QStringLiteral("sending echoes to %1 panels").arg(addresses.size()));
    const std::vector<EchoStatistics> all = runEchoes(
        session.exchange, addresses, pace, [](const Echo &) {}, [&guard] { return guard.isInterrupted(); });
    session.writer->beginList(columns(), QStringLiteral("results"));
    WorstCode worst;
    auto next = all.begin();
    for (const Selected &selected : selection.items) {
        const EchoStatistics statistics = selected.panel ? *next++ : EchoStatistics();
        const EchoResult result = resultOf(statistics, selected);
        worst.add(result.code);
        session.writer->add(json(statistics, selected, session));
        session.writer->print({resultLine(
            selected.panel ? macText(selected.panel->mac) : selected.word, QLatin1String(result.name),
            selected.panel ? summary(statistics, *selected.panel, session) : QStringList(),
            session.terminal.columns())});
    }
    session.writer->endList(session.exchange.ignored());
    session.writer->note(QStringLiteral("%1 of %2 sent echoes back.").arg(worst.good()).arg(worst.all()));
    session.noteIgnored();
    return worst.code();
}

ExitCode run(const Arguments &arguments, Terminal &terminal)
{
    const EchoPace pace = paceOf(arguments);
    Session session(arguments, terminal);
    const std::vector<PanelName> names = selectedNames(session);
    return isForSeveral(arguments) ? echoSeveral(names, pace, session)
                                   : echoOne(names.front(), pace, session);
}

} // namespace

const Command EchoCommand = {
    "echo",
    PanelsSynopsis,
    "Have panels send datagrams back and measure the time.",
    "Sends 256 bytes, of which all behind the header are random, to the panel's\n"
    "address, and compares what comes back byte for byte. Waits --timeout (2 seconds)\n"
    "after the last. Ctrl-C ends with the statistics so far. Exit status 0 when at\n"
    "least one echo came back and none was altered, 4 when one was. Several panels\n"
    "are sent theirs at the same time, and each gets a line with the mean time.",
    {{{"count", "N", "How many (default 4)."},
      {"interval", "SECONDS", "Time between two (default 1)."},
      AllOption,
      ToOption},
     0,
     MostPanels},
    run,
};
