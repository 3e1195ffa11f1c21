#include "panelaction.h"

#include "ways.h"

namespace
{

// The panel answers when the platform service has accepted the command, which can take seconds.
const std::chrono::seconds AnswerTimeout(10);
// A command that may be repeated need not wait so long for an answer that was lost.
const std::chrono::seconds HarmlessTimeout(2);
const int HarmlessRounds = 8;

std::optional<std::vector<Destination>> provenWay(Exchange &exchange, const Panel &panel,
                                                  const ActionOrder &order)
{
    const Request question = Request::toMac(MvdpCommand::Identify, panel.mac);
    const auto ways = waysTo(panel, exchange.transport(), order.reachedAt);
    for (int round = 0; round < order.search.rounds; ++round) {
        exchange.observer().progress(QStringLiteral("looking for the way, round %1").arg(round + 1));
        for (const auto &way : ways) {
            if (order.isInterrupted && order.isInterrupted())
                return std::nullopt;
            if (exchange.trySend(question, way) &&
                exchange.nextAnswer(question, Clock::now() + order.search.timeout, order.isInterrupted))
                return way;
        }
    }
    return std::nullopt;
}

} // namespace

Patience actionPatience(MvdpCommand command)
{
    if (isDestructive(static_cast<std::uint8_t>(command)))
        return {1, AnswerTimeout};
    return {HarmlessRounds, HarmlessTimeout};
}

ActionResult sendAction(Exchange &exchange, const Panel &panel, const ActionOrder &order)
{
    const auto way = provenWay(exchange, panel, order);
    if (!way)
        return {ActionResult::NotHeard, panel};
    const auto answer = exchange.ask(Request::toMac(order.command, panel.mac), {*way}, order.patience,
                                     order.name, order.isInterrupted);
    if (!answer)
        return {ActionResult::NoAnswer, panel};
    // The resets are answered with the request, which holds nothing about the panel.
    const bool isIdentity = !isAnsweredByTheRequest(static_cast<std::uint8_t>(order.command));
    return {ActionResult::Done, isIdentity ? Panel::fromReply(*answer) : panel};
}
