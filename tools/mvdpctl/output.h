#ifndef OUTPUT_H
#define OUTPUT_H

#include "marks.h"
#include "panel.h"

#include <QtCore/QJsonObject>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <functional>
#include <optional>
#include <vector>

enum class Outcome;
struct WantedSettings;

// Turns the number of an interface into its name.
using InterfaceNames = std::function<QString(unsigned)>;

// One line for each panel below one line of headings; addresses are marked with * when shared and ! when
// foreign. When a number of columns is given, the description is cut to fit.
QStringList panelTable(const std::vector<Panel> &panels, const std::vector<Marks> &marks, int columns);
// One panel, one fact a line.
QStringList panelDetails(const Panel &panel, const InterfaceNames &interfaceName);
// Cuts a text that is longer than so many columns and ends it in '>'.
QString cutTo(const QString &text, int columns);

// The shape is promised to scripts by the manual page.
QJsonObject panelJson(const Panel &panel, const InterfaceNames &interfaceName);

// The names of panelJson() in their order as CSV columns.
QStringList panelColumns();
// The outcome of a change of one panel's settings. For a panel that was not found it holds only the MAC
// address and the settings that were to change.
QJsonObject outcomeJson(Outcome outcome, const MacAddress &mac, const WantedSettings &wanted,
                        const std::optional<Panel> &panel, const InterfaceNames &interfaceName);
QStringList outcomeColumns();

#endif // OUTPUT_H
