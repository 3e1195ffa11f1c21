#ifndef FAILURE_H
#define FAILURE_H

#include <QtCore/QString>

// What the program ends with; the manual page promises these numbers to scripts.
enum class ExitCode : int {
    Done = 0,
    NoAnswer = 1,
    Usage = 2,
    Refused = 3, // the panel said no, or said yes and kept its old settings
    NetworkTrouble = 4,
};

// Thrown where a command cannot go on and caught once, in main(): what went wrong, and what to do next.
struct Failure {
    ExitCode code;
    QString message;
    QString advice;
};

#endif // FAILURE_H
