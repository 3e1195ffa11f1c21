#ifndef OBSERVER_H
#define OBSERVER_H

#include "request.h"
#include "transport.h"

#include <QtCore/QString>

#include <vector>

// What the engine tells a front end while an operation lasts. Called in the operation's thread. A function
// that is not overridden does nothing.
class Observer
{
public:
    virtual ~Observer() = default;

    // What is going on, until the next call says otherwise.
    virtual void progress(const QString &doing);
    // What does not work as it should but does not keep the operation from going on.
    virtual void warning(const QString &sentence);
    // What made a part of the operation fail; the rest goes on.
    virtual void error(const QString &sentence);

    // A request was sent to these destinations, as far as the system let it.
    virtual void sent(const Request &request, const std::vector<Destination> &destinations);
    // A datagram came in, whatever it is.
    virtual void received(const Received &datagram);
    // It was no answer, and why: "of the wrong length".
    virtual void ignored(const Received &datagram, const QString &reason);
};

#endif // OBSERVER_H
