#ifndef PLANTABLE_H
#define PLANTABLE_H

#include "plan.h"

#include <QtCore/QStringList>

// The plan for people, one or two lines for each panel.
QStringList planLines(const Plan &plan);

#endif // PLANTABLE_H
