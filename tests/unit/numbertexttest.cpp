#include "numbertext.h"

#include <QtTest/QtTest>

class NumberTextTest : public QObject
{
    Q_OBJECT
private slots:
    void textIsNumber_data();
    void textIsNumber();
    void textIsNoNumber_data();
    void textIsNoNumber();
};

void NumberTextTest::textIsNumber_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("base");
    QTest::addColumn<int>("number");
    const auto row = [](const char *text, int base, int number) {
        QTest::addRow("%s in base %d", text, base) << QString::fromLatin1(text) << base << number;
    };
    row("0", 10, 0);
    row("501", 10, 501);
    row("0501", 10, 501);
    row("00000000000000000000000000000007", 10, 7);
    row("+5", 10, 5);
    row("-5", 10, -5);
    row("-0", 10, 0);
    row("2147483647", 10, 2147483647);
    row("-2147483648", 10, -2147483647 - 1);
    row(" 1", 10, 1);
    row("1 ", 10, 1);
    row(" \t\n\v\f\r1\r\f\v\n\t ", 10, 1);
    row("\xA0"
        "1",
        10, 1);
    row("1\xA0", 10, 1);
    row("\x85\xA0-7\xA0\x85", 10, -7);
    row("1a", 16, 26);
    row("1A", 16, 26);
    row("0x1a", 16, 26);
    row("0X1A", 16, 26);
    row("-0x1a", 16, -26);
    row("+0xff", 16, 255);
    row("7fffffff", 16, 2147483647);
    row("-80000000", 16, -2147483647 - 1);
    row("0", 16, 0);
    QTest::newRow("white space outside Latin-1")
        << QString(QChar(0x2003)) + QLatin1Char('1') + QChar(0x3000) << 10 << 1;
}

void NumberTextTest::textIsNumber()
{
    QFETCH(QString, text);
    QFETCH(int, base);
    bool isNumber = false;
    QTEST(numberFromText(text, base, &isNumber), "number");
    QVERIFY(isNumber);
}

void NumberTextTest::textIsNoNumber_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("base");
    const auto row = [](const char *text, int base) {
        QTest::addRow("%s in base %d", text, base) << QString::fromLatin1(text) << base;
    };
    row("", 10);
    row(" ", 10);
    row("\xA0", 10);
    row("+", 10);
    row("-", 10);
    row("--5", 10);
    row("+-5", 10);
    row("- 5", 10);
    row("1 2", 10);
    row("1\xA0"
        "2",
        10);
    row("5-", 10);
    row("1.0", 10);
    row("1,000", 10);
    row("1e3", 10);
    row("0x1a", 10);
    row("1a", 10);
    row("2147483648", 10);
    row("-2147483649", 10);
    row("99999999999999999999999999999", 10);
    row("80000000", 16);
    row("-80000001", 16);
    row("0x", 16);
    row("x1", 16);
    row("0x-1", 16);
    row("0x 1", 16);
    row("0x0x1", 16);
    row("1g", 16);
    QTest::newRow("zero byte") << QString(QChar(0)) << 10;
    QTest::newRow("zero byte behind a digit") << QString::fromLatin1("1\0", 2) << 10;
    QTest::newRow("zero byte before a digit") << QString::fromLatin1("\0001", 2) << 16;
    QTest::newRow("zero byte between digits") << QString::fromLatin1("1\0002", 3) << 16;
    QTest::newRow("digit of another script") << QString(QChar(0x0661)) << 10;
    QTest::newRow("wide digit") << QString(QChar(0xFF11)) << 10;
}

void NumberTextTest::textIsNoNumber()
{
    QFETCH(QString, text);
    QFETCH(int, base);
    bool isNumber = true;
    QCOMPARE(numberFromText(text, base, &isNumber), 0);
    QVERIFY(!isNumber);
    QCOMPARE(numberFromText(text, base), 0);
}

QTEST_GUILESS_MAIN(NumberTextTest)

#include "numbertexttest.moc"
