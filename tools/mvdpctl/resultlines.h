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

// "02:00:5e:10:00:01  applied     Cabinet 7        192.168.10.70". `first` is a MAC address, or the word that
// fits no panel. When so many columns are given, cells are left out from the end, and the first of them is
// cut.
QString resultLine(const QString &first, const QString &result, const QStringList &cells, int columns);

// What tells a panel apart besides its MAC address: its name, or its description when it has none, and its
// address.
QStringList factsOf(const Panel &panel, const Session &session);

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
