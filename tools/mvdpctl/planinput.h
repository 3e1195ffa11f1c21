#ifndef PLANINPUT_H
#define PLANINPUT_H

#include "arguments.h"
#include "planfile.h"
#include "terminal.h"

#include <QtCore/QString>

// True for the value of --from that means standard input.
bool isStandardInput(const QString &path);

// Reads the plan that --from names, in the format that --format or the end of its name says, and warns of
// columns that are not used. Throws Failure and ToolError.
PlanContent readPlan(const Arguments &arguments, Terminal &terminal);

#endif // PLANINPUT_H
