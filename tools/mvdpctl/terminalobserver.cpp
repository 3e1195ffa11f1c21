#include "terminalobserver.h"

#include "addresses.h"
#include "dump.h"

#include <algorithm>
#include <utility>

TerminalObserver::TerminalObserver(Terminal &terminal, const Transport &transport)
    : m_terminal(terminal)
    , m_transport(transport)
{
}

void TerminalObserver::showOnly(std::function<bool(const Received &)> isShown)
{
    m_isShown = std::move(isShown);
}

void TerminalObserver::progress(const QString &doing)
{
    m_terminal.progress(doing);
}

void TerminalObserver::warning(const QString &sentence)
{
    m_terminal.warn(sentence);
}

void TerminalObserver::error(const QString &sentence)
{
    m_terminal.error(sentence);
}

void TerminalObserver::sent(const Request &request, const std::vector<Destination> &destinations)
{
    if (!m_terminal.isVerbose())
        return;
    for (const Destination &destination : destinations) {
        const QString name = m_transport.interfaceName(destination.interfaceIndex);
        m_terminal.trace(QStringLiteral("> to %1:%2%3, %4 bytes")
                             .arg(ipv4Text(destination.address))
                             .arg(MvdpDatagram::Port)
                             .arg(name.isEmpty() ? name : QStringLiteral(" on ") + name)
                             .arg(request.length));
    }
    traceBytes(request.datagram, request.length);
}

void TerminalObserver::received(const Received &datagram)
{
    if (!isShown(datagram))
        return;
    m_terminal.trace(QStringLiteral("< from %1:%2 on %3 by %4, %5 bytes")
                         .arg(ipv4Text(datagram.source))
                         .arg(datagram.sourcePort)
                         .arg(m_transport.interfaceName(datagram.interfaceIndex), wayName(datagram.way))
                         .arg(datagram.length));
    traceBytes(datagram.datagram, datagram.length);
}

void TerminalObserver::ignored(const Received &datagram, const QString &reason)
{
    if (isShown(datagram))
        m_terminal.trace(QStringLiteral("  ignored: %1").arg(reason));
}

void TerminalObserver::overrun(std::uint32_t datagrams, int receiveBufferBytes)
{
    m_terminal.trace(
        QStringLiteral("  lost by this computer: %1 datagrams, for its receive buffer of %2 bytes was full")
            .arg(datagrams)
            .arg(receiveBufferBytes));
}

bool TerminalObserver::isShown(const Received &datagram) const
{
    return m_terminal.isVerbose() && (!m_isShown || m_isShown(datagram));
}

void TerminalObserver::traceBytes(const MvdpDatagram &datagram, std::size_t length)
{
    const std::size_t shown = std::min<std::size_t>(length, MvdpDatagram::Size);
    m_terminal.trace(fieldLines(datagram, shown));
    m_terminal.trace(hexLines(datagram.data(), shown));
}
