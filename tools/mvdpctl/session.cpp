#include "session.h"

#include "discovery.h"

#include <QtCore/QFileInfo>
#include <QtCore/QStandardPaths>

#include <algorithm>

namespace
{

// A command's --timeout can be long, for panels that apply settings slowly. The search before the command
// does not need rounds of that length.
const std::chrono::milliseconds LongestSearchRound = std::chrono::seconds(2);

PanelNames namesFrom(const Arguments &arguments, NamesFile namesFile)
{
    const QString path = namesPath(arguments);
    const bool isRequired = arguments.isSet("names") && namesFile == NamesFile::MustExist;
    return isRequired || QFileInfo::exists(path) ? PanelNames::read(path) : PanelNames();
}

} // namespace

QString namesPath(const Arguments &arguments)
{
    if (arguments.isSet("names"))
        return arguments.text("names");
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/mvdpctl/names.csv");
}

Session::Session(const Arguments &commandLine, Terminal &ownTerminal, NamesFile namesFile)
    : arguments(commandLine)
    , terminal(ownTerminal)
    , writer(makeWriter(commandLine, ownTerminal))
    , names(namesFrom(commandLine, namesFile))
    , transport(commandLine.transportOptions())
    , observer(ownTerminal, transport)
    , exchange(transport, observer)
{
}

InterfaceNames Session::interfaceNames() const
{
    return [this](unsigned index) { return transport.interfaceName(index); };
}

QJsonObject Session::json(const Panel &panel) const
{
    QJsonObject object = panelJson(panel, interfaceNames());
    insertLabel(object, names.labelOf(panel.mac));
    return object;
}

Patience Session::searchPatience() const
{
    Patience patience = arguments.patience(SearchRounds, SearchTimeout);
    patience.timeout = std::min(patience.timeout, LongestSearchRound);
    return patience;
}

void Session::noteIgnored()
{
    if (exchange.ignored() > 0)
        terminal.note(exchange.ignoredText());
}

QString Session::noAnswerAdvice() const
{
    QString advice =
        QStringLiteral(
            "Check power and cable of the panel. Without a gateway it is heard only by computers with "
            "an address in its subnet. A firewall here must let UDP answers in: "
            "fix their port with --source-port and open it (it was %1 this time).")
            .arg(transport.localPort());
    const QStringList mute = transport.interfacesWithoutAddress();
    if (!mute.isEmpty())
        advice += QStringLiteral(" Interfaces without an IPv4 address were left out: %1.")
                      .arg(mute.join(QStringLiteral(", ")));
    QStringList filtered;
    for (const NetworkInterface &interface : transport.interfaces()) {
        if (hasReversePathFilter(interface))
            filtered << interface.name;
    }
    if (!filtered.isEmpty()) {
        advice += QStringLiteral(" The kernel's reverse-path filter may drop answers of panels in other "
                                 "subnets (net.ipv4.conf.NAME.rp_filter is not 0 for: %1).")
                      .arg(filtered.join(QStringLiteral(", ")));
    }
    return advice;
}
