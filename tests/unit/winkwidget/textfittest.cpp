// Every text of both notices in its available space, with the fonts that panels are likely to have.

#include "hwsdplatform.h"
#include "modelcodes.h"
#include "notices.h"
#include "support/messagecatcher.h"
#include "support/testbuses.h"

#include <QtGui/QFontInfo>
#include <QtGui/QFontMetrics>
#include <QtTest/QtTest>
#include <QtWidgets/QApplication>
#include <QtWidgets/QFrame>
#include <QtWidgets/QLabel>

#include <memory>

namespace
{

TestBuses *buses = nullptr;

const char *const Fonts[] = {"DejaVu Sans", "Liberation Sans", "FreeSans"};
const char *const Labels[] = {"label_2", "label_3", "lbl_DeviceName", "label_5", "lbl_IP"};
const quint32 WidestAddress = 0xFFFFFFFF;
// Four bytes, little-endian, of a code without a model; the description is then the EEPROM's text.
const QByteArray NoModel = QByteArray::fromHex("f7010000");
const int Narrowest = 60;

QList<int> modelCodes()
{
    QList<int> codes;
    for (int code = 0; code < 1000; ++code) {
        if (modelCodeText(code))
            codes.append(code);
    }
    return codes;
}

QByteArray bytesOfCode(int code)
{
    QByteArray bytes(4, '\0');
    bytes[0] = static_cast<char>(code & 0xFF);
    bytes[1] = static_cast<char>(code >> 8);
    return bytes;
}

QRect place(const QWidget &window, const char *name)
{
    const QLabel &found = label(window, name);
    return {found.mapTo(&window, QPoint(0, 0)), found.size()};
}

int widthOfText(const QLabel &label)
{
    return QFontMetrics(label.font()).horizontalAdvance(label.text());
}

int stretchOf(const QLabel &label)
{
    // From Qt 6 on, 0 means that it is not set.
    return label.font().stretch() == 0 ? 100 : label.font().stretch();
}

// The fault in the places of the labels; empty when each is inside the frame and none covers another.
QString faultOfPlaces(const QWidget &window)
{
    const QRect room = window.findChild<QFrame *>(QStringLiteral("frame"))->contentsRect();
    for (const char *name : Labels) {
        if (!room.contains(place(window, name)))
            return QLatin1String(name) + QLatin1String(" leaves the frame");
        for (const char *other : Labels) {
            if (name != other && place(window, name).intersects(place(window, other)))
                return QLatin1String(name) + QLatin1String(" covers ") + QLatin1String(other);
        }
    }
    return {};
}

// The fault in the texts; empty when each label shows its whole text in a legible width.
QString faultOfTexts(const QWidget &window)
{
    for (const char *name : Labels) {
        const QLabel &shown = label(window, name);
        if (widthOfText(shown) > shown.contentsRect().width())
            return QStringLiteral("%1 is cut: %2 takes %3 of %4 pixels at %5 %")
                .arg(QLatin1String(name), shown.text())
                .arg(widthOfText(shown))
                .arg(shown.contentsRect().width())
                .arg(stretchOf(shown));
        if (stretchOf(shown) < Narrowest)
            return QStringLiteral("%1 is too narrow: %2 at %3 %")
                .arg(QLatin1String(name), shown.text())
                .arg(stretchOf(shown));
    }
    return {};
}

} // namespace

class TextFitTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void everyModelStandsWhole_data();
    void everyModelStandsWhole();
    void longerNameIsCondensedAsFarAsNeeded_data() { addFontsAndForms(); }
    void longerNameIsCondensedAsFarAsNeeded();
    void overlongNameIsCutAndCoversNothing_data() { addFontsAndForms(); }
    void overlongNameIsCutAndCoversNothing();
    void shortTextsKeepTheirLetters_data() { addFontsAndForms(); }
    void shortTextsKeepTheirLetters();
    void markupInANameIsShownAsItStands();

private:
    static void addFontsAndForms();
    // A notice that is shown, with the widest address and this as the panel's description.
    static std::unique_ptr<QWidget> noticeOf(const QByteArray &description, const QString &form);
    static std::unique_ptr<QWidget> shownNotice(const QString &form);

    std::unique_ptr<MessageCatcher> m_catcher;
};

void TextFitTest::addFontsAndForms()
{
    QTest::addColumn<QString>("font");
    QTest::addColumn<QString>("form");
    for (const char *font : Fonts) {
        QTest::addRow("%s, landscape", font) << QString::fromLatin1(font) << Landscape;
        QTest::addRow("%s, portrait", font) << QString::fromLatin1(font) << Portrait;
    }
}

void TextFitTest::initTestCase()
{
    // Another test covers the place on the screen.
    qunsetenv("DISPLAY");
    for (const char *font : Fonts)
        QCOMPARE(QFontInfo(QFont(QString::fromLatin1(font))).family(), QString::fromLatin1(font));
}

void TextFitTest::init()
{
    m_catcher = std::make_unique<MessageCatcher>();
    QVERIFY(buses->startPanel());
}

void TextFitTest::cleanup()
{
    QApplication::setFont(QFont());
    buses->stop();
    m_catcher.reset();
}

