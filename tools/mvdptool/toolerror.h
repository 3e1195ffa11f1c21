#ifndef TOOLERROR_H
#define TOOLERROR_H

#include <QtCore/QString>
#include <QtCore/QStringList>

// Thrown where the engine cannot go on. Each function that throws says so in its comment.
struct ToolError {
    enum Kind {
        BadInput,       // an argument is malformed or makes no sense
        BadPlan,        // a plan has mistakes
        NetworkTrouble, // this computer's network does not allow it
        PortTaken,      // the wanted UDP port is not available
        NothingSent,    // no datagram of a request could be sent
    };

    Kind kind;
    QString message;          // what went wrong
    QString advice;           // what to do next; empty where that depends on the front end
    QStringList details = {}; // more of what went wrong, one line each, to be shown behind the message
};

#endif // TOOLERROR_H
