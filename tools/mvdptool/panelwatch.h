#ifndef PANELWATCH_H
#define PANELWATCH_H

#include "panel.h"

#include <QtCore/QString>

#include <optional>
#include <vector>

struct PanelEvent {
    enum Kind { Appeared, Changed, Vanished };
    Kind kind;
    Panel panel;  // as it is now; for one that vanished, as it was last
    Panel before; // of one that changed
};

// "appeared", "changed", "vanished": names that stay, for scripts too.
const char *eventName(PanelEvent::Kind kind);
// "192.168.0.10/24 -> 192.168.0.11/24, gateway 192.168.0.1 -> 0.0.0.0"
QString changesText(const Panel &before, const Panel &now);

// Which panels are there, round by round. Changes are looked at once a round, so that a panel can cause no
// more than one event in each, whatever it sends.
class PanelWatch
{
public:
    // A panel has vanished when it was not heard in so many rounds in a row.
    explicit PanelWatch(int missedRounds);

    // A reply came. The event is that of a panel that was not there before.
    std::optional<PanelEvent> hear(const Panel &panel);
    // A round is over: what changed in it and what has vanished by now.
    std::vector<PanelEvent> endRound();

    bool knows(const Panel &panel) const;
    std::size_t size() const { return m_entries.size(); }

private:
    struct Entry {
        Panel told; // what the last event said
        Panel last; // what it told last
        int missed = 0;
        bool wasHeard = true; // in this round
    };

    int m_missedRounds;
    std::vector<Entry> m_entries;
};

#endif // PANELWATCH_H
