#include "addresses.h"

#include <QtTest/QtTest>

class AddressTest : public QObject
{
    Q_OBJECT

private slots:
    void addressesAreFourDecimalNumbers_data();
    void addressesAreFourDecimalNumbers();
    void addressesComeBackAsText();
    void netmasksAreNumbersOrPrefixes_data();
    void netmasksAreNumbersOrPrefixes();
    void addressesMayHaveAPrefix_data();
    void addressesMayHaveAPrefix();
    void netmasksWithHolesHaveNoPrefix();
    void everyPrefixLengthSurvives();
    void macAddressesAreWrittenManyWays_data();
    void macAddressesAreWrittenManyWays();
};

void AddressTest::addressesAreFourDecimalNumbers_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("isAddress");
    QTest::addColumn<quint32>("address");
    QTest::newRow("usual") << "192.168.10.5" << true << quint32(0xC0A80A05);
    QTest::newRow("zero") << "0.0.0.0" << true << quint32(0);
    QTest::newRow("highest") << "255.255.255.255" << true << quint32(0xFFFFFFFF);
    QTest::newRow("empty") << "" << false << quint32(0);
    QTest::newRow("three parts") << "192.168.10" << false << quint32(0);
    QTest::newRow("five parts") << "192.168.10.5.1" << false << quint32(0);
    QTest::newRow("one number") << "3232238085" << false << quint32(0);
    QTest::newRow("part above 255") << "192.168.10.256" << false << quint32(0);
    QTest::newRow("octal or decimal") << "192.168.010.5" << false << quint32(0);
    QTest::newRow("hexadecimal") << "0xC0.168.10.5" << false << quint32(0);
    QTest::newRow("blank") << "192.168.10.5 " << false << quint32(0);
    QTest::newRow("IPv6") << "::ffff:192.168.10.5" << false << quint32(0);
    QTest::newRow("zero character") << QString::fromLatin1("1.2.3.4\0x", 9) << false << quint32(0);
}

void AddressTest::addressesAreFourDecimalNumbers()
{
    QFETCH(QString, text);
    QFETCH(bool, isAddress);
    QFETCH(quint32, address);
    const auto result = ipv4FromText(text);
    QCOMPARE(result.has_value(), isAddress);
    QCOMPARE(result.value_or(0), address);
}

void AddressTest::addressesComeBackAsText()
{
    QCOMPARE(ipv4Text(0xC0A80A05), QStringLiteral("192.168.10.5"));
    QCOMPARE(ipv4Text(0), QStringLiteral("0.0.0.0"));
    QCOMPARE(ipv4Text(0xFFFFFFFF), QStringLiteral("255.255.255.255"));
}

void AddressTest::netmasksAreNumbersOrPrefixes_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("isNetmask");
    QTest::addColumn<quint32>("netmask");
    QTest::newRow("dotted") << "255.255.255.0" << true << quint32(0xFFFFFF00);
    QTest::newRow("with holes") << "255.0.255.0" << true << quint32(0xFF00FF00);
    QTest::newRow("length") << "24" << true << quint32(0xFFFFFF00);
    QTest::newRow("length with slash") << "/20" << true << quint32(0xFFFFF000);
    QTest::newRow("shortest") << "0" << true << quint32(0);
    QTest::newRow("longest") << "32" << true << quint32(0xFFFFFFFF);
    QTest::newRow("too long") << "33" << false << quint32(0);
    QTest::newRow("negative") << "-1" << false << quint32(0);
    QTest::newRow("slash alone") << "/" << false << quint32(0);
    QTest::newRow("dotted with slash") << "/255.255.255.0" << false << quint32(0);
    QTest::newRow("empty") << "" << false << quint32(0);
}

void AddressTest::netmasksAreNumbersOrPrefixes()
{
    QFETCH(QString, text);
    QFETCH(bool, isNetmask);
    QFETCH(quint32, netmask);
    const auto result = netmaskFromText(text);
    QCOMPARE(result.has_value(), isNetmask);
    QCOMPARE(result.value_or(0), netmask);
}

void AddressTest::addressesMayHaveAPrefix_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("result"); // with the netmask, or "-" where there is none; empty: refused
    const auto row = [](const char *text, const char *result) { QTest::newRow(text) << text << result; };
    row("192.168.10.5", "192.168.10.5 -");
    row("192.168.10.5/24", "192.168.10.5 255.255.255.0");
    row("192.168.10.5/0", "192.168.10.5 0.0.0.0");
    row("192.168.10.5/255.0.255.0", "192.168.10.5 255.0.255.0");
    for (const char *text : {"192.168.10.5/", "192.168.10.5//24", "192.168.10.5/33", "192.168.10/24", "/24",
                             "192.168.10.5 /24", "192.168.10.5/24/24", ""})
        row(text, "");
}

void AddressTest::addressesMayHaveAPrefix()
{
    QFETCH(QString, text);
    QFETCH(QString, result);
    const auto read = addressWithPrefixFromText(text);
    const auto netmask = [&read] { return read->netmask ? ipv4Text(*read->netmask) : QStringLiteral("-"); };
    QCOMPARE(read ? ipv4Text(read->address) + QLatin1Char(' ') + netmask() : QString(), result);
}

void AddressTest::netmasksWithHolesHaveNoPrefix()
{
    QVERIFY(!prefixLength(0xFF00FF00).has_value());
    QVERIFY(!prefixLength(0x00FFFFFF).has_value());
    QVERIFY(!prefixLength(1).has_value());
}

void AddressTest::everyPrefixLengthSurvives()
{
    for (int length = 0; length <= 32; ++length)
        QCOMPARE(prefixLength(netmaskOfPrefix(length)).value_or(-1), length);
    QCOMPARE(netmaskOfPrefix(25), 0xFFFFFF80u);
}

void AddressTest::macAddressesAreWrittenManyWays_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("result"); // empty: refused
    const auto row = [](const char *name, const char *text, const char *result) {
        QTest::newRow(name) << text << result;
    };
    row("colons", "02:00:5e:10:00:aF", "02:00:5e:10:00:af");
    row("dashes", "02-00-5E-10-00-AF", "02:00:5e:10:00:af");
    row("bare", "02005E1000AF", "02:00:5e:10:00:af");
    row("zero", "00:00:00:00:00:00", "00:00:00:00:00:00");
    row("mixed separators", "02:00-5e:10:00:af", "");
    row("five pairs", "02:00:5e:10:00", "");
    row("seven pairs", "02:00:5e:10:00:af:01", "");
    row("short pair", "2:00:5e:10:00:af", "");
    row("no digit", "02:00:5e:10:00:ag", "");
    row("line end", "02:00:5e:10:00:af\n", "");
    row("empty", "", "");
}

void AddressTest::macAddressesAreWrittenManyWays()
{
    QFETCH(QString, text);
    QFETCH(QString, result);
    const auto mac = macFromText(text);
    QCOMPARE(mac ? macText(*mac) : QString(), result);
}

QTEST_APPLESS_MAIN(AddressTest)
#include "addresstest.moc"
