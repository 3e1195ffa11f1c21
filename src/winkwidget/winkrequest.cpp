#include "winkrequest.h"

#include "eventgrabber.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QEvent>

#include <atomic>

namespace
{

// While the GUI thread waits for the X server or the platform service, requests stay in its queue. Each shows
// the notice for five seconds from when it is carried out, so that those that wait stand for any that come
// after them. One would do; with a few, each has an event of its own as long as the GUI thread keeps up.
const int MostWaiting = 16;
std::atomic<int> waiting(0);

class WinkEvent : public QEvent
{
public:
    WinkEvent()
        : QEvent(QEvent::User)
    {
        ++waiting;
    }
    ~WinkEvent() override { --waiting; }
};

} // namespace

void requestWink()
{
    // The event loop owns the event from here on and hands it over on the GUI thread.
    if (waiting < MostWaiting)
        QCoreApplication::postEvent(EventGrabber::instance(), new WinkEvent);
}
