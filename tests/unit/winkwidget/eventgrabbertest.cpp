// The receiver of the wink requests: which notice it makes, and when the notice is visible.

#include "winkwidget/eventgrabber.h"

#include "hwsdplatform.h"
#include "privatexserver.h"
#include "support/messagecatcher.h"
#include "support/testbuses.h"
#include "timerspy.h"
#include "winkwidget/winkrequest.h"

#include <QtCore/QEvent>
#include <QtCore/QMetaMethod>
#include <QtTest/QtTest>
#include <QtWidgets/QApplication>
#include <QtWidgets/QLabel>

#include <memory>
#include <thread>

namespace
{

// Much longer than anything here takes; a test that passes never waits so long.
const int Patience = 60000;

const char NoDisplay[] = "Cannot open the X display: no wink notice is shown";

QWidgetList notices()
{
    return QApplication::topLevelWidgets();
}

bool noticeIsVisible()
{
    return notices().size() == 1 && notices().first()->isVisible();
}

QString noticeClass()
{
    return notices().size() == 1 ? QLatin1String(notices().first()->metaObject()->className()) : QString();
}

QString noticeAddress()
{
    return notices().first()->findChild<QLabel *>(QStringLiteral("lbl_IP"))->text();
}

// Counts how often a widget is hidden.
class HideCounter : public QObject
{
public:
    explicit HideCounter(QWidget &widget) { widget.installEventFilter(this); }
    int count() const { return m_count; }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Hide)
            ++m_count;
        return QObject::eventFilter(watched, event);
    }

private:
    int m_count = 0;
};

// Counts the requests that reach the grabber.
class WinkCounter : public QObject
{
public:
    WinkCounter() { EventGrabber::instance()->installEventFilter(this); }
    int count() const { return m_count; }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::User)
            ++m_count;
        return QObject::eventFilter(watched, event);
    }

private:
    int m_count = 0;
};

// True when the grabber reports that the event needs no further handling.
bool wink()
{
    QEvent event(QEvent::User);
    return QCoreApplication::sendEvent(EventGrabber::instance(), &event);
}

} // namespace

class EventGrabberTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void metaObject();
    void instance_isOneUntilItIsDeleted();
    void noNoticeBeforeTheFirstWink();
    void wink_isConsumedAndShowsTheNotice();
    void wink_isTakenFromAnotherThread();
    void screenWidth_choosesTheNotice_data();
    void screenWidth_choosesTheNotice();
    void requestsThatWait_areFewAndShowTheNotice();
    void otherEvents_getTheDefaultTreatment_data();
    void otherEvents_getTheDefaultTreatment();
    void hideTimer_isOneShotOfFiveSeconds();
    void hideTimer_restartsWithEachWink();
    void winkAfterHiding_showsTheSameNoticeAsItWas();
    void screenThatTurns_changesNothing();
    void missingDisplay_isOneWarningAndNoNotice();
    void missingDisplay_isToldAgainOnceOneWasOpened();
    void displayThatComesLater_isFound();

private:
    PrivateXServer m_landscape;
    PrivateXServer m_portrait;
    std::unique_ptr<MessageCatcher> m_catcher;
};

void EventGrabberTest::initTestCase()
{
    QVERIFY(m_landscape.start(800, 480));
    QVERIFY(m_portrait.start(480, 800));
}

void EventGrabberTest::init()
{
    m_catcher = std::make_unique<MessageCatcher>();
    m_landscape.use();
}

void EventGrabberTest::cleanup()
{
    delete EventGrabber::instance();
    QCOMPARE(notices().size(), 0);
    m_catcher.reset();
}

void EventGrabberTest::metaObject()
{
    const QMetaObject &metaObject = EventGrabber::staticMetaObject;
    QCOMPARE(QByteArray(metaObject.className()), QByteArray("EventGrabber"));
    QCOMPARE(metaObject.superClass(), &QObject::staticMetaObject);
    QCOMPARE(metaObject.methodCount() - metaObject.methodOffset(), 1);
    const QMetaMethod slot = metaObject.method(metaObject.methodOffset());
    QCOMPARE(slot.methodType(), QMetaMethod::Slot);
    QCOMPARE(slot.methodSignature(), QByteArray("onTimeOut()"));
    QCOMPARE(metaObject.propertyCount(), metaObject.propertyOffset());
}