std::unique_ptr<QWidget> TextFitTest::shownNotice(const QString &form)
{
    HWSDPlatform::instance()->setIpAddress(WidestAddress);
    std::unique_ptr<QWidget> window = newNotice(form);
    window->show();
    QCoreApplication::processEvents();
    return window;
}

std::unique_ptr<QWidget> TextFitTest::noticeOf(const QByteArray &description, const QString &form)
{
    // A facade keeps what it has read of its panel.
    delete HWSDPlatform::instance();
    buses->service().answer("manufactureCode", {NoModel});
    buses->service().answer("readSlvAddr", {0, QByteArray(description + '\0')});
    return shownNotice(form);
}

void TextFitTest::everyModelStandsWhole_data()
{
    QTest::addColumn<int>("code");
    const QList<int> codes = modelCodes();
    QCOMPARE(codes.size(), 19);
    for (const int code : codes)
        QTest::addRow("%s", modelCodeText(code)) << code;
}

void TextFitTest::everyModelStandsWhole()
{
    QFETCH(int, code);
    buses->service().answer("manufactureCode", {bytesOfCode(code)});
    for (const char *font : Fonts) {
        QApplication::setFont(QFont(QString::fromLatin1(font)));
        for (const QString &form : {Landscape, Portrait}) {
            const std::unique_ptr<QWidget> window = shownNotice(form);
            const QString where = QLatin1String(font) + QLatin1String(", ") + form + QLatin1String(": ");
            QCOMPARE(where + faultOfPlaces(*window), where);
            QCOMPARE(where + faultOfTexts(*window), where);
            QCOMPARE(label(*window, "lbl_DeviceName").text(), QString::fromLatin1(modelCodeText(code)));
            QCOMPARE(label(*window, "lbl_IP").text(), QStringLiteral("255.255.255.255"));
        }
    }
}

void TextFitTest::longerNameIsCondensedAsFarAsNeeded()
{
    QFETCH(QString, font);
    QFETCH(QString, form);
    QApplication::setFont(QFont(font));
    const QByteArray name("Line 3, oven at the far end, left side");
    int condensed = 0;
    for (int length = 8; length <= name.size(); ++length) {
        const std::unique_ptr<QWidget> window = noticeOf(name.left(length), form);
        const QLabel &shown = label(*window, "lbl_DeviceName");
        QCOMPARE(shown.text(), QString::fromLatin1(name.left(length)));
        QCOMPARE(faultOfPlaces(*window), QString());
        const int stretch = stretchOf(shown);
        if (stretch == 100 || stretch == Narrowest)
            continue;
        ++condensed;
        QCOMPARE(faultOfTexts(*window), QString());
        // The text is not narrower than needed: a little wider would not fit.
        QFont wider = shown.font();
        wider.setStretch(stretch + 4);
        QVERIFY(QFontMetrics(wider).horizontalAdvance(shown.text()) > shown.width());
    }
    QVERIFY2(condensed >= 5, QByteArray::number(condensed).constData());
}

void TextFitTest::overlongNameIsCutAndCoversNothing()
{
    QFETCH(QString, font);
    QFETCH(QString, form);
    QApplication::setFont(QFont(font));
    const QByteArray name(200, 'W');
    const std::unique_ptr<QWidget> window = noticeOf(name, form);
    const QLabel &shown = label(*window, "lbl_DeviceName");
    QCOMPARE(shown.text(), QString::fromLatin1(name));
    QCOMPARE(faultOfPlaces(*window), QString());
    QCOMPARE(stretchOf(shown), Narrowest);
    // The other texts are not condensed.
    for (const char *other : {"label_2", "label_3", "label_5", "lbl_IP"})
        QVERIFY2(widthOfText(label(*window, other)) <= label(*window, other).width(), other);
}

void TextFitTest::shortTextsKeepTheirLetters()
{
    QFETCH(QString, font);
    QFETCH(QString, form);
    QApplication::setFont(QFont(font));
    const std::unique_ptr<QWidget> window = noticeOf("Oven", form);
    for (const char *name : {"label_2", "label_3", "lbl_DeviceName"})
        QCOMPARE(stretchOf(label(*window, name)), 100);
    // Only this caption can be wider than the form's minimum for it.
    QCOMPARE(stretchOf(label(*window, "label_5")) < 100,
             form == Landscape && font == QLatin1String("DejaVu Sans"));
    QCOMPARE(label(*window, "label_2").font().pointSize(), 14);
    QCOMPARE(label(*window, "lbl_DeviceName").font().pointSize(), 12);
}

void TextFitTest::markupInANameIsShownAsItStands()
{
    const std::unique_ptr<QWidget> window = noticeOf("<b>Oven</b>", Landscape);
    const QLabel &shown = label(*window, "lbl_DeviceName");
    QCOMPARE(shown.text(), QStringLiteral("<b>Oven</b>"));
    QCOMPARE(shown.textFormat(), Qt::PlainText);
}

int main(int argc, char **argv)
{
    TestBuses ownBuses;
    buses = &ownBuses;
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    TextFitTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "textfittest.moc"
