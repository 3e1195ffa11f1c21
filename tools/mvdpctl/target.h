#ifndef TARGET_H
#define TARGET_H

#include "panel.h"
#include "panelname.h"
#include "session.h"

#include <QtCore/QString>

// The panel that a command is for, by the word that names it on the command line.

// The only one that the name fits. Throws Failure and lists the candidates otherwise: ExitCode::Usage when
// there are several, ExitCode::NoAnswer when there is none.
Panel onlyMatch(const PanelName &name, const PanelList &panels, Session &session);

// All panels that a search finds: everywhere, at --to, and at the address that the name may be. --verbose
// shows the answers of those that the name fits.
PanelList searchFor(const PanelName &name, Session &session);

// The panel, searched for no longer than it takes: one that is named by its MAC address is asked directly.
Panel findTarget(Session &session);

// From now on --verbose shows of what is received only what this panel sent.
void showOnly(const Panel &panel, Session &session);

// "02:00:5e:10:00:01 (192.168.10.5, QM316-44LRNA)"
QString panelLabel(const Panel &panel);

// What to do when a panel that was found keeps silent.
QString heardBeforeAdvice();

#endif // TARGET_H
