#ifndef TARGET_H
#define TARGET_H

#include "addresses.h"
#include "panel.h"
#include "session.h"

#include <QtCore/QString>

#include <cstdint>
#include <optional>
#include <vector>

// The word by which a command line names one panel: its MAC address, its IPv4 address, or a piece of its
// description, in upper or lower case.
struct TargetName {
    QString text;
    std::optional<MacAddress> mac;
    std::optional<std::uint32_t> address;
};

// Throws Failure with ExitCode::Usage for an empty word.
TargetName targetFromText(const QString &text);

// Those that the name fits. An address fits also the panel that answers from it.
std::vector<Panel> matches(const TargetName &name, const PanelList &panels);

// The only one that the name fits. Throws Failure and lists the candidates otherwise: ExitCode::Usage when
// there are several, ExitCode::NoAnswer when there is none.
Panel onlyMatch(const TargetName &name, const PanelList &panels, Session &session);

// All panels that a search finds: everywhere, at --to, and at the address that the name may be. --verbose
// shows the answers of those that the name fits.
PanelList searchFor(const TargetName &name, Session &session);

// The panel, searched for no longer than it takes: one that is named by its MAC address is asked directly.
Panel findTarget(Session &session);

// From now on --verbose shows of what is received only what this panel sent.
void showOnly(const Panel &panel, Session &session);

// "02:00:5e:10:00:01 (192.168.10.5, QM316-44LRNA)"
QString panelLabel(const Panel &panel);

// What to do when a panel that was found keeps silent.
QString heardBeforeAdvice();

// How the one panel can be reached for a request that must not come by three ways at once, best way first.
// Broadcast needs neither an address of ours in the panel's subnet nor that the panel alone holds its
// address.
std::vector<std::vector<Destination>> waysTo(const Panel &panel, const Session &session);

#endif // TARGET_H
