#ifndef SELECTION_H
#define SELECTION_H

#include "panel.h"
#include "panelname.h"
#include "session.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <optional>
#include <vector>

// Finds the panels that the command line names: PANEL..., PANEL... --all, or --all.

// A panel and the word that named it.
struct Selected {
    QString word;               // empty with --all alone
    std::optional<Panel> panel; // nothing: the word fits none of the panels that answered
};

struct Selection {
    // Each panel once, in the order of the words; the panels of one word in the order of PanelList::sorted().
    std::vector<Selected> items;
    PanelList panels; // all that answered the search
};

// True for a command line that may mean several panels; its results are a list.
bool isForSeveral(const Arguments &arguments);

// Throws Failure when there is neither a word nor --all.
void requireWords(const Arguments &arguments);

// The words of the command line, read. Throws ToolError and Failure for those that name no panel, and when
// there is neither a word nor --all.
std::vector<PanelName> selectedNames(const Session &session);

// The same where no word means all panels.
std::vector<PanelName> namesOfWords(const Session &session);

// Searches for the panels of the words. Throws Failure with ExitCode::Usage when a word is a mistyped
// address, and, unless `isAll`, when one fits several panels; with ExitCode::NoAnswer when no word fits any.
// --verbose then shows only the datagrams of the selected panels.
Selection selectPanels(const std::vector<PanelName> &names, bool isAll, Session &session);

// Removes panels that do not know their MAC address, and says so: a request to the address of zeros is
// carried out by every such panel. Throws Failure with ExitCode::Usage when none is left.
void leaveOutUnknown(Selection &selection, const Session &session);

// "no panel that answered has 'winch' in its description or name: did you mean 'Winch'?", without a full
// stop.
QString misfitText(const PanelName &name, const PanelList &panels, const Session &session);

// Throws Failure with ExitCode::Usage when the word is a mistyped MAC or IP address.
void refuseMistyped(const PanelName &name, const PanelList &panels, const Session &session);

// Lists panels on standard error, the first of them.
void listPanels(const std::vector<Panel> &panels, Session &session);

#endif // SELECTION_H
