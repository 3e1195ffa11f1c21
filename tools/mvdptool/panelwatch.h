#ifndef PANELWATCH_H
#define PANELWATCH_H

#include "panel.h"

#include <QtCore/QString>

#include <cstddef>
#include <optional>
#include <vector>

struct PanelEvent {
    enum Kind { Appeared, Changed, Vanished };
    Kind kind;
    Panel panel;  // its current state; of a panel that vanished, the last one
    Panel before; // the earlier state of a panel that changed
};

// "appeared", "changed", "vanished". Scripts rely on these names.
const char *eventName(PanelEvent::Kind kind);
// "192.168.0.10/24 -> 192.168.0.11/24, gateway 192.168.0.1 -> 0.0.0.0"
QString changesText(const Panel &before, const Panel &now);

// Tracks in rounds which panels are there. Changes are evaluated once a round, so that a panel causes at most
// one event in each, whatever it sends.
class PanelWatch
{
public:
    // A panel has vanished when it did not answer in so many rounds in a row.
    explicit PanelWatch(int missedRounds);

    // To be called for each reply. The event is that of a new panel.
    std::optional<PanelEvent> hear(const Panel &panel);
    // Ends a round; the events are changes in it and panels that have vanished.
    std::vector<PanelEvent> endRound();

    bool knows(const Panel &panel) const;
    std::size_t size() const { return m_entries.size(); }

private:
    struct Entry {
        Panel told; // as in the last event
        Panel last; // as in its last reply
        int missed = 0;
        bool wasHeard = true; // in this round
    };

    int m_missedRounds;
    std::vector<Entry> m_entries;
};

#endif // PANELWATCH_H
