#ifndef FAILURE_H
#define FAILURE_H

#include "toolerror.h"

#include <QtCore/QString>

// What the program ends with; the manual page promises these numbers to scripts.
enum class ExitCode : int {
    Done = 0,
    NoAnswer = 1,
    Usage = 2,
    Refused = 3, // the panel said no, or said yes and kept its old settings
    NetworkTrouble = 4,
};

// Thrown where a command cannot go on: what went wrong, and what to do next. main() prints both and ends with
// the code.
struct Failure {
    ExitCode code;
    QString message;
    QString advice;
};

// The end of a command that the engine could not carry out, with advice in terms of the command line.
Failure failureOf(const ToolError &error);

#endif // FAILURE_H
