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

#include <memory>

// --to, of every command that talks to one panel.
inline constexpr Option ToOption = {"to", "ADDRESS", "Reach the panel at this address, as through a router."};

// What a command that talks to panels works with.
class Session
{
public:
    // Throws ToolError when the network cannot be used as the options want it.
    Session(const Arguments &commandLine, Terminal &ownTerminal);

    const Arguments &arguments;
    Terminal &terminal;
    const std::unique_ptr<Writer> writer;
    Transport transport;
    TerminalObserver observer;
    Exchange exchange;

    InterfaceNames interfaceNames() const;
    QJsonObject json(const Panel &panel) const { return panelJson(panel, interfaceNames()); }

    // How the panel is looked for before a command is sent to it.
    Patience searchPatience() const;
    // --to, the address at which the panel is reached.
    std::optional<std::uint32_t> reachedAt() const { return arguments.address("to"); }

    // Says on standard error what was ignored, if anything was.
    void noteIgnored();
    // What may keep answers from being heard on this computer.
    QString noAnswerAdvice() const;
};

#endif // SESSION_H
