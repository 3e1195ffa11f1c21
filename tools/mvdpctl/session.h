#ifndef SESSION_H
#define SESSION_H

#include "arguments.h"
#include "exchange.h"
#include "output.h"
#include "panelnames.h"
#include "terminal.h"
#include "terminalobserver.h"
#include "transport.h"
#include "writer.h"

#include <QtCore/QJsonObject>
#include <QtCore/QString>

#include <cstdint>
#include <memory>
#include <optional>

// --all, of the commands that take several panels.
inline constexpr Option AllOption = {"all", nullptr, "Every panel that fits; without PANEL every one."};
inline constexpr char PanelsSynopsis[] = "PANEL... | [PANEL...] --all";
inline constexpr int MostPanels = 10000; // words on the command line
// --to, of every command that talks to one panel.
inline constexpr Option ToOption = {"to", "ADDRESS", "Reach the panel at this address, as through a router."};

// The file of names: --names, else the one in the user's configuration folder.
QString namesPath(const Arguments &arguments);

// Whether a file that is named by --names must be there.
enum class NamesFile { MustExist, MayBeNew };

// What every command that talks to panels uses.
class Session
{
public:
    // Throws ToolError when the network cannot be used as the options say, and for mistakes in the file of
    // names. Without --names there need be none.
    Session(const Arguments &commandLine, Terminal &ownTerminal, NamesFile namesFile = NamesFile::MustExist);

    const Arguments &arguments;
    Terminal &terminal;
    const std::unique_ptr<Writer> writer;
    PanelNames names; // that the user gave
    Transport transport;
    TerminalObserver observer;
    Exchange exchange;

    InterfaceNames interfaceNames() const;
    // The panel with its name and remark, for scripts.
    QJsonObject json(const Panel &panel) const;
    QString nameOf(const Panel &panel) const { return names.labelOf(panel.mac).name; }
    QStringList details(const Panel &panel) const
    {
        return panelDetails(panel, names.labelOf(panel.mac), interfaceNames());
    }
    // "02:00:5e:10:00:01 (Cabinet 7, 192.168.10.5, QM316-44LRNA)"
    QString label(const Panel &panel) const { return panelLabel(panel, nameOf(panel)); }

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
