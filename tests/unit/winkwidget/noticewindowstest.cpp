// The two windows as classes: structure, content, place and blinking.

#include "hwsdplatform.h"
#include "notices.h"
#include "privatexserver.h"
#include "support/messagecatcher.h"
#include "support/panel.h"
#include "support/testbuses.h"
#include "timerspy.h"

#include <QtCore/QMetaMethod>
#include <QtTest/QtTest>
#include <QtWidgets/QApplication>
#include <QtWidgets/QLabel>

#include <memory>

namespace
{

// Much longer than anything here takes; a test that passes never waits so long.
const int Patience = 60000;

TestBuses *buses = nullptr;

void blinkOnce(QWidget &window)
{
    QVERIFY(QMetaObject::invokeMethod(&window, "onTimeOut", Qt::DirectConnection));
}

} // namespace

class NoticeWindowsTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();

    void metaObject_data();
    void metaObject();
    void construction_connectsWithoutComplaint_data() { addForms(); }
    void construction_connectsWithoutComplaint();
    void identity_isThatOfTheMomentOfConstruction_data() { addForms(); }
    void identity_isThatOfTheMomentOfConstruction();
    void place_isTheMiddleOfTheScreen_data();
    void place_isTheMiddleOfTheScreen();
    void place_isLeftAloneWithoutADisplay_data() { addForms(); }
    void place_isLeftAloneWithoutADisplay();
    void blinkStep_togglesTheIconAlone_data() { addForms(); }
    void blinkStep_togglesTheIconAlone();
    void blinkTimer_repeatsEverySecondOnceShown_data() { addForms(); }
    void blinkTimer_repeatsEverySecondOnceShown();
    void blinkTimer_restartsWithEachShow_data() { addForms(); }
    void blinkTimer_restartsWithEachShow();
    void blinkTimer_runsOnWhileHidden_data() { addForms(); }
    void blinkTimer_runsOnWhileHidden();

private:
    std::unique_ptr<MessageCatcher> m_catcher;
};

void NoticeWindowsTest::init()
{
    m_catcher = std::make_unique<MessageCatcher>();
    qunsetenv("DISPLAY");
}

void NoticeWindowsTest::cleanup()
{
    buses->stop();
    m_catcher.reset();
}

void NoticeWindowsTest::metaObject_data()
{
    QTest::addColumn<QString>("form");
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("landscape") << Landscape << QByteArray("WinkHorWidget");
    QTest::newRow("portrait") << Portrait << QByteArray("WinkVerWidget");
}

void NoticeWindowsTest::metaObject()
{
    QFETCH(QString, form);
    QFETCH(QByteArray, name);
    const std::unique_ptr<QWidget> window = newNotice(form);
    const QMetaObject *metaObject = window->metaObject();
    QCOMPARE(QByteArray(metaObject->className()), name);
    QCOMPARE(metaObject->superClass(), &QWidget::staticMetaObject);
    QCOMPARE(metaObject->methodCount() - metaObject->methodOffset(), 1);
    const QMetaMethod slot = metaObject->method(metaObject->methodOffset());
    QCOMPARE(slot.methodType(), QMetaMethod::Slot);
    QCOMPARE(slot.methodSignature(), QByteArray("onTimeOut()"));
    QCOMPARE(slot.returnType(), static_cast<int>(QMetaType::Void));
    QCOMPARE(metaObject->propertyCount(), metaObject->propertyOffset());
    QCOMPARE(metaObject->enumeratorCount(), metaObject->enumeratorOffset());
}

// Qt warns of a misspelt slot only at run time.
void NoticeWindowsTest::construction_connectsWithoutComplaint()
{
    QFETCH(QString, form);
    QVERIFY(buses->startPanel());
    answerAsPanel(buses->service());
    HWSDPlatform::instance()->systemInfoText();
    m_catcher->take();
    const std::unique_ptr<QWidget> window = newNotice(form);
    QCOMPARE(m_catcher->take(), QStringList());
}

void NoticeWindowsTest::identity_isThatOfTheMomentOfConstruction()
{
    QFETCH(QString, form);
    QVERIFY(buses->startPanel());
    answerAsPanel(buses->service());
    HWSDPlatform::instance()->setIpAddress(0xc0a80a05);
    const std::unique_ptr<QWidget> window = newNotice(form);
    QCOMPARE(label(*window, "lbl_IP").text(), QStringLiteral("192.168.10.5"));
    QCOMPARE(label(*window, "lbl_DeviceName").text(), QStringLiteral("QM413-JD562"));

    HWSDPlatform::instance()->setIpAddress(0x0a000001);
    window->show();
    QCOMPARE(label(*window, "lbl_IP").text(), QStringLiteral("192.168.10.5"));
    window->hide();
    window->show();
    QCOMPARE(label(*window, "lbl_IP").text(), QStringLiteral("192.168.10.5"));
}

