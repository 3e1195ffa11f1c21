#include "addressrange.h"

#include "addresses.h"
#include "toolerror.h"

#include <QtTest/QtTest>

class AddressRangeTest : public QObject
{
    Q_OBJECT

private slots:
    void rangesAreRead_data();
    void rangesAreRead();
    void mistakesAreToldByTheirPlace_data();
    void mistakesAreToldByTheirPlace();
};

void AddressRangeTest::rangesAreRead_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("range"); // first, last, netmask
    const auto row = [](const char *text, const char *range) { QTest::newRow(text) << text << range; };
    row("192.168.10.20-59", "192.168.10.20 192.168.10.59 -");
    row("192.168.10.20-192.168.10.59", "192.168.10.20 192.168.10.59 -");
    row("192.168.10.20-20", "192.168.10.20 192.168.10.20 -");
    row("192.168.10.20-59/24", "192.168.10.20 192.168.10.59 255.255.255.0");
    row("10.0.0.1-10.0.16.0/255.255.0.0", "10.0.0.1 10.0.16.0 255.255.0.0");
    row("10.0.0.0-10.0.15.255", "10.0.0.0 10.0.15.255 -");
    row("255.255.255.0-255", "255.255.255.0 255.255.255.255 -");
}

void AddressRangeTest::rangesAreRead()
{
    QFETCH(QString, text);
    QFETCH(QString, range);
    const AddressRange read = rangeFromText(text);
    QCOMPARE(QStringList({ipv4Text(read.first), ipv4Text(read.last),
                          read.netmask ? ipv4Text(*read.netmask) : QStringLiteral("-")})
                 .join(QLatin1Char(' ')),
             range);
}

void AddressRangeTest::mistakesAreToldByTheirPlace_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("mistake");
    const auto row = [](const char *text, const char *mistake) { QTest::newRow(text) << text << mistake; };
    row("", "the range '', character 1: '' is no IPv4 address");
    row("192.168.10-59", "the range '192.168.10-59', character 1: '192.168.10' is no IPv4 address");
    row("192.168.10.20", "character 14: '-' and the last address are missing");
    row("192.168.10.20/24", "character 14: '-' and the last address are missing");
    row("192.168.10.20-", "character 15: '' is neither an IPv4 address nor a number");
    row("192.168.10.20-256", "character 15: '256' is neither an IPv4 address nor a number");
    row("192.168.10.20-059", "character 15: '059' is neither");
    row("192.168.10.20 - 59", "character 1: '192.168.10.20 ' is no IPv4 address");
    row("192.168.10.20-10.59", "character 15: '10.59' is neither");
    row("192.168.10.20-19", "character 15: the range ends before it begins");
    row("10.0.0.1-10.0.16.1", "character 10: the range has 4097 addresses, and 4096 is the most");
    row("0.0.0.0-255.255.255.255", "character 9: the range has 4294967296 addresses");
    row("192.168.10.20-59/33", "character 18: '33' is no netmask");
    row("192.168.10.20-59//24", "character 18: '/24' is no netmask");
    row("192.168.10.20-59/", "character 18: '' is no netmask");
}

void AddressRangeTest::mistakesAreToldByTheirPlace()
{
    QFETCH(QString, text);
    QFETCH(QString, mistake);
    try {
        rangeFromText(text);
        QFAIL("it was read");
    } catch (const ToolError &error) {
        QCOMPARE(error.kind, ToolError::BadInput);
        QVERIFY2(error.message.contains(mistake), qPrintable(error.message));
    }
}

QTEST_APPLESS_MAIN(AddressRangeTest)
#include "addressrangetest.moc"
