#ifndef OUTPUT_H
#define OUTPUT_H

#include "panel.h"

#include <QtCore/QJsonObject>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <functional>
#include <vector>

// Turns the number of an interface into its name.
using InterfaceNames = std::function<QString(unsigned)>;

// "192.168.0.10/24", or with the netmask in full when it has holes.
QString addressWithNetmask(const Panel &panel);

// One line a panel under one line of headings. With a number of columns the description is cut to fit.
QStringList panelTable(const std::vector<Panel> &panels, int columns);
// What an engineer should know about these panels: addresses held twice, panels that do not know
// themselves...
QStringList panelNotes(const PanelList &panels);
// One panel, one line a fact.
QStringList panelDetails(const Panel &panel, const InterfaceNames &interfaceName);

// The shape is promised to scripts by the manual page.
QJsonObject panelJson(const Panel &panel, const InterfaceNames &interfaceName);

#endif // OUTPUT_H
