#include "eventgrabber.h"

#include "xscreen.h"

#include <QtCore/QDebug>
#include <QtCore/QEvent>

namespace
{

const int ShownMs = 5000;
// Up to this width, in pixels, the landscape notice would leave no room beside it.
const int WidestPortraitScreen = 480;

EventGrabber *theInstance = nullptr;

} // namespace

EventGrabber *EventGrabber::instance()
{
    if (!theInstance)
        theInstance = new EventGrabber;
    return theInstance;
}

EventGrabber::EventGrabber()
{
    m_hideTimer.setInterval(ShownMs);
    m_hideTimer.setSingleShot(true);
    connect(&m_hideTimer, SIGNAL(timeout()), this, SLOT(onTimeOut()));
}

EventGrabber::~EventGrabber()
{
    delete m_horizontalWindow;
    delete m_verticalWindow;
    theInstance = nullptr;
}

bool EventGrabber::event(QEvent *event)
{
    if (event->type() != QEvent::User)
        return QObject::event(event);
    if (!m_horizontalWindow && !m_verticalWindow)
        makeNotice();
    setNoticeVisible(true);
    m_hideTimer.start();
    return true;
}

void EventGrabber::onTimeOut()
{
    setNoticeVisible(false);
}

void EventGrabber::makeNotice()
{
    XScreenSize screen;
    if (!readXScreenSize(screen)) {
        qWarning() << "Cannot open the X display: no wink notice is shown";
        return;
    }
    if (screen.width <= WidestPortraitScreen)
        m_verticalWindow = new WinkVerWidget;
    else
        m_horizontalWindow = new WinkHorWidget;
}

void EventGrabber::setNoticeVisible(bool visible)
{
    if (m_horizontalWindow)
        m_horizontalWindow->setVisible(visible);
    if (m_verticalWindow)
        m_verticalWindow->setVisible(visible);
}
