#ifndef SESSION_H
#define SESSION_H

#include "arguments.h"
#include "exchange.h"
#include "output.h"
#include "terminal.h"
#include "terminalobserver.h"
#include "transport.h"
#include "writer.h"

#include <QtCore/QJsonObject>
#include <QtCore/QString>

#include <cstdint>
#include <memory>
#include <optional>

// --to, of every command that talks to one panel.
inline constexpr Option ToOption = {"to", "ADDRESS", "Reach the panel at this address, as through a router."};

// What every command that talks to panels uses.
class Session
{
public:
    // Throws ToolError when the network cannot be used as the options say.
    Session(const Arguments &commandLine, Terminal &ownTerminal);

    const Arguments &arguments;
    Terminal &terminal;
    const std::unique_ptr<Writer> writer;
    Transport transport;
    TerminalObserver observer;
    Exchange exchange;

    InterfaceNames interfaceNames() const;
    QJsonObject json(const Panel &panel) const { return panelJson(panel, interfaceNames()); }

    // For the search for the panel before a command is sent to it.
    Patience searchPatience() const;
    // --to, the address at which the panel is reached.
    std::optional<std::uint32_t> reachedAt() const { return arguments.address("to"); }

    // Prints on standard error what was ignored, if anything was.
    void noteIgnored();
    // Possible reasons on this computer why no answer arrived.
    QString noAnswerAdvice() const;
};

#endif // SESSION_H