void EventGrabberTest::instance_isOneUntilItIsDeleted()
{
    const QPointer<EventGrabber> first = EventGrabber::instance();
    QCOMPARE(EventGrabber::instance(), first.data());
    QVERIFY(!first->parent());
    QCOMPARE(first->thread(), QThread::currentThread());
    delete first;
    QVERIFY(EventGrabber::instance());
    QCOMPARE(m_catcher->take(), QStringList());
}

void EventGrabberTest::noNoticeBeforeTheFirstWink()
{
    EventGrabber::instance();
    QCoreApplication::processEvents();
    QCOMPARE(notices().size(), 0);
}

void EventGrabberTest::wink_isConsumedAndShowsTheNotice()
{
    QVERIFY(wink());
    QVERIFY(noticeIsVisible());
}

void EventGrabberTest::wink_isTakenFromAnotherThread()
{
    EventGrabber::instance();
    std::thread poster(
        [] { QCoreApplication::postEvent(EventGrabber::instance(), new QEvent(QEvent::Type(1000))); });
    poster.join();
    QCOMPARE(notices().size(), 0);
    QTRY_VERIFY_WITH_TIMEOUT(noticeIsVisible(), Patience);
}

void EventGrabberTest::screenWidth_choosesTheNotice_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::addColumn<QString>("className");
    QTest::newRow("480 is portrait") << 480 << 800 << QStringLiteral("WinkVerWidget");
    QTest::newRow("481 is landscape") << 481 << 800 << QStringLiteral("WinkHorWidget");
    QTest::newRow("the height does not count") << 480 << 272 << QStringLiteral("WinkVerWidget");
    QTest::newRow("wide") << 1280 << 800 << QStringLiteral("WinkHorWidget");
}

void EventGrabberTest::screenWidth_choosesTheNotice()
{
    QFETCH(int, width);
    QFETCH(int, height);
    PrivateXServer server;
    QVERIFY(server.start(width, height));
    server.use();
    wink();
    QTEST(noticeClass(), "className");
    QVERIFY(noticeIsVisible());
}

// As from a network that winks on and on while the X server hangs: the queue must not grow with it.
void EventGrabberTest::requestsThatWait_areFewAndShowTheNotice()
{
    // Once they are carried out, others can wait.
    for (int round = 0; round < 2; ++round) {
        const WinkCounter counter;
        for (int i = 0; i < 1000; ++i)
            requestWink();
        QCOMPARE(counter.count(), 0);
        QCoreApplication::processEvents();
        QCOMPARE(counter.count(), 16);
        QVERIFY(noticeIsVisible());
    }
}

void EventGrabberTest::otherEvents_getTheDefaultTreatment_data()
{
    QTest::addColumn<int>("type");
    QTest::newRow("none") << 0;
    QTest::newRow("close") << static_cast<int>(QEvent::Close);
    QTest::newRow("show") << static_cast<int>(QEvent::Show);
    QTest::newRow("just below") << 999;
    QTest::newRow("just above") << 1001;
    QTest::newRow("last") << 65535;
}

void EventGrabberTest::otherEvents_getTheDefaultTreatment()
{
    QFETCH(int, type);
    QObject plain;
    QEvent toPlain{QEvent::Type(type)}, toGrabber{QEvent::Type(type)};
    const bool expected = QCoreApplication::sendEvent(&plain, &toPlain);
    QCOMPARE(QCoreApplication::sendEvent(EventGrabber::instance(), &toGrabber), expected);
    QCOMPARE(toGrabber.isAccepted(), toPlain.isAccepted());
    QCOMPARE(notices().size(), 0);
    // Queued calls are events too.
    QVERIFY(QMetaObject::invokeMethod(EventGrabber::instance(), "onTimeOut", Qt::QueuedConnection));
    QCoreApplication::processEvents();
    const QPointer<EventGrabber> grabber = EventGrabber::instance();
    grabber->deleteLater();
    QTRY_VERIFY_WITH_TIMEOUT(!grabber, Patience);
}

