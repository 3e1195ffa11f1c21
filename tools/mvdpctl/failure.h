#ifndef FAILURE_H
#define FAILURE_H

#include "toolerror.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

// The exit status of the program. The manual page promises these numbers to scripts.
enum class ExitCode : int {
    Done = 0,
    NoAnswer = 1,
    Usage = 2,
    Refused = 3, // the panel refused, or confirmed and kept its old settings
    NetworkTrouble = 4,
};

// Thrown where a command cannot go on, with what went wrong and what to do next. main() prints all of it and
// exits with the code.
struct Failure {
    ExitCode code;
    QString message;
    QString advice;
    QStringList details = {}; // more of what went wrong, one line each, behind the message
};

// Turns an error of the engine into the command's failure, with advice in terms of the command line.
Failure failureOf(const ToolError &error);

#endif // FAILURE_H
