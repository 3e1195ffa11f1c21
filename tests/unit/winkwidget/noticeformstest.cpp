// Both forms against tables: content, layout, appearance, and the context of translations.

#include "formtext.h"
#include "notices.h"
#include "support/messagecatcher.h"
#include "support/testbuses.h"
#include "support/texts.h"

#include <QtCore/QTranslator>
#include <QtGui/QImage>
#include <QtGui/QPixmap>
#include <QtTest/QtTest>
#include <QtWidgets/QApplication>
#include <QtWidgets/QFormLayout>
#include <QtWidgets/QFrame>
#include <QtWidgets/QLabel>

#include <memory>

namespace
{

// Translates the texts of one context, and records them.
class ContextTranslator : public QTranslator
{
public:
    explicit ContextTranslator(const QString &context)
        : m_context(context)
    {
    }
    bool isEmpty() const override { return false; }
    QString translate(const char *context, const char *text, const char *disambiguation, int) const override
    {
        if (m_context != QLatin1String(context))
            return QString();
        m_asked.append(QString::fromUtf8(text) + QString::fromUtf8(disambiguation));
        return QStringLiteral("<%1>").arg(QString::fromUtf8(text));
    }
    QStringList asked() const
    {
        QStringList sorted = m_asked;
        sorted.sort();
        return sorted;
    }

private:
    const QString m_context;
    mutable QStringList m_asked;
};

} // namespace

class NoticeFormsTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void windowProperties_data();
    void windowProperties();
    void landscapeWindowHidesCursorAndMenu();
    void portraitWindowLeavesCursorAndMenu();
    void objects_data();
    void objects();
    void layoutItems_data();
    void layoutItems();
    void outerLayoutHasNoMargins_data() { addForms(); }
    void outerLayoutHasNoMargins();
    void captionsOfLandscapeFormAreLeftAndCentred();
    void frameProperties_data() { addForms(); }
    void frameProperties();
    void labels_data();
    void labels();
    void iconLabelShowsTheHand_data() { addForms(); }
    void iconLabelShowsTheHand();
    void textsComeFromTheFormsContext_data();
    void textsComeFromTheFormsContext();

private:
    std::unique_ptr<MessageCatcher> m_catcher;
};

void NoticeFormsTest::initTestCase()
{
    // Another test covers the place on the screen.
    qunsetenv("DISPLAY");
}

void NoticeFormsTest::init()
{
    // The platform service is absent, which causes warnings.
    m_catcher = std::make_unique<MessageCatcher>();
}

void NoticeFormsTest::cleanup()
{
    m_catcher.reset();
}

void NoticeFormsTest::windowProperties_data()
{
    QTest::addColumn<QString>("form");
    QTest::addColumn<QByteArray>("property");
    QTest::addColumn<QVariant>("value");
    const auto row = [](const QString &form, const char *property, const QVariant &value) {
        QTest::newRow(qPrintable(form + QLatin1Char(' ') + QLatin1String(property)))
            << form << QByteArray(property) << value;
    };
    const QString whiteBackground = QStringLiteral("background-color: rgb(255, 255, 255);");
    row(Landscape, "objectName", QStringLiteral("winkHorWidget"));
    row(Landscape, "size", QSize(420, 151));
    row(Landscape, "minimumSize", QSize(420, 151));
    row(Landscape, "maximumSize", QSize(420, 151));
    row(Landscape, "styleSheet", whiteBackground);
    row(Landscape, "windowTitle", QStringLiteral("Form"));
    row(Landscape, "visible", false);
    row(Landscape, "sizePolicy", QSizePolicy(QSizePolicy::Preferred, QSizePolicy::Preferred));
    row(Portrait, "objectName", QStringLiteral("winkVerWidget"));
    row(Portrait, "size", QSize(330, 235));
    // The heights differ by three pixels on purpose.
    row(Portrait, "minimumSize", QSize(330, 232));
    row(Portrait, "maximumSize", QSize(330, 235));
    row(Portrait, "styleSheet", whiteBackground);
    row(Portrait, "windowTitle", QStringLiteral("Form"));
    row(Portrait, "visible", false);
    row(Portrait, "sizePolicy", QSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed));
}

void NoticeFormsTest::windowProperties()
{
    QFETCH(QString, form);
    QFETCH(QByteArray, property);
    QFETCH(QVariant, value);
    const std::unique_ptr<QWidget> window = newNotice(form);
    QCOMPARE(window->property(property.constData()), value);
    QVERIFY(!window->parent());
    QCOMPARE(static_cast<int>(window->windowFlags()), 0x40801);
}

void NoticeFormsTest::landscapeWindowHidesCursorAndMenu()
{
    const std::unique_ptr<QWidget> window = newNotice(Landscape);
    QVERIFY(window->testAttribute(Qt::WA_SetCursor));
    QCOMPARE(window->cursor().shape(), Qt::BlankCursor);
    QCOMPARE(window->contextMenuPolicy(), Qt::NoContextMenu);
}

