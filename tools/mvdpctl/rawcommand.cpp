#include "command.h"
#include "confirm.h"
#include "dump.h"
#include "session.h"

#include <algorithm>
#include <cstring>

namespace
{

// "BYTES" or "OFFSET:BYTES"; without an offset the bytes follow the header.
void putBytes(MvdpDatagram &datagram, const QString &text)
{
    const int colon = static_cast<int>(text.indexOf(QLatin1Char(':')));
    bool isNumber = true;
    const int offset = colon < 0 ? int(MvdpDatagram::IpAddress) : text.left(colon).toInt(&isNumber);
    QString digits = text.mid(colon + 1);
    digits.remove(QLatin1Char(' '));
    const QByteArray bytes = QByteArray::fromHex(digits.toLatin1());
    if (!isNumber || digits.isEmpty() || bytes.toHex() != digits.toLatin1().toLower())
        throwUsage(
            QStringLiteral("--hex takes pairs of hexadecimal digits, with 'OFFSET:' before them if need be, "
                           "not '%1'")
                .arg(text));
    if (offset < 0 || offset + bytes.size() > int(MvdpDatagram::Size))
        throwUsage(QStringLiteral("the bytes of --hex '%1' do not fit into 256 bytes").arg(text));
    std::copy(bytes.cbegin(), bytes.cend(), datagram.data() + offset);
}

Request requestFrom(const Arguments &arguments)
{
    const QString word = arguments.words().first();
    bool isNumber = false;
    const int code = word.toInt(&isNumber);
    if (!isNumber || code < 0 || code > 255)
        throwUsage(QStringLiteral("CODE is a number from 0 to 255, not '%1'").arg(word));
    Request request = Request::toAll(static_cast<MvdpCommand>(code));
    if (const auto mac = arguments.mac("mac")) {
        request.datagram.setMacAddress(mac->data());
        request.forOneMac = true;
    }
    const WantedSettings settings = arguments.settings();
    request.datagram.setIpAddress(settings.address.value_or(0));
    request.datagram.setNetmask(settings.netmask.value_or(0));
    request.datagram.setGateway(settings.gateway.value_or(0));
    for (const QString &bytes : arguments.texts("hex"))
        putBytes(request.datagram, bytes);
    request.length =
        static_cast<std::size_t>(arguments.number("length", 1, 256).value_or(MvdpDatagram::Size));
    return request;
}

void confirm(const Request &request, const Arguments &arguments, Terminal &terminal)
{
    // The command byte that is sent counts, not the word on the command line, since --hex can have changed
    // it. A request that ends before this byte gets the command of the panel's previous datagram.
    const std::uint8_t code = request.datagram.command();
    const bool codeTravels = request.length > MvdpDatagram::Command;
    if (codeTravels && !isDestructive(code))
        return;
    const QString what =
        codeTravels ? QStringLiteral("command %1 (%2) changes the panel")
                          .arg(code)
                          .arg(QLatin1String(commandName(code)))
                    : QStringLiteral("a request without its command byte repeats the panel's last command");
    requireConsent(arguments, terminal, what);
    askConsent(arguments, terminal, what + QStringLiteral(": send it?"));
}

void report(const Received &reply, const Session &session)
{
    const MvdpDatagram &datagram = reply.datagram;
    const QByteArray bytes(reinterpret_cast<const char *>(datagram.data()), MvdpDatagram::Size);
    QJsonObject record = session.json(Panel::fromReply(reply));
    record.insert(QStringLiteral("command"), datagram.command());
    record.insert(QStringLiteral("type"), datagram.packetType());
    record.insert(QStringLiteral("bytes"), QString::fromLatin1(bytes.toHex()));
    session.writer->add(record);
    session.writer->print({QStringLiteral("Reply from %1 by %2 on %3")
                               .arg(ipv4Text(reply.source), wayName(reply.way),
                                    session.transport.interfaceName(reply.interfaceIndex)),
                           fieldLines(datagram, MvdpDatagram::Size),
                           hexLines(datagram.data(), MvdpDatagram::Size)});
}

// Sends the request and reports the replies: Refused when any of them is a refusal, NoAnswer without any.
ExitCode exchangeDatagrams(const Request &request, Session &session)
{
    const auto to = session.reachedAt();
    const auto destinations = to ? session.transport.towards(*to) : session.transport.limitedBroadcasts();
    const Patience patience = session.arguments.patience(1, std::chrono::seconds(2));
    ExitCode code = ExitCode::NoAnswer;
    for (int round = 1; round <= patience.rounds; ++round) {
        session.exchange.send(request, destinations);
        const auto deadline = Clock::now() + patience.timeout;
        while (const auto reply = session.exchange.nextAnswer(request, deadline)) {
            const bool isRefusal =
                reply->datagram.packetType() == static_cast<std::uint8_t>(MvdpPacketType::ReplyNotApplied);
            if (code != ExitCode::Refused)
                code = isRefusal ? ExitCode::Refused : ExitCode::Done;
            report(*reply, session);
        }
    }
    return code;
}

QString adviceOfSilence(const Request &request, const Session &session)
{
    const bool isKnown = std::strcmp(commandName(request.datagram.command()), "unknown") != 0;
    return (isKnown ? QString()
                    : QStringLiteral("Panels are silent about codes that they do not know, as %1. ")
                          .arg(request.datagram.command())) +
           session.noAnswerAdvice();
}

ExitCode run(const Arguments &arguments, Terminal &terminal)
{
    const Request request = requestFrom(arguments);
    confirm(request, arguments, terminal);
    Session session(arguments, terminal);
    const QStringList columns = {QStringLiteral("command"), QStringLiteral("type"), QStringLiteral("bytes")};
    session.writer->beginList(columns + panelColumns() + labelColumns(), QStringLiteral("replies"));
    const ExitCode code = exchangeDatagrams(request, session);
    session.writer->endList(session.exchange.ignored());
    session.noteIgnored();
    if (code == ExitCode::NoAnswer)
        throw Failure{code, QStringLiteral("no answer"), adviceOfSilence(request, session)};
    return code;
}

} // namespace

const Command RawCommand = {
    "raw",
    "CODE",
    "Send any command code and show the answers byte by byte.",
    "Sends one datagram by broadcast on each interface, or to one address, and shows\n"
    "every answer until the time is over. Codes: 1 discover, 2 echo, 4 identify,\n"
    "5 set address, 6 restore defaults (relative marker), 7 wink, 14 reset network,\n"
    "15 restore defaults, 102 restart. Panels ignore all others. 5, 6, 14, 15 and\n"
    "102 ask first, and are refused without a terminal unless --yes is given.",
    {{{"mac", "MAC", "The panel that the command is for (bytes 20 to 25)."},
      {"address", "ADDRESS", "New address (bytes 8 to 11), alone or with /PREFIX."},
      {"netmask", "NETMASK", "New netmask (bytes 12 to 15)."},
      {"gateway", "ADDRESS", "New gateway (bytes 16 to 19)."},
      {"hex", "[OFFSET:]BYTES", "Put these bytes there (default 8); repeatable.", true},
      {"length", "N", "Send only the first N bytes."},
      {"to", "ADDRESS", "Send there; a broadcast or multicast address too."}},
     1,
     1},
    run,
};
