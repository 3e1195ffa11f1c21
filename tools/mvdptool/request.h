#ifndef REQUEST_H
#define REQUEST_H

#include "addresses.h"
#include "mvdpdatagram.h"
#include "transport.h"

#include <cstddef>
#include <cstdint>

// A request, and the conditions for its answers.
struct Request {
    MvdpDatagram datagram;
    std::size_t length = MvdpDatagram::Size; // how many of its bytes are sent
    bool forOneMac = false;                  // an answer must carry the MAC address of the request

    // A request to every panel that receives it.
    static Request toAll(MvdpCommand command);
    static Request toMac(MvdpCommand command, const MacAddress &mac);
};

enum class Verdict {
    Answer,
    WrongLength,
    NotProtocol, // magic, packet type, version or source port is not that of a panel's reply
    OtherCommand,
    OtherMac,
    Altered, // echo and the two resets: not the bytes that were sent
};
constexpr std::size_t VerdictCount = static_cast<std::size_t>(Verdict::Altered) + 1; // the last one

// Judges a received datagram as an answer to this request. Only the content of an Answer may be used.
Verdict judge(const Request &request, const Received &received);

// True for commands that a panel answers with the request itself instead of its identity.
bool isAnsweredByTheRequest(std::uint8_t command);
// True for commands that change or restart a panel.
bool isDestructive(std::uint8_t command);
// "discover", "set address" and so on; "unknown" for codes that are not in the protocol.
const char *commandName(std::uint8_t command);

#endif // REQUEST_H
