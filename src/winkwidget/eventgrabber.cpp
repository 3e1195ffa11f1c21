#include "eventgrabber.h"

#include <QtCore/QEvent>

namespace
{

EventGrabber *theInstance = nullptr;

} // namespace

EventGrabber *EventGrabber::instance()
{
    if (!theInstance)
        theInstance = new EventGrabber;
    return theInstance;
}

EventGrabber::EventGrabber() {}

EventGrabber::~EventGrabber()
{
    theInstance = nullptr;
}

bool EventGrabber::event(QEvent *event)
{
    if (event->type() != QEvent::User)
        return QObject::event(event);
    return true;
}
