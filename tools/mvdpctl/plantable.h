#ifndef PLANTABLE_H
#define PLANTABLE_H

#include "plan.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

// A plan and its results as tables for people. Each panel has one line, or a few where it needs them. Where
// the remarks do not fit so many columns, they are left out; where that is not enough, the lines are narrow.
// Nothing is cut. 0 columns: no limit.

QStringList planLines(const Plan &plan, int columns);

// One panel's result. `settings` is what the panel reports, empty when it is not known; it is padded to
// `width` in front of the label.
QStringList planResultLines(const PlanEntry &entry, const QString &result, const QString &settings, int width,
                            int columns);

// "Cabinet 7, left door"
QString labelText(const PanelLabel &label);

#endif // PLANTABLE_H
