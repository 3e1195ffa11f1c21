#ifndef TERMINALOBSERVER_H
#define TERMINALOBSERVER_H

#include "observer.h"
#include "terminal.h"

#include <QtCore/QString>

#include <cstddef>
#include <functional>
#include <vector>

// Prints the engine's reports on a terminal.
class TerminalObserver : public Observer
{
public:
    // The transport knows the names of the interfaces.
    TerminalObserver(Terminal &terminal, const Transport &transport);

    // From this call on --verbose shows only those received datagrams for which `isShown` is true. Sent
    // datagrams are always shown.
    void showOnly(std::function<bool(const Received &)> isShown);

    void progress(const QString &doing) override;
    void warning(const QString &sentence) override;
    void error(const QString &sentence) override;
    void sent(const Request &request, const std::vector<Destination> &destinations) override;
    void received(const Received &datagram) override;
    void ignored(const Received &datagram, const QString &reason) override;
    void overrun(std::uint32_t datagrams, int receiveBufferBytes) override;

private:
    bool isShown(const Received &datagram) const;
    void traceBytes(const MvdpDatagram &datagram, std::size_t length);

    Terminal &m_terminal;
    const Transport &m_transport;
    std::function<bool(const Received &)> m_isShown;
};

#endif // TERMINALOBSERVER_H
