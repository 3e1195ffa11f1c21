#include "echorun.h"

#include "clock.h"

#include <random>
#include <vector>

namespace
{

class EchoRun
{
public:
    EchoRun(Exchange &exchange, const EchoOrder &order, const std::function<void(const Echo &)> &onEcho,
            const std::function<bool()> &isInterrupted)
        : m_exchange(exchange)
        , m_order(order)
        , m_onEcho(onEcho)
        , m_isInterrupted(isInterrupted)
    {
    }

    EchoStatistics run();

private:
    Request nextRequest();
    void listen(Clock::time_point deadline, bool untilAllAnswered);
    void take(const Received &received);

    struct Sent {
        Request request;
        Clock::time_point at;
        bool answered = false;
    };

    Exchange &m_exchange;
    const EchoOrder &m_order;
    const std::function<void(const Echo &)> &m_onEcho;
    const std::function<bool()> &m_isInterrupted;
    std::mt19937 m_random{std::random_device{}()};
    std::vector<Sent> m_sent;
    EchoStatistics m_statistics;
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

EchoStatistics EchoRun::run()
{
    const auto destinations = m_exchange.transport().towards(m_order.address);
    for (int number = 1; number <= m_order.count && !m_isInterrupted(); ++number) {
        m_sent.push_back({nextRequest(), Clock::now()});
        m_exchange.send(m_sent.back().request, destinations);
        m_statistics.addSent();
        if (number < m_order.count)
            listen(Clock::now() + m_order.interval, false);
    }
    if (!m_isInterrupted())
        listen(Clock::now() + m_order.timeout, true);
    return m_statistics;
}

void EchoRun::listen(Clock::time_point deadline, bool untilAllAnswered)
{
    while (!m_isInterrupted() && !(untilAllAnswered && m_statistics.isComplete())) {
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
        const int number = static_cast<int>(index) + 1;
        const std::chrono::duration<double, std::milli> time = now - sent.at;
        if (sent.answered) {
            m_statistics.addDuplicate();
            m_onEcho({Echo::Again, received.source, number, 0});
        } else {
            sent.answered = true;
            m_statistics.addAnswer(time.count());
            m_onEcho({Echo::First, received.source, number, time.count()});
        }
        return;
    }
    // Only the panel at the address can alter what was sent to it. From others it is the echo of another
    // request.
    if (verdict == Verdict::Altered && received.source == m_order.address) {
        m_statistics.addAltered();
        m_onEcho({Echo::Altered, received.source, 0, 0});
        return;
    }
    m_exchange.countIgnored(verdict, received);
}

} // namespace

EchoStatistics runEchoes(Exchange &exchange, const EchoOrder &order,
                         const std::function<void(const Echo &)> &onEcho,
                         const std::function<bool()> &isInterrupted)
{
    return EchoRun(exchange, order, onEcho, isInterrupted).run();
}
