#include "command.h"
#include "echostatistics.h"
#include "interrupt.h"
#include "session.h"
#include "target.h"

#include <algorithm>
#include <random>

namespace
{

// Sends numbered echoes to one address and sorts what comes back.
class EchoRun
{
public:
    EchoRun(Exchange &exchange, Writer &writer, std::uint32_t target, std::vector<Destination> destinations)
        : m_exchange(exchange)
        , m_writer(writer)
        , m_target(target)
        , m_destinations(std::move(destinations))
    {
    }

    EchoStatistics run(int count, std::chrono::milliseconds interval, std::chrono::milliseconds timeout);

private:
    Request nextRequest();
    void listen(Clock::time_point deadline, bool untilAllAnswered);
    void take(const Received &received);
    void sayLine(const Received &received, const QString &what);

    struct Sent {
        Request request;
        Clock::time_point at;
        bool answered = false;
    };

    Exchange &m_exchange;
    Writer &m_writer;
    std::uint32_t m_target;
    std::vector<Destination> m_destinations;
    // Ctrl-C ends the command with its statistics, as people know it from ping.
    InterruptGuard m_guard;
    std::mt19937 m_random{std::random_device{}()};
    std::vector<Sent> m_sent;
    EchoStatistics m_statistics;
};

// Random bytes behind the header: a stale or foreign echo cannot look like ours, and every bit gets tried.
Request EchoRun::nextRequest()
{
    Request request = Request::toAll(MvdpCommand::Echo);
    std::uniform_int_distribution<int> byte(0, 255);
    for (std::size_t offset = MvdpDatagram::Tag; offset < MvdpDatagram::Size; ++offset)
        request.datagram.data()[offset] = static_cast<std::uint8_t>(byte(m_random));
    return request;
}

EchoStatistics EchoRun::run(int count, std::chrono::milliseconds interval, std::chrono::milliseconds timeout)
{
    for (int number = 1; number <= count && !m_guard.isInterrupted(); ++number) {
        m_sent.push_back({nextRequest(), Clock::now()});
        m_exchange.send(m_sent.back().request, m_destinations);
        m_statistics.addSent();
        if (number < count)
            listen(Clock::now() + interval, false);
    }
    if (!m_guard.isInterrupted())
        listen(Clock::now() + timeout, true);
    return m_statistics;
}

void EchoRun::listen(Clock::time_point deadline, bool untilAllAnswered)
{
    while (!m_guard.isInterrupted() && !(untilAllAnswered && m_statistics.isComplete())) {
        const auto received = m_exchange.nextDatagram(InterruptGuard::nextLook(deadline));
        if (received)
            take(*received);
        else if (Clock::now() >= deadline)
            return;
    }
}

void EchoRun::take(const Received &received)
{
    const auto now = Clock::now();
    Verdict verdict = Verdict::NotProtocol;
    for (std::size_t index = m_sent.size(); index-- > 0;) {
        Sent &sent = m_sent[index];
        verdict = judge(sent.request, received);
        if (verdict != Verdict::Answer)
            continue;
        if (sent.answered) {
            m_statistics.addDuplicate();
            sayLine(received, QStringLiteral("echo %1 once more").arg(index + 1));
            return;
        }
        sent.answered = true;
        const std::chrono::duration<double, std::milli> time = now - sent.at;
        m_statistics.addAnswer(time.count());
        sayLine(received, QStringLiteral("echo %1 after %2 ms").arg(index + 1).arg(time.count(), 0, 'f', 2));
        return;
    }
    // Only the one asked can alter what it was sent; from others it is somebody else's echo.
    if (verdict == Verdict::Altered && received.source == m_target) {
        m_statistics.addAltered();
        sayLine(received, QStringLiteral("an echo with ALTERED bytes"));
        return;
    }
    m_exchange.countIgnored(verdict, received);
}

void EchoRun::sayLine(const Received &received, const QString &what)
{
    m_writer.print({QStringLiteral("%1: %2").arg(ipv4Text(received.source), what)});
}

QStringList columns()
{
    return {QStringLiteral("mac"),        QStringLiteral("address"), QStringLiteral("sent"),
            QStringLiteral("answered"),   QStringLiteral("lost"),    QStringLiteral("altered"),
            QStringLiteral("duplicates"), QStringLiteral("leastMs"), QStringLiteral("meanMs"),
            QStringLiteral("mostMs")};
}

QJsonObject json(const EchoStatistics &statistics, const Panel &panel)
{
    QJsonObject object = {{QStringLiteral("mac"), macText(panel.mac)},
                          {QStringLiteral("address"), ipv4Text(panel.source)},
                          {QStringLiteral("sent"), statistics.sent()},
                          {QStringLiteral("answered"), statistics.answered()},
                          {QStringLiteral("lost"), statistics.lost()},
                          {QStringLiteral("altered"), statistics.altered()},
                          {QStringLiteral("duplicates"), statistics.duplicates()}};
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

// The panel has been heard in the search, so neither its power nor its cable is to blame.
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

ExitCode run(const Arguments &arguments, Terminal &terminal)
{
    panelNameFromText(arguments.words().first());
    const int count = arguments.number("count", 1, 1000000).value_or(4);
    const auto interval = arguments.seconds("interval").value_or(std::chrono::seconds(1));
    const auto timeout = arguments.seconds("timeout").value_or(std::chrono::seconds(2));

    Session session(arguments, terminal);
    const Panel panel = findTarget(session);
    const std::uint32_t address = session.reachedAt().value_or(panel.source);
    if (!session.reachedAt() && !arguments.isSet("interface"))
        requireRoute(address);
    EchoRun echo(session.exchange, *session.writer, address, session.transport.towards(address));
    const EchoStatistics statistics = echo.run(count, interval, timeout);
    session.writer->record(columns(), json(statistics, panel));
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

} // namespace

const Command EchoCommand = {
    "echo",
    "PANEL",
    "Have a panel send datagrams back and measure the time.",
    "Sends 256 bytes, of which all behind the header are random, to the panel's\n"
    "address, and compares what comes back byte for byte. Waits --timeout (2 seconds)\n"
    "after the last. Ctrl-C ends with the statistics so far. Exit status 0 when at\n"
    "least one echo came back and none was altered, 4 when one was.",
    {{{"count", "N", "How many (default 4)."},
      {"interval", "SECONDS", "Time between two (default 1)."},
      ToOption},
     1,
     1},
    run,
};