void EventGrabberTest::hideTimer_isOneShotOfFiveSeconds()
{
    TimerSpy spy;
    wink();
    QTRY_VERIFY_WITH_TIMEOUT(spy.timer(5000), Patience);
    QVERIFY(!noticeIsVisible());
    QVERIFY(spy.timer(5000)->isSingleShot());
    QVERIFY(!spy.timer(5000)->isActive());
    QCOMPARE(spy.timer(5000)->timerType(), Qt::PreciseTimer);
    // The other one makes the icon blink.
    QCOMPARE(spy.timers().size(), 2);
    QVERIFY(spy.timer(1000));
    QCOMPARE(notices().size(), 1);
}

void EventGrabberTest::hideTimer_restartsWithEachWink()
{
    TimerSpy spy;
    wink();
    QTRY_VERIFY_WITH_TIMEOUT(spy.timer(5000), Patience);
    QTimer &timer = *spy.timer(5000);
    wink();
    makeLongAndLetRun(timer);
    const HideCounter hides(*notices().first());
    const int before = timer.remainingTime();
    wink();
    QVERIFY(timer.remainingTime() > before);
    // The notice does not flicker.
    QVERIFY(noticeIsVisible());
    QCOMPARE(hides.count(), 0);
}

void EventGrabberTest::winkAfterHiding_showsTheSameNoticeAsItWas()
{
    HWSDPlatform::instance()->setIpAddress(0xc0a80a05);
    wink();
    const QPointer<QWidget> notice = notices().first();
    QCOMPARE(noticeAddress(), QStringLiteral("192.168.10.5"));
    QVERIFY(QMetaObject::invokeMethod(EventGrabber::instance(), "onTimeOut", Qt::DirectConnection));
    QVERIFY(!notice->isVisible());

    HWSDPlatform::instance()->setIpAddress(0x0a000001);
    wink();
    QVERIFY(noticeIsVisible());
    QCOMPARE(notices().first(), notice.data());
    QCOMPARE(noticeAddress(), QStringLiteral("192.168.10.5"));
}

void EventGrabberTest::screenThatTurns_changesNothing()
{
    wink();
    const QPointer<QWidget> notice = notices().first();
    const QPoint place = notice->pos();
    notice->hide();
    m_portrait.use();
    wink();
    QVERIFY(noticeIsVisible());
    QCOMPARE(notices().first(), notice.data());
    QCOMPARE(noticeClass(), QStringLiteral("WinkHorWidget"));
    QCOMPARE(notice->pos(), place);
}

void EventGrabberTest::missingDisplay_isOneWarningAndNoNotice()
{
    QStringList expected{QLatin1String(NoDisplay)};
    for (const char *display : {"", ":65000", "nonsense"}) {
        if (*display)
            qputenv("DISPLAY", display);
        else
            qunsetenv("DISPLAY");
        QVERIFY(wink());
        QCOMPARE(m_catcher->take(), expected);
        QCOMPARE(notices().size(), 0);
        expected.clear();
    }
}

void EventGrabberTest::missingDisplay_isToldAgainOnceOneWasOpened()
{
    qunsetenv("DISPLAY");
    wink();
    m_landscape.use();
    wink();
    // Another notice has to be made.
    delete notices().first();
    qunsetenv("DISPLAY");
    m_catcher->take();
    wink();
    QCOMPARE(m_catcher->take(), QStringList{QLatin1String(NoDisplay)});
}

void EventGrabberTest::displayThatComesLater_isFound()
{
    qunsetenv("DISPLAY");
    wink();
    QCOMPARE(notices().size(), 0);
    m_portrait.use();
    wink();
    QCOMPARE(noticeClass(), QStringLiteral("WinkVerWidget"));
    QVERIFY(noticeIsVisible());
}

int main(int argc, char **argv)
{
    // Without a bus the notice's description stays empty.
    TestBuses buses;
    QApplication application(argc, argv);
    // The notice comes and goes here.
    QApplication::setQuitOnLastWindowClosed(false);
    EventGrabberTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "eventgrabbertest.moc"
