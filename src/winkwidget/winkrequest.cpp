#include "winkrequest.h"

#include "eventgrabber.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QEvent>

void requestWink()
{
    // The event loop owns the event from here on and hands it over on the GUI thread.
    QCoreApplication::postEvent(EventGrabber::instance(), new QEvent(QEvent::User));
}
