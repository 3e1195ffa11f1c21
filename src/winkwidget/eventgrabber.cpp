#include "eventgrabber.h"

#include "winknotice.h"
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
    : m_displayMissed(false)
{
    setPreciseInterval(m_hideTimer, ShownMs);
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
    if (QWidget *shown = notice())
        showOnTop(*shown);
    m_hideTimer.start();
    return true;
}

void EventGrabber::onTimeOut()
{
    if (QWidget *shown = notice())
        shown->setVisible(false);
}

void EventGrabber::makeNotice()
{
    XScreenSize screen;
    if (!readXScreenSize(screen)) {
        if (!m_displayMissed)
            qWarning() << "Cannot open the X display: no wink notice is shown";
        m_displayMissed = true;
        return;
    }
    m_displayMissed = false;
    if (screen.width <= WidestPortraitScreen)
        m_verticalWindow = new WinkVerWidget;
    else
        m_horizontalWindow = new WinkHorWidget;
}

QWidget *EventGrabber::notice() const
{
    if (m_horizontalWindow)
        return m_horizontalWindow;
    return m_verticalWindow;
}
