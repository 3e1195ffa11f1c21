#ifndef OUTCOMEADVICE_H
#define OUTCOMEADVICE_H

#include "failure.h"
#include "settingschange.h"

#include <QtCore/QString>

// The exit code for this outcome of a change of settings.
ExitCode outcomeCode(Outcome outcome);

// What to do next; empty when all is well. When the settings keep the panel's answers from this computer, it
// says only that.
QString adviceAfter(const SetResult &result);

#endif // OUTCOMEADVICE_H
