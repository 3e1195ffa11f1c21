#ifndef OUTPUT_H
#define OUTPUT_H

#include "arguments.h"
#include "marks.h"
#include "panel.h"
#include "terminal.h"

#include <QtCore/QJsonObject>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <functional>
#include <vector>

// Turns the number of an interface into its name.
using InterfaceNames = std::function<QString(unsigned)>;

// "1.234.56.7" or "unknown".
QString versionOrUnknown(const Panel &panel);

// One line a panel under one line of headings, addresses marked with * when shared and ! when foreign. With a
// number of columns the description is cut to fit.
QStringList panelTable(const std::vector<Panel> &panels, const std::vector<Marks> &marks, int columns);
// One panel, one line a fact.
QStringList panelDetails(const Panel &panel, const InterfaceNames &interfaceName);
// Cuts a text that is longer than so many columns and ends it in '>'.
QString cutTo(const QString &text, int columns);

// The shape is promised to scripts by the manual page.
QJsonObject panelJson(const Panel &panel, const InterfaceNames &interfaceName);

// The names of panelJson() in their order as CSV columns.
QStringList panelColumns();
// The values of an object in the order of the columns, for CSV: null and missing ones empty, lists with
// blanks.
QStringList csvFields(const QJsonObject &object, const QStringList &columns);

// The members of both.
QJsonObject merged(QJsonObject object, const QJsonObject &others);

// The outcome for one panel: an object with the members of `result` and "panel" as JSON, their columns one
// after the other as CSV; as text the panel alone, for the sentence about it is the caller's.
void printResult(const QJsonObject &result, const Panel &panel, Format format,
                 const InterfaceNames &interfaceName, Terminal &terminal);

#endif // OUTPUT_H
