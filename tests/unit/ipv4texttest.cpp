#include "ipv4text.h"

#include <QtTest/QtTest>

class Ipv4TextTest : public QObject
{
    Q_OBJECT
private slots:
    void textIsReadAsNumberOrRefusedAsZero_data();
    void textIsReadAsNumberOrRefusedAsZero();
    void numberIsWrittenWithItsTopByteFirst_data();
    void numberIsWrittenWithItsTopByteFirst();
};

void Ipv4TextTest::textIsReadAsNumberOrRefusedAsZero_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<quint32>("number");
    const auto row = [](const char *text, quint32 number) {
        QTest::newRow(*text ? text : "empty") << QString::fromLatin1(text) << number;
    };
    row("192.168.0.1", 0xC0A80001u);
    row("255.255.255.255", 0xFFFFFFFFu);
    row("0.0.0.0", 0);
    row("1.2.3.4", 0x01020304u);
    // Leading zeros do not make a part octal.
    row("010.1.1.1", 0x0A010101u);
    row("1.2.3.08", 0x01020308u);
    row("192.168.000.001", 0xC0A80001u);
    // Blanks are allowed around the address, not inside.
    row(" 1.2.3.4 ", 0x01020304u);
    row("\t1.2.3.4\n", 0x01020304u);
    row("1. 2.3.4", 0);
    row("1.2 .3.4", 0);
    // Four parts, no fewer and no more.
    row("1.2.3", 0);
    row("1.2", 0);
    row("1", 0);
    row("4294967295", 0);
    row("1.2.3.4.5", 0);
    row("1.2.3.4.", 0);
    row("1.2.3.", 0);
    row(".1.2.3", 0);
    row("1..2.3", 0);
    row("...", 0);
    row("", 0);
    row("   ", 0);
    // Each part from 0 to 255, digits alone.
    row("1.2.3.256", 0);
    row("256.2.3.4", 0);
    row("1.2.3.4294967297", 0);
    row("1.2.3.99999999999999999999", 0);
    row("0x1.2.3.4", 0);
    row("1.2.3.a", 0);
    row("-1.2.3.4", 0);
    row("+1.2.3.4", 0);
    row("1.2.3.4/24", 0);
    row("eth0", 0);
    row("::1", 0);
    row("::ffff:1.2.3.4", 0);
    QTest::newRow("digits without end") << QString(100000, QLatin1Char('9')) << quint32(0);
    QTest::newRow("parts without end") << QStringLiteral("1.").repeated(100000) << quint32(0);
    QTest::newRow("digits of another script")
        << QString::fromUtf8("\u0661.\u0662.\u0663.\u0664") << quint32(0);
}

void Ipv4TextTest::textIsReadAsNumberOrRefusedAsZero()
{
    QFETCH(QString, text);
    QTEST(ipv4FromText(text), "number");
}

void Ipv4TextTest::numberIsWrittenWithItsTopByteFirst_data()
{
    QTest::addColumn<quint32>("number");
    QTest::addColumn<QString>("text");
    QTest::newRow("usual") << 0xC0A80001u << QStringLiteral("192.168.0.1");
    QTest::newRow("zero") << 0u << QStringLiteral("0.0.0.0");
    QTest::newRow("all ones") << 0xFFFFFFFFu << QStringLiteral("255.255.255.255");
    QTest::newRow("ascending") << 0x01020304u << QStringLiteral("1.2.3.4");
}

void Ipv4TextTest::numberIsWrittenWithItsTopByteFirst()
{
    QFETCH(quint32, number);
    QTEST(ipv4ToText(number), "text");
}

QTEST_GUILESS_MAIN(Ipv4TextTest)

#include "ipv4texttest.moc"
