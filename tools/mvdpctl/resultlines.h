#ifndef RESULTLINES_H
#define RESULTLINES_H

#include "failure.h"
#include "selection.h"
#include "session.h"

#include <QtCore/QJsonObject>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <map>

// What commands for several panels print: a line for each, and an exit status for all.

// "02:00:5e:10:00:01  applied     192.168.10.70/24". `first` is a MAC address, or the word that fits no
// panel. When so many columns are given, the rest is left out where it has no room.
QString resultLine(const QString &first, const QString &result, const QString &rest, int columns);

// "192.168.10.5  Cabinet 7": what tells a panel apart besides its MAC address; its description when it has no
// name.
QString factsText(const Panel &panel, const Session &session);

// One result of a command without settings: for scripts, and written as text or record.
QStringList resultColumns();
// `waited` is how long the panel was away; nothing when that was not waited for.
QJsonObject resultJson(const char *command, const char *result, const Selected &selected, OutcomeTime waited,
                       const Session &session);
void reportResult(const char *command, const char *result, const Selected &selected, OutcomeTime waited,
                  Session &session);

// Counts the panels by their exit status.
class WorstCode
{
public:
    void add(ExitCode code) { ++m_counts[code]; }
    int all() const;
    int good() const;
    // The status of the worst: that of a panel that refused, else of trouble of this computer, else of a
    // silent panel.
    ExitCode code() const;

private:
    std::map<ExitCode, int> m_counts;
};

#endif // RESULTLINES_H
