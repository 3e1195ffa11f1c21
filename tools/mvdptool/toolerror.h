#ifndef TOOLERROR_H
#define TOOLERROR_H

#include <QtCore/QString>

// Thrown where the engine cannot go on. Each function that throws says so.
struct ToolError {
    enum Kind {
        BadInput,       // what was given cannot be read or cannot be meant
        BadPlan,        // a plan has mistakes
        NetworkTrouble, // this computer's network does not allow it
        PortTaken,      // the UDP port that was asked for cannot be had
        NothingSent,    // no datagram of a request could be sent
    };

    Kind kind;
    QString message; // what went wrong
    QString advice;  // what to do next; empty where that depends on the front end
};

#endif // TOOLERROR_H
