#include "exchange.h"

#include "toolerror.h"

#include <algorithm>
#include <numeric>

namespace
{

const char *reasonText(Verdict verdict)
{
    switch (verdict) {
    case Verdict::WrongLength:
        return "of the wrong length";
    case Verdict::NotProtocol:
        return "no panel's reply";
    case Verdict::OtherCommand:
        return "answering another command";
    case Verdict::OtherMac:
        return "of another panel";
    case Verdict::Altered:
        return "with altered bytes";
    case Verdict::Answer:
        break;
    }
    return "too many";
}

} // namespace

Exchange::Exchange(Transport &transport, Observer &observer)
    : m_transport(transport)
    , m_observer(observer)
{
}

void Exchange::failUnsent() const
{
    const QStringList problems = m_transport.problems();
    const QStringList mute = m_transport.interfacesWithoutAddress();
    if (problems.isEmpty() && !mute.isEmpty())
        throw ToolError{ToolError::NothingSent, QStringLiteral("no network interface has an IPv4 address"),
                        QStringLiteral("Give one to %1: any will do, also outside the panels' subnets.")
                            .arg(mute.join(QStringLiteral(" or ")))};
    throw ToolError{ToolError::NothingSent,
                    problems.isEmpty() ? QStringLiteral("no network interface to send on") : problems.last(),
                    {}};
}

void Exchange::send(const Request &request, const std::vector<Destination> &destinations)
{
    if (!trySend(request, destinations))
        failUnsent();
}

bool Exchange::trySend(const Request &request, const std::vector<Destination> &destinations)
{
    m_commandsSent.set(request.datagram.command());
    bool anySent = false;
    for (const Destination &destination : destinations)
        anySent = m_transport.send(request.datagram.data(), request.length, destination) || anySent;
    m_observer.sent(request, destinations);
    const QStringList problems = m_transport.problems();
    for (; anySent && m_problemsTold < problems.size(); ++m_problemsTold)
        m_observer.warning(problems.at(m_problemsTold));
    return anySent;
}

std::optional<Received> Exchange::nextDatagram(Clock::time_point deadline)
{
    std::optional<Received> received = m_transport.receive(deadline);
    if (received)
        m_observer.received(*received);
    return received;
}

std::optional<Received> Exchange::nextAnswer(const Request &request, Clock::time_point deadline)
{
    while (std::optional<Received> received = nextDatagram(deadline)) {
        const Verdict verdict = judge(request, *received);
        if (verdict == Verdict::Answer)
            return received;
        countIgnored(verdict, *received);
    }
    return std::nullopt;
}

std::optional<Received> Exchange::nextAnswer(const Request &request, Clock::time_point deadline,
                                             const std::function<bool()> &isInterrupted)
{
    if (!isInterrupted)
        return nextAnswer(request, deadline);
    while (!isInterrupted()) {
        if (std::optional<Received> answer = nextAnswer(request, nextLook(deadline)))
            return answer;
        if (Clock::now() >= deadline)
            break;
    }
    return std::nullopt;
}

void Exchange::countIgnored(Verdict verdict, const Received &received)
{
    if (verdict == Verdict::OtherCommand && m_commandsSent.test(received.datagram.command()))
        return;
    ++m_counts[static_cast<std::size_t>(verdict)];
    m_observer.ignored(received, QLatin1String(reasonText(verdict)));
}

std::optional<Received> Exchange::ask(const Request &request,
                                      const std::vector<std::vector<Destination>> &ways,
                                      const Patience &patience, const QString &doing,
                                      const std::function<bool()> &isInterrupted)
{
    bool anySent = false;
    for (int round = 0; round < patience.rounds && !(isInterrupted && isInterrupted()); ++round) {
        m_observer.progress(
            QStringLiteral("%1, attempt %2 of %3").arg(doing).arg(round + 1).arg(patience.rounds));
        if (!trySend(request, ways[static_cast<std::size_t>(round) % ways.size()]))
            continue;
        anySent = true;
        if (std::optional<Received> answer =
                nextAnswer(request, Clock::now() + patience.timeout, isInterrupted))
            return answer;
    }
    if (!anySent && !(isInterrupted && isInterrupted()))
        failUnsent();
    return std::nullopt;
}

int Exchange::ignored() const
{
    return std::accumulate(m_counts.begin(), m_counts.end(), 0);
}

QString Exchange::ignoredText() const
{
    QStringList parts;
    for (std::size_t index = 0; index < m_counts.size(); ++index) {
        if (m_counts[index] > 0) {
            parts << QStringLiteral("%1 %2")
                         .arg(m_counts[index])
                         .arg(QLatin1String(reasonText(static_cast<Verdict>(index))));
        }
    }
    return QStringLiteral("%1 other %2 ignored: %3.")
        .arg(ignored())
        .arg(ignored() == 1 ? QStringLiteral("datagram was") : QStringLiteral("datagrams were"),
             parts.join(QStringLiteral(", ")));
}
