#ifndef EVENTGRABBER_H
#define EVENTGRABBER_H

#include "winkhorwidget.h"
#include "winkverwidget.h"

#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QTimer>

class QEvent;
class QWidget;

// Receives the wink requests (winkrequest.h), which are plain events of type QEvent::User, and shows the
// notice until five seconds after the last one. Lives on the thread that made it, the GUI thread.
class EventGrabber : public QObject
{
    Q_OBJECT
public:
    // The one grabber, made by the first call. That call must be the GUI thread's, before any other thread
    // starts; later ones, from any thread, only read.
    static EventGrabber *instance();
    ~EventGrabber();

    bool event(QEvent *event) override;

private Q_SLOTS:
    void onTimeOut();

private:
    EventGrabber();
    // Leaves notice() null, with a warning, when no display can be opened. One warning stands for all winks
    // until a display could be opened again.
    void makeNotice();
    // The one that was made, or null.
    QWidget *notice() const;

    // At most one of the two is ever made, on the first wink, and kept.
    QPointer<WinkHorWidget> m_horizontalWindow;
    QPointer<WinkVerWidget> m_verticalWindow;
    QTimer m_hideTimer;
    bool m_displayMissed;
};

#endif // EVENTGRABBER_H
