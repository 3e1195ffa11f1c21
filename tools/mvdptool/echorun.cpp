#include "echorun.h"

#include "clock.h"

#include <algorithm>
#include <random>
#include <vector>

namespace
{

class EchoRun
{
public:
    EchoRun(Exchange &exchange, const std::vector<std::uint32_t> &addresses, const EchoPace &pace,
            const std::function<void(const Echo &)> &onEcho, const std::function<bool()> &isInterrupted)
        : m_exchange(exchange)
        , m_addresses(addresses)
        , m_pace(pace)
        , m_onEcho(onEcho)
        , m_isInterrupted(isInterrupted)
        , m_statistics(addresses.size())
    {
    }

    std::vector<EchoStatistics> run();

private:
    Request nextRequest();
    void sendToAll(int number);
    bool isComplete() const;
    void listen(Clock::time_point deadline, bool untilAllAnswered);
    void take(const Received &received);

    struct Sent {
        Request request;
        int number;
        std::size_t target;
        Clock::time_point at;
        bool answered = false;
    };

    Exchange &m_exchange;
    const std::vector<std::uint32_t> &m_addresses;
    const EchoPace &m_pace;
    const std::function<void(const Echo &)> &m_onEcho;
    const std::function<bool()> &m_isInterrupted;
    std::mt19937 m_random{std::random_device{}()};
    std::vector<Sent> m_sent;
    std::vector<EchoStatistics> m_statistics; // by target
};

// Random bytes behind the header, so that an old or foreign echo cannot be mistaken for ours, and to test
// every bit.
Request EchoRun::nextRequest()
{
    Request request = Request::toAll(MvdpCommand::Echo);
    std::uniform_int_distribution<int> byte(0, 255);
    for (std::size_t offset = MvdpDatagram::Tag; offset < MvdpDatagram::Size; ++offset)
        request.datagram.data()[offset] = static_cast<std::uint8_t>(byte(m_random));
    return request;
}

std::vector<EchoStatistics> EchoRun::run()
{
    for (int number = 1; number <= m_pace.count && !m_isInterrupted(); ++number) {
        sendToAll(number);
        if (number < m_pace.count)
            listen(Clock::now() + m_pace.interval, false);
    }
    if (!m_isInterrupted())
        listen(Clock::now() + m_pace.timeout, true);
    return m_statistics;
}

void EchoRun::sendToAll(int number)
{
    bool anySent = false;
    for (std::size_t target = 0; target < m_addresses.size(); ++target) {
        m_sent.push_back({nextRequest(), number, target, Clock::now()});
        const auto destinations = m_exchange.transport().towards(m_addresses[target]);
        anySent = m_exchange.trySend(m_sent.back().request, destinations) || anySent;
        m_statistics[target].addSent();
    }
    if (!anySent && m_addresses.size() == 1)
        m_exchange.failUnsent();
}

bool EchoRun::isComplete() const
{
    return std::all_of(m_statistics.begin(), m_statistics.end(),
                       [](const EchoStatistics &statistics) { return statistics.isComplete(); });
}

void EchoRun::listen(Clock::time_point deadline, bool untilAllAnswered)
{
    while (!m_isInterrupted() && !(untilAllAnswered && isComplete())) {
        const auto received = m_exchange.nextDatagram(nextLook(deadline));
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
        const std::chrono::duration<double, std::milli> time = now - sent.at;
        if (sent.answered) {
            m_statistics[sent.target].addDuplicate();
            m_onEcho({Echo::Again, received.source, sent.number, 0, sent.target});
        } else {
            sent.answered = true;
            m_statistics[sent.target].addAnswer(time.count());
            m_onEcho({Echo::First, received.source, sent.number, time.count(), sent.target});
        }
        return;
    }
    // Only the panel at an address can alter what was sent to it. From others it is the echo of another
    // request.
    const auto target = std::find(m_addresses.begin(), m_addresses.end(), received.source);
    if (verdict == Verdict::Altered && target != m_addresses.end()) {
        const auto index = static_cast<std::size_t>(target - m_addresses.begin());
        m_statistics[index].addAltered();
        m_onEcho({Echo::Altered, received.source, 0, 0, index});
        return;
    }
    m_exchange.countIgnored(verdict, received);
}

} // namespace

EchoStatistics runEchoes(Exchange &exchange, const EchoOrder &order,
                         const std::function<void(const Echo &)> &onEcho,
                         const std::function<bool()> &isInterrupted)
{
    return runEchoes(exchange, {order.address}, order.pace, onEcho, isInterrupted).front();
}

std::vector<EchoStatistics> runEchoes(Exchange &exchange, const std::vector<std::uint32_t> &addresses,
                                      const EchoPace &pace, const std::function<void(const Echo &)> &onEcho,
                                      const std::function<bool()> &isInterrupted)
{
    return EchoRun(exchange, addresses, pace, onEcho, isInterrupted).run();
}
