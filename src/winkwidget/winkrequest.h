#ifndef WINKREQUEST_H
#define WINKREQUEST_H

// Asks the EventGrabber to show the notice for the next five seconds. Posts the request and returns before it
// is carried out; when a few wait already, those stand for this one. Any thread, once
// EventGrabber::instance() has been called on the GUI thread.
void requestWink();

#endif // WINKREQUEST_H
