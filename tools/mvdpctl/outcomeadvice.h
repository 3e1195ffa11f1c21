#ifndef OUTCOMEADVICE_H
#define OUTCOMEADVICE_H

#include "failure.h"
#include "settingschange.h"

#include <QtCore/QString>

// What ends the program when this became of the settings for a panel.
ExitCode outcomeCode(Outcome outcome);

// What to do next; empty when all is well. When the settings put the panel out of hearing, it says only that.
QString adviceAfter(const SetResult &result);

#endif // OUTCOMEADVICE_H
