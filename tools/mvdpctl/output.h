#ifndef OUTPUT_H
#define OUTPUT_H

#include "marks.h"
#include "panel.h"
#include "panelnames.h"

#include <QtCore/QJsonObject>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <chrono>
#include <functional>
#include <optional>
#include <vector>

enum class Outcome;
struct WantedSettings;

// How long a change was waited for; nothing when it was not, or in vain.
using OutcomeTime = std::optional<std::chrono::milliseconds>;

// Turns the number of an interface into its name.
using InterfaceNames = std::function<QString(unsigned)>;

struct PanelRow {
    Panel panel;
    Marks marks;
    QString name; // that the user gave it; empty: none
};

struct TableStyle {
    int columns = 0; // of the terminal; 0: no limit
    bool isColored = false;
};

struct PanelTable {
    QStringList lines;
    QStringList leftOut; // the headings of the columns for which there was no room
};

// One line for each panel below one line of headings; addresses are marked with * when shared and ! when
// foreign. There is a column of names when any panel has one. To fit, whole columns are left out; only when
// that is not enough, the last one is cut.
PanelTable panelTable(const std::vector<PanelRow> &rows, const TableStyle &style);
// One panel, one fact a line; of its label what there is.
QStringList panelDetails(const Panel &panel, const PanelLabel &label, const InterfaceNames &interfaceName);
// "02:00:5e:10:00:01 (Cabinet 7, 192.168.10.5, QM316-44LRNA)"; `name` may be empty.
QString panelLabel(const Panel &panel, const QString &name);
// Cuts a text that is longer than so many columns and ends it in '>'.
QString cutTo(const QString &text, int columns);

// The shape is promised to scripts by the manual page.
QJsonObject panelJson(const Panel &panel, const InterfaceNames &interfaceName);

// The names of panelJson() in their order as CSV columns.
QStringList panelColumns();
// The outcome of a change of one panel's settings. For a panel that was not found it holds only the MAC
// address and the settings that were to change.
QJsonObject outcomeJson(Outcome outcome, const MacAddress &mac, const WantedSettings &wanted,
                        const std::optional<Panel> &panel, const PanelLabel &label, OutcomeTime waited,
                        const InterfaceNames &interfaceName);
QStringList outcomeColumns();
// The members "name" and "remark"; null when empty.
void insertLabel(QJsonObject &record, const PanelLabel &label);
QStringList labelColumns();

#endif // OUTPUT_H
