#ifndef WIRECHECK_H
#define WIRECHECK_H

#include "addressprobe.h"
#include "plan.h"
#include "session.h"

#include <QtCore/QStringList>

#include <cstdint>
#include <vector>

// Objections to addresses that something holds that is no panel. Asks the network, which takes less than a
// second, and notes on the terminal what was possible. Addresses that a panel that was found or this computer
// holds are not asked for: other objections judge those.

// Says how the addresses were asked for and who holds one: a note below the text, and for every format a
// warning when some could not be asked for.
void tellProbe(const std::vector<std::uint32_t> &addresses, const ProbeResult &result, Session &session);

// To the new address of one panel.
QStringList strangersAt(std::uint32_t address, const Panel &panel, const PanelList &panels, Session &session);

// To the changes of a plan, which gets them.
void objectToStrangers(Plan &plan, const PanelList &panels, Session &session);

#endif // WIRECHECK_H
