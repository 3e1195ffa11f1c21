#ifndef EVENTGRABBER_H
#define EVENTGRABBER_H

#include <QtCore/QObject>

class QEvent;

// Receives the wink requests that the server thread posts, as plain events of type QEvent::User, on the
// thread that made it: the GUI thread.
class EventGrabber : public QObject
{
    Q_OBJECT
public:
    // The one grabber, made by the first call. That call must be the GUI thread's, before any other thread
    // starts; later ones, from any thread, only read.
    static EventGrabber *instance();
    ~EventGrabber();

    bool event(QEvent *event) override;

private:
    EventGrabber();
};

#endif // EVENTGRABBER_H
