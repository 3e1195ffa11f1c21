#include "command.h"
#include "echostatistics.h"
#include "exchange.h"

#include <QtCore/QJsonDocument>

#include <csignal>
#include <map>
#include <random>

namespace
{

volatile std::sig_atomic_t interrupted = 0;

void interrupt(int)
{
    interrupted = 1;
}

// Lets Ctrl-C end the command with its statistics, as people know it from ping.
class InterruptGuard
{
public:
    InterruptGuard()
    {
        struct sigaction action = {};
        action.sa_handler = interrupt; // without SA_RESTART: poll() must return
        sigaction(SIGINT, &action, &m_before);
    }
    ~InterruptGuard() { sigaction(SIGINT, &m_before, nullptr); }
    InterruptGuard(const InterruptGuard &) = delete;
    InterruptGuard &operator=(const InterruptGuard &) = delete;

private:
    struct sigaction m_before = {};
};

// Sends numbered echoes to one address and sorts what comes back.
class EchoRun
{
public:
    EchoRun(Exchange &exchange, Terminal &terminal, std::uint32_t target,
            std::vector<Destination> destinations, bool printLines)
        : m_exchange(exchange)
        , m_terminal(terminal)
        , m_target(target)
        , m_destinations(std::move(destinations))
        , m_printLines(printLines)
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
    Terminal &m_terminal;
    std::uint32_t m_target;
    std::vector<Destination> m_destinations;
    bool m_printLines;
    std::mt19937 m_random{std::random_device{}()};
    std::vector<Sent> m_sent;
    EchoStatistics m_statistics;
};

// Random bytes behind the header: a stale or foreign echo cannot look like ours, and every bit gets tried.
Request EchoRun::nextRequest()
{
    Request request = Request::toAll(MvdpCommand::Echo);
    std::uniform_int_distribution<int> byte(0, 255);
    for (std::size_t offset = MvdpDatagram::Unused; offset < MvdpDatagram::Size; ++offset)
        request.datagram.data()[offset] = static_cast<std::uint8_t>(byte(m_random));
    return request;
}

EchoStatistics EchoRun::run(int count, std::chrono::milliseconds interval, std::chrono::milliseconds timeout)
{
    InterruptGuard guard;
    for (int number = 1; number <= count && interrupted == 0; ++number) {
        m_sent.push_back({nextRequest(), Clock::now()});
        m_exchange.send(m_sent.back().request, m_destinations);
        m_statistics.addSent();
        if (number < count)
            listen(Clock::now() + interval, false);
    }
    if (interrupted == 0)
        listen(Clock::now() + timeout, true);
    return m_statistics;
}

void EchoRun::listen(Clock::time_point deadline, bool untilAllAnswered)
{
    while (interrupted == 0 && !(untilAllAnswered && m_statistics.isComplete())) {
        const auto received = m_exchange.nextDatagram(deadline);
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
    if (m_printLines)
        m_terminal.print(QStringLiteral("%1: %2").arg(ipv4Text(received.source), what));
}

std::uint32_t addressOf(const MacAddress &mac, Exchange &exchange, const Transport &transport,
                        const Patience &patience)
{
    const auto answer =
        exchange.ask(Request::toMac(MvdpCommand::Identify, mac), transport.everywhere(), patience);
    if (!answer)
        throw Failure{ExitCode::NoAnswer, QStringLiteral("no panel %1 answered").arg(macText(mac)),
                      exchange.noAnswerAdvice()};
    return answer->source;
}

ExitCode run(const Arguments &arguments, Terminal &terminal)
{
    const QString target = arguments.words().first();
    const auto mac = macFromText(target);
    if (!mac && !ipv4FromText(target))
        throwUsage(QStringLiteral("'%1' is neither a MAC address nor an IPv4 address").arg(target));
    const int count = arguments.number("count", 1, 1000000).value_or(4);
    const auto interval = arguments.seconds("interval").value_or(std::chrono::seconds(1));
    const Patience patience = arguments.patience(5, std::chrono::seconds(2));

    Transport transport(arguments.transportOptions());
    Exchange exchange(transport, terminal);
    const std::uint32_t address =
        mac ? addressOf(*mac, exchange, transport, patience) : addressArgument(target);
    if (transport.reachesMany(address))
        throwUsage(QStringLiteral("%1 is not the address of one panel").arg(target));

    EchoRun echo(exchange, terminal, address, transport.towards(address), !arguments.isSet("json"));
    const EchoStatistics statistics = echo.run(count, interval, patience.timeout);
    if (arguments.isSet("json")) {
        QJsonObject document = statistics.json();
        document.insert(QStringLiteral("address"), ipv4Text(address));
        terminal.printJson(QJsonDocument(document).toJson());
    } else {
        for (const QString &line : statistics.lines())
            terminal.print(line);
    }
    if (exchange.ignored() > 0)
        terminal.note(exchange.ignoredText());
    if (statistics.altered() > 0)
        throw Failure{
            ExitCode::NetworkTrouble,
            QStringLiteral("%1 sent back other bytes than it was sent").arg(ipv4Text(address)),
            QStringLiteral("Something on the way changes datagrams, or two devices hold this address.")};
    if (statistics.answered() == 0)
        throw Failure{ExitCode::NoAnswer, QStringLiteral("no echo from %1").arg(ipv4Text(address)),
                      exchange.noAnswerAdvice()};
    return ExitCode::Done;
}

} // namespace

const Command EchoCommand = {
    "echo",
    "MAC|ADDRESS",
    "Have a panel send datagrams back and measure the time.",
    "Sends 256 bytes, of which all behind the header are random, and compares what\n"
    "comes back byte for byte. With a MAC address the panel's IP address is looked\n"
    "up first. Ctrl-C ends with the statistics so far. Exit status 0 when at least\n"
    "one echo came back and none was altered, 4 when one was.",
    {{{"count", "N", "How many (default 4)."}, {"interval", "SECONDS", "Time between two (default 1)."}},
     1,
     1},
    run,
};
