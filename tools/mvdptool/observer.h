#ifndef OBSERVER_H
#define OBSERVER_H

#include "request.h"
#include "transport.h"

#include <QtCore/QString>

#include <cstdint>
#include <vector>

// Through this the engine reports to a front end during an operation. Called in the operation's thread. A
// function that is not overridden does nothing.
class Observer
{
public:
    virtual ~Observer() = default;

    // The current activity, until the next call.
    virtual void progress(const QString &doing);
    // A problem that does not stop the operation.
    virtual void warning(const QString &sentence);
    // The reason why a part of the operation failed; the rest goes on.
    virtual void error(const QString &sentence);

    // A request was sent to those of these destinations that the system allowed.
    virtual void sent(const Request &request, const std::vector<Destination> &destinations);
    // A datagram was received, an answer or not.
    virtual void received(const Received &datagram);
    // The datagram was no answer; `reason` is for example "of the wrong length".
    virtual void ignored(const Received &datagram, const QString &reason);
    // A search has ended during which so many datagrams were lost because the receive buffer was full. The
    // size is Transport::receiveBufferBytes().
    virtual void overrun(std::uint32_t datagrams, int receiveBufferBytes);
};

#endif // OBSERVER_H
