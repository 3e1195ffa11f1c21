#ifndef TARGET_H
#define TARGET_H

#include "panel.h"
#include "panelname.h"
#include "session.h"

#include <QtCore/QString>

// Finds the panel that the command line names.

// The only panel that the name fits. Otherwise throws Failure and lists the candidates: ExitCode::Usage when
// there are several, ExitCode::NoAnswer when there is none.
Panel onlyMatch(const PanelName &name, const PanelList &panels, Session &session);

// All panels that a search finds: everywhere, at --to, and at the address that the name may be. --verbose
// shows only the answers of those that the name fits.
PanelList searchFor(const PanelName &name, Session &session);

// Finds the panel and ends the search when it has answered. A panel named by its MAC address is asked
// directly.
Panel findTarget(const PanelName &name, Session &session);

// From this call on --verbose shows, of the received datagrams, only those of this panel.
void showOnly(const Panel &panel, Session &session);

// What to do when a panel that was found does not answer.
QString heardBeforeAdvice();

#endif // TARGET_H
