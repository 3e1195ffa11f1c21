// The forms' own texts, and where translations of them are looked for.

#include "support/messagecatcher.h"
#include "support/testbuses.h"
#include "winkwidget/winkhorwidget.h"
#include "winkwidget/winkverwidget.h"

#include "ui_winkhorwidget.h"
#include "ui_winkverwidget.h"

#include <QApplication>
#include <QLabel>
#include <QTranslator>
#include <QtTest>

#include <memory>

namespace
{

const QString Landscape = QStringLiteral("landscape");
const QString Portrait = QStringLiteral("portrait");

QStringList lines(std::initializer_list<const char *> texts)
{
    QStringList list;
    for (const char *text : texts)
        list.append(QString::fromLatin1(text));
    return list;
}

QWidget *newWindow(const QString &form)
{
    if (form == Landscape)
        return new WinkHorWidget;
    return new WinkVerWidget;
}

// The form on a plain widget, as it is before the window puts the panel's identity into it.
template <class Form>
void buildForm(QWidget &window)
{
    Form form;
    form.setupUi(&window);
}

// Answers for one context, and notes what it was asked for there.
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

class NoticeTextsTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();

    void placeholders_data();
    void placeholders();
    void textsComeFromTheFormsContext_data();
    void textsComeFromTheFormsContext();
};

void NoticeTextsTest::initTestCase()
{
    // The place on the screen is another test's matter.
    qunsetenv("DISPLAY");
}

void NoticeTextsTest::placeholders_data()
{
    QTest::addColumn<QString>("form");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("text");
    for (const QString &form : {Landscape, Portrait}) {
        const auto row = [form](const char *name, const char *text) {
            QTest::newRow(qPrintable(form + QLatin1Char(' ') + QLatin1String(name)))
                << form << QString::fromLatin1(name) << QString::fromLatin1(text);
        };
        row("label", "");
        row("label_2", "WINK Command Active");
        row("label_3", "Device:");
        row("lbl_DeviceName", "500/600");
        row("label_5", "IP Address:");
        row("lbl_IP", "555.555.555.555");
    }
}

void NoticeTextsTest::placeholders()
{
    QFETCH(QString, form);
    QFETCH(QString, name);
    QWidget window;
    if (form == Landscape)
        buildForm<Ui::winkHorWidget>(window);
    else
        buildForm<Ui::winkVerWidget>(window);
    const auto *label = window.findChild<QLabel *>(name);
    QVERIFY(label);
    QTEST(label->text(), "text");
}

void NoticeTextsTest::textsComeFromTheFormsContext_data()
{
    QTest::addColumn<QString>("form");
    QTest::addColumn<QString>("context");
    QTest::newRow("landscape") << Landscape << QStringLiteral("winkHorWidget");
    QTest::newRow("portrait") << Portrait << QStringLiteral("winkVerWidget");
}

void NoticeTextsTest::textsComeFromTheFormsContext()
{
    QFETCH(QString, form);
    QFETCH(QString, context);
    ContextTranslator translator(context);
    QVERIFY(QCoreApplication::installTranslator(&translator));
    // There is no platform service here, and its client says so.
    MessageCatcher catcher;
    const std::unique_ptr<QWidget> window(newWindow(form));
    QCoreApplication::removeTranslator(&translator);

    QCOMPARE(translator.asked(),
             lines({"500/600", "555.555.555.555", "Device:", "Form", "IP Address:", "WINK Command Active"}));
    QCOMPARE(window->windowTitle(), QStringLiteral("<Form>"));
    const auto text = [&window](const char *name) {
        return window->findChild<QLabel *>(QString::fromLatin1(name))->text();
    };
    QCOMPARE(text("label"), QString());
    QCOMPARE(text("label_2"), QStringLiteral("<WINK Command Active>"));
    QCOMPARE(text("label_3"), QStringLiteral("<Device:>"));
    QCOMPARE(text("label_5"), QStringLiteral("<IP Address:>"));
}

int main(int argc, char **argv)
{
    TestBuses buses;
    QApplication application(argc, argv);
    NoticeTextsTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "noticetextstest.moc"
