#include "request.h"

#include <algorithm>
#include <cstring>

namespace
{

struct CommandFacts {
    const char *name;
    MvdpCommand command;
    bool answeredByTheRequest;
    bool destructive;
};

const CommandFacts Commands[] = {
    {"discover", MvdpCommand::Discover, false, false},
    {"echo", MvdpCommand::Echo, true, false},
    {"identify", MvdpCommand::Identify, false, false},
    {"set address", MvdpCommand::SetAddress, false, true},
    {"restore defaults (relative marker)", MvdpCommand::RestoreDefaultsRelative, false, true},
    {"wink", MvdpCommand::Wink, false, false},
    {"reset network", MvdpCommand::ResetNetwork, true, true},
    {"restore defaults", MvdpCommand::RestoreDefaults, true, true},
    {"restart", MvdpCommand::Restart, false, true},
};

const CommandFacts *factsOf(std::uint8_t command)
{
    const auto *found =
        std::find_if(std::begin(Commands), std::end(Commands), [command](const CommandFacts &facts) {
            return static_cast<std::uint8_t>(facts.command) == command;
        });
    return found == std::end(Commands) ? nullptr : found;
}

// An echo is sent back unchanged. The resets change only the packet type, so their answers keep the version
// byte of the request. The bytes beyond a short request are what the panel's buffer held before.
bool isRequestSentBack(const Request &request, const Received &received)
{
    MvdpDatagram expected = request.datagram;
    if (request.datagram.command() != static_cast<std::uint8_t>(MvdpCommand::Echo))
        expected.setPacketType(MvdpPacketType::Reply);
    const std::size_t known = std::min<std::size_t>(request.length, MvdpDatagram::Size);
    return std::memcmp(expected.data(), received.datagram.data(), known) == 0;
}

} // namespace

Request Request::toAll(MvdpCommand command)
{
    Request request;
    request.datagram.setRequestHeader(command);
    return request;
}

Request Request::toMac(MvdpCommand command, const MacAddress &mac)
{
    Request request = toAll(command);
    request.datagram.setMacAddress(mac.data());
    request.forOneMac = true;
    return request;
}

Verdict judge(const Request &request, const Received &received)
{
    const MvdpDatagram &datagram = received.datagram;
    if (received.length != MvdpDatagram::Size)
        return Verdict::WrongLength;
    if (received.sourcePort != MvdpDatagram::Port)
        return Verdict::NotProtocol;
    if (isAnsweredByTheRequest(request.datagram.command())) {
        if (!datagram.isReply() && !datagram.isRequest()) {
            const bool typeOnly = datagram.packetType() == static_cast<std::uint8_t>(MvdpPacketType::Reply);
            if (!typeOnly || !isRequestSentBack(request, received))
                return Verdict::NotProtocol;
        }
        if (datagram.command() != request.datagram.command())
            return Verdict::OtherCommand;
        return isRequestSentBack(request, received) ? Verdict::Answer : Verdict::Altered;
    }
    const bool notApplied =
        datagram.packetType() == static_cast<std::uint8_t>(MvdpPacketType::ReplyNotApplied);
    if (!datagram.isReply() ||
        (notApplied && datagram.command() != static_cast<std::uint8_t>(MvdpCommand::SetAddress)))
        return Verdict::NotProtocol;
    if (datagram.command() != request.datagram.command())
        return Verdict::OtherCommand;
    if (request.forOneMac && !datagram.hasMacAddress(request.datagram.macAddress()))
        return Verdict::OtherMac;
    return Verdict::Answer;
}

bool isAnsweredByTheRequest(std::uint8_t command)
{
    const CommandFacts *facts = factsOf(command);
    return facts != nullptr && facts->answeredByTheRequest;
}

bool isDestructive(std::uint8_t command)
{
    const CommandFacts *facts = factsOf(command);
    return facts != nullptr && facts->destructive;
}

const char *commandName(std::uint8_t command)
{
    const CommandFacts *facts = factsOf(command);
    return facts != nullptr ? facts->name : "unknown";
}
