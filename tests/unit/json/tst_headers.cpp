// The JSON headers in files with macros of other libraries, and all these files in one program. Most of the
// test is that they compile.

#include "json/headers.h"

#include <QtCore/QByteArray>
#include <QtTest/QTest>

class TestHeaders : public QObject
{
    Q_OBJECT

private slots:
    void macrosChangeNothing_data();
    void macrosChangeNothing();
};

typedef std::string (*Rewrite)(const std::string &text);
Q_DECLARE_METATYPE(Rewrite)

void TestHeaders::macrosChangeNothing_data()
{
    QTest::addColumn<Rewrite>("rewrite");
    QTest::newRow("before Xlib") << &rewrittenBeforeX11;
    QTest::newRow("behind Xlib") << &rewrittenBehindX11;
    QTest::newRow("behind min and max") << &rewrittenBehindMinMax;
}

void TestHeaders::macrosChangeNothing()
{
    QFETCH(Rewrite, rewrite);
    QCOMPARE(QByteArray::fromStdString(rewrite("[true, false, null, -1e999]")),
             QByteArray("[\n\ttrue,\n\tfalse,\n\tnull,\n\t-1.7976931348623157081e+308\n]"));
}

QTEST_APPLESS_MAIN(TestHeaders)
#include "tst_headers.moc"