void NoticeWindowsTest::place_isTheMiddleOfTheScreen_data()
{
    QTest::addColumn<QString>("form");
    QTest::addColumn<QSize>("screen");
    QTest::addColumn<QPoint>("place");
    QTest::newRow("landscape 800x480") << Landscape << QSize(800, 480) << QPoint(190, 164);
    QTest::newRow("landscape 481x800") << Landscape << QSize(481, 800) << QPoint(30, 324);
    QTest::newRow("portrait 480x800") << Portrait << QSize(480, 800) << QPoint(75, 282);
    QTest::newRow("portrait 320x240") << Portrait << QSize(320, 240) << QPoint(-5, 2);
    // Halves of odd negative numbers are rounded towards zero: -11 / 2 and -5 / 2.
    QTest::newRow("portrait 319x230") << Portrait << QSize(319, 230) << QPoint(-5, -2);
    QTest::newRow("landscape 319x100") << Landscape << QSize(319, 100) << QPoint(-50, -25);
}

void NoticeWindowsTest::place_isTheMiddleOfTheScreen()
{
    QFETCH(QString, form);
    QFETCH(QSize, screen);
    PrivateXServer server;
    QVERIFY(server.start(screen.width(), screen.height()));
    server.use();
    const std::unique_ptr<QWidget> window = newNotice(form);
    QTEST(window->pos(), "place");
}

void NoticeWindowsTest::place_isLeftAloneWithoutADisplay()
{
    QFETCH(QString, form);
    const std::unique_ptr<QWidget> window = newNotice(form);
    QCOMPARE(window->pos(), QPoint(0, 0));
    QVERIFY(!window->testAttribute(Qt::WA_Moved));
}

void NoticeWindowsTest::blinkStep_togglesTheIconAlone()
{
    QFETCH(QString, form);
    const std::unique_ptr<QWidget> window = newNotice(form);
    window->show();
    const QLabel &icon = label(*window, "label");
    QVERIFY(icon.isVisible());
    blinkOnce(*window);
    QVERIFY(!icon.isVisible());
    for (const char *name : {"label_2", "label_3", "lbl_DeviceName", "label_5", "lbl_IP"})
        QVERIFY2(label(*window, name).isVisible(), name);
    blinkOnce(*window);
    QVERIFY(icon.isVisible());
    QVERIFY(window->isVisible());
}

void NoticeWindowsTest::blinkTimer_repeatsEverySecondOnceShown()
{
    QFETCH(QString, form);
    TimerSpy spy;
    const std::unique_ptr<QWidget> window = newNotice(form);
    const QLabel &icon = label(*window, "label");
    window->show();
    QTRY_VERIFY_WITH_TIMEOUT(!icon.isVisible(), Patience);
    QTRY_VERIFY_WITH_TIMEOUT(icon.isVisible(), Patience);
    QTRY_VERIFY_WITH_TIMEOUT(!icon.isVisible(), Patience);
    QCOMPARE(spy.timers().size(), 1);
    QVERIFY(spy.timer(1000));
    QVERIFY(!spy.timer(1000)->isSingleShot());
    QCOMPARE(spy.timer(1000)->timerType(), Qt::PreciseTimer);
    QVERIFY(spy.timer(1000)->isActive());
}

void NoticeWindowsTest::blinkTimer_restartsWithEachShow()
{
    QFETCH(QString, form);
    TimerSpy spy;
    const std::unique_ptr<QWidget> window = newNotice(form);
    window->show();
    QTRY_VERIFY_WITH_TIMEOUT(spy.timer(1000), Patience);
    QTimer &timer = *spy.timer(1000);
    makeLongAndLetRun(timer);
    const int before = timer.remainingTime();
    window->show();
    QVERIFY(timer.remainingTime() <= before);
    window->hide();
    QVERIFY(timer.remainingTime() <= before);
    window->show();
    QVERIFY(timer.remainingTime() > before);
}

void NoticeWindowsTest::blinkTimer_runsOnWhileHidden()
{
    QFETCH(QString, form);
    TimerSpy spy;
    const std::unique_ptr<QWidget> window = newNotice(form);
    const QLabel &icon = label(*window, "label");
    window->show();
    blinkOnce(*window);
    QVERIFY(icon.isHidden());
    window->hide();
    const int before = spy.count();
    QTRY_VERIFY_WITH_TIMEOUT(spy.count() >= before + 2, Patience);
    // Nothing is visible in a hidden window, so that each step there can only show the icon.
    QVERIFY(!window->isVisible());
    QVERIFY(!icon.isHidden());
}

int main(int argc, char **argv)
{
    TestBuses ownBuses;
    buses = &ownBuses;
    QApplication application(argc, argv);
    // Windows come and go here.
    QApplication::setQuitOnLastWindowClosed(false);
    NoticeWindowsTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "noticewindowstest.moc"