void NoticeFormsTest::portraitWindowLeavesCursorAndMenu()
{
    const std::unique_ptr<QWidget> window = newNotice(Portrait);
    QVERIFY(!window->testAttribute(Qt::WA_SetCursor));
    QCOMPARE(window->cursor().shape(), Qt::ArrowCursor);
    QCOMPARE(window->contextMenuPolicy(), Qt::DefaultContextMenu);
}

void NoticeFormsTest::objects_data()
{
    QTest::addColumn<QString>("form");
    QTest::addColumn<QStringList>("texts");
    QTest::newRow("landscape") << Landscape
                               << lines({"QFormLayout formLayout in verticalLayout",
                                         "QFrame frame in winkHorWidget", "QGridLayout gridLayout in frame",
                                         "QGridLayout gridLayout_2 in winkHorWidget",
                                         "QHBoxLayout horizontalLayout in gridLayout",
                                         "QLabel label in frame", "QLabel label_2 in frame",
                                         "QLabel label_3 in frame", "QLabel label_5 in frame",
                                         "QLabel lbl_DeviceName in frame", "QLabel lbl_IP in frame",
                                         "QVBoxLayout verticalLayout in horizontalLayout"});
    QTest::newRow("portrait")
        << Portrait
        << lines({"QFrame frame in winkVerWidget", "QGridLayout gridLayout in horizontalLayout_2",
                  "QGridLayout gridLayout_2 in frame", "QGridLayout gridLayout_3 in winkVerWidget",
                  "QHBoxLayout horizontalLayout in verticalLayout",
                  "QHBoxLayout horizontalLayout_2 in verticalLayout", "QLabel label in frame",
                  "QLabel label_2 in frame", "QLabel label_3 in frame", "QLabel label_5 in frame",
                  "QLabel lbl_DeviceName in frame", "QLabel lbl_IP in frame",
                  "QVBoxLayout verticalLayout in gridLayout_2"});
}

void NoticeFormsTest::objects()
{
    QFETCH(QString, form);
    QFETCH(QStringList, texts);
    const std::unique_ptr<QWidget> window = newNotice(form);
    QCOMPARE(objectTexts(*window), texts);
}

void NoticeFormsTest::layoutItems_data()
{
    QTest::addColumn<QString>("form");
    QTest::addColumn<QString>("layout");
    QTest::addColumn<QStringList>("items");
    const auto row = [](const QString &form, const char *layout, std::initializer_list<const char *> items) {
        QTest::newRow(qPrintable(form + QLatin1Char(' ') + QLatin1String(layout)))
            << form << QString::fromLatin1(layout) << lines(items);
    };
    row(Landscape, "gridLayout_2", {"0,0 1x1: frame"});
    row(Landscape, "gridLayout", {"0,0 1x1: horizontalLayout"});
    row(Landscape, "horizontalLayout", {"label", "spacer 40x20 Expanding/Minimum", "verticalLayout"});
    row(Landscape, "verticalLayout", {"label_2", "formLayout"});
    row(Landscape, "formLayout",
        {"0 label: label_3", "0 field: lbl_DeviceName", "1 label: label_5", "1 field: lbl_IP"});
    row(Portrait, "gridLayout_3", {"0,0 1x1: frame"});
    row(Portrait, "gridLayout_2", {"0,0 1x1: verticalLayout"});
    row(Portrait, "verticalLayout", {"horizontalLayout", "label_2", "horizontalLayout_2"});
    row(Portrait, "horizontalLayout",
        {"spacer 40x20 Expanding/Minimum", "spacer 20x40 Minimum/Expanding", "label",
         "spacer 40x20 Expanding/Minimum"});
    row(Portrait, "horizontalLayout_2",
        {"spacer 40x20 Expanding/Minimum", "gridLayout", "spacer 40x20 Expanding/Minimum"});
    row(Portrait, "gridLayout",
        {"0,0 1x1: label_3", "0,1 1x1: lbl_DeviceName", "1,0 1x1: label_5", "1,1 1x1: lbl_IP"});
}

void NoticeFormsTest::layoutItems()
{
    QFETCH(QString, form);
    QFETCH(QString, layout);
    QFETCH(QStringList, items);
    const std::unique_ptr<QWidget> window = newNotice(form);
    auto *found = window->findChild<QLayout *>(layout);
    QVERIFY(found);
    QCOMPARE(itemTexts(*found), items);
}

void NoticeFormsTest::outerLayoutHasNoMargins()
{
    QFETCH(QString, form);
    const std::unique_ptr<QWidget> window = newNotice(form);
    QVERIFY(window->layout());
    QCOMPARE(marginsText(*window->layout()), QStringLiteral("0,0,0,0"));
    // The inner layout has the style's margins.
    QVERIFY(marginsText(*window->findChild<QFrame *>(QStringLiteral("frame"))->layout()) !=
            QStringLiteral("0,0,0,0"));
}

void NoticeFormsTest::captionsOfLandscapeFormAreLeftAndCentred()
{
    const std::unique_ptr<QWidget> window = newNotice(Landscape);
    const auto *layout = window->findChild<QFormLayout *>(QStringLiteral("formLayout"));
    QVERIFY(layout);
    QCOMPARE(layout->labelAlignment(), Qt::AlignLeft | Qt::AlignVCenter);
}

