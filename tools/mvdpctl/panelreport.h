#ifndef PANELREPORT_H
#define PANELREPORT_H

#include "panel.h"
#include "session.h"

#include <functional>

// Prints those panels of the list for which `isShown` is true, with their marks among all of the list: a
// table with notes below it, or records for scripts.
void reportPanels(const PanelList &panels, const std::function<bool(const Panel &)> &isShown,
                  Session &session);

#endif // PANELREPORT_H