void NoticeFormsTest::frameProperties()
{
    QFETCH(QString, form);
    const std::unique_ptr<QWidget> window = newNotice(form);
    const auto *frame = window->findChild<QFrame *>(QStringLiteral("frame"));
    QVERIFY(frame);
    QCOMPARE(frame->frameShape(), QFrame::Panel);
    QCOMPARE(frame->frameShadow(), QFrame::Plain);
    QCOMPARE(frame->lineWidth(), 2);
}

void NoticeFormsTest::labels_data()
{
    QTest::addColumn<QString>("form");
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QString>("font");
    QTest::addColumn<QString>("alignment");
    QTest::addColumn<QSize>("minimumSize");
    const auto row = [](const QString &form, const char *name, const char *font, const char *alignment,
                        const QSize &minimumSize) {
        QTest::newRow(qPrintable(form + QLatin1Char(' ') + QLatin1String(name)))
            << form << QByteArray(name) << latin1(font) << latin1(alignment) << minimumSize;
    };
    const QSize none(0, 0), wide(100, 0);
    row(Landscape, "label", "", "Left|VCenter", none);
    row(Landscape, "label_2", "14 pt, bold", "Left|VCenter", none);
    row(Landscape, "label_3", "12 pt, bold", "Left|VCenter", wide);
    row(Landscape, "lbl_DeviceName", "12 pt, bold", "Left|VCenter", none);
    row(Landscape, "label_5", "12 pt, bold", "Left|VCenter", wide);
    row(Landscape, "lbl_IP", "12 pt, bold", "Left|VCenter", none);
    row(Portrait, "label", "", "Left|VCenter", none);
    row(Portrait, "label_2", "14 pt, bold", "HCenter|VCenter", none);
    // Only one of the two captions names a font family, and their heights differ; the form was drawn like
    // this.
    row(Portrait, "label_3", "Abyssinica SIL, 12 pt, bold", "Right|VCenter", none);
    row(Portrait, "lbl_DeviceName", "12 pt, bold", "Left|VCenter", none);
    row(Portrait, "label_5", "12 pt, bold", "Right|Top", none);
    row(Portrait, "lbl_IP", "12 pt, bold", "Left|VCenter", none);
}

void NoticeFormsTest::labels()
{
    QFETCH(QString, form);
    QFETCH(QByteArray, name);
    QFETCH(QSize, minimumSize);
    const std::unique_ptr<QWidget> window = newNotice(form);
    const QLabel &found = label(*window, name.constData());
    QTEST(fontText(found), "font");
    QTEST(alignmentText(found), "alignment");
    QCOMPARE(found.minimumSize(), minimumSize);
    QCOMPARE(found.maximumSize(), QSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX));
    QCOMPARE(found.frameShape(), QFrame::NoFrame);
    QVERIFY(!found.wordWrap());
}

void NoticeFormsTest::iconLabelShowsTheHand()
{
    QFETCH(QString, form);
    const std::unique_ptr<QWidget> window = newNotice(form);
    const QLabel &icon = label(*window, "label");
    QCOMPARE(icon.text(), QString());
    QVERIFY(!icon.hasScaledContents());
    const QImage hand(QStringLiteral(":/images/hand-icon.bmp"));
    QVERIFY(!hand.isNull());
    const QPixmap shown = icon.property("pixmap").value<QPixmap>();
    QCOMPARE(shown.toImage().convertToFormat(hand.format()), hand);
}

void NoticeFormsTest::textsComeFromTheFormsContext_data()
{
    QTest::addColumn<QString>("form");
    QTest::addColumn<QString>("context");
    QTest::newRow("landscape") << Landscape << QStringLiteral("winkHorWidget");
    QTest::newRow("portrait") << Portrait << QStringLiteral("winkVerWidget");
}

void NoticeFormsTest::textsComeFromTheFormsContext()
{
    QFETCH(QString, form);
    QFETCH(QString, context);
    ContextTranslator translator(context);
    QVERIFY(QCoreApplication::installTranslator(&translator));
    const std::unique_ptr<QWidget> window = newNotice(form);
    QCoreApplication::removeTranslator(&translator);

    // Two are placeholders, which the window replaces at once.
    QCOMPARE(translator.asked(),
             lines({"500/600", "555.555.555.555", "Device:", "Form", "IP Address:", "WINK Command Active"}));
    QCOMPARE(window->windowTitle(), QStringLiteral("<Form>"));
    QCOMPARE(label(*window, "label").text(), QString());
    QCOMPARE(label(*window, "label_2").text(), QStringLiteral("<WINK Command Active>"));
    QCOMPARE(label(*window, "label_3").text(), QStringLiteral("<Device:>"));
    QCOMPARE(label(*window, "label_5").text(), QStringLiteral("<IP Address:>"));
}

int main(int argc, char **argv)
{
    TestBuses buses;
    QApplication application(argc, argv);
    NoticeFormsTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "noticeformstest.moc"
