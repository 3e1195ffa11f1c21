// The result of number tokens in the Reader.

#include "json/jsontext.h"

#include <QtCore/QByteArray>
#include <QtTest/QTest>

#include <cmath>

using json::Number;
using jsontext::outcome;
using jsontext::toStd;
using jsontext::written;

class TestReaderNumbers : public QObject
{
    Q_OBJECT

private slots:
    void numbersAreConverted_data();
    void numbersAreConverted();
    void integersAreExact_data();
    void integersAreExact();
};

void TestReaderNumbers::numbersAreConverted_data()
{
    QTest::addColumn<QByteArray>("token");
    QTest::addColumn<QByteArray>("expected");
    const char *const rows[][2] = {
        {"0", "0"},
        {"-0", "-0"},
        {"00", "0"},
        {"01", "1"},
        {"-01", "-1"},
        {"007.50", "7.5"},
        {"1.", "1"},
        {"-.5", "-0.5"},
        {"1.e3", "1000"},
        {"1e03", "1000"},
        {"1E-05", "1.0000000000000000818e-05"},
        {"-", "0"},
        {"-.", "0"},
        {"1e", "0"},
        {"1e+", "0"},
        {"1.5e", "0"},
        {"-1.5e+", "0"},
        {"1e309", "1.7976931348623157081e+308"},
        {"1e999", "1.7976931348623157081e+308"},
        {"-1e999", "-1.7976931348623157081e+308"},
        {"1e99999999999999999999", "1.7976931348623157081e+308"},
        {"1e-400", "0"},
        {"-1e-400", "-0"},
        {"1e-99999999999999999999", "0"},
        {"4.9406564584124654e-324", "4.9406564584124654418e-324"},
        {"9007199254740993", "9007199254740992"},
        {"9007199254740993.0000000000000000000001", "9007199254740994"},
        {"1.2.3", "parse: Unexpected character in NUMBER token: ."},
        {"1-2", "parse: Unexpected character in NUMBER token: -"},
        {"1+", "parse: Unexpected character in NUMBER token: +"},
        {"1e5.5", "parse: Unexpected character in NUMBER token: ."},
        {"1e5e5", "parse: Unexpected character in NUMBER token: e"},
        {"1e5E", "parse: Unexpected character in NUMBER token: E"},
        {"--1", "parse: Unexpected character in NUMBER token: \xff"},
        {"-+1", "parse: Unexpected character in NUMBER token: \xff"},
        {"-e1", "parse: Unexpected character in NUMBER token: \xff"},
        {"-.e1", "parse: Unexpected character in NUMBER token: \xff"},
        {"1ee5", "parse: Unexpected character in NUMBER token: \xff"},
        {"1e--5", "parse: Unexpected character in NUMBER token: \xff"},
    };
    for (const auto &row : rows)
        QTest::newRow(row[0]) << QByteArray(row[0]) << QByteArray(row[1]);
}

void TestReaderNumbers::numbersAreConverted()
{
    QFETCH(QByteArray, token);
    QFETCH(QByteArray, expected);
    Number number = 7;
    const QByteArray end = outcome(number, toStd(token));
    if (expected.startsWith("parse")) {
        QCOMPARE(end, expected);
        QCOMPARE(number.Value(), 7.0);
    } else {
        QCOMPARE(end, QByteArray("ok"));
        QCOMPARE(written(number), expected);
    }
}

void TestReaderNumbers::integersAreExact_data()
{
    QTest::addColumn<QByteArray>("token");
    QTest::addColumn<double>("expected");
    const struct {
        const char *token;
        double value;
    } rows[] = {
        {"0", 0.0},
        {"-0", -0.0},
        {"-000", -0.0},
        {"-0.0", -0.0},
        {"7", 7.0},
        {"000000000000007", 7.0},
        {"0000000000000007", 7.0},
        {"-0000000000000007", -7.0},
        {"-1", -1.0},
        {"1.0", 1.0},
        {"-1.", -1.0},
        {"1e3", 1000.0},
        {"10E-1", 1.0},
        {"2147483648", 2147483648.0},
        {"-2147483649", -2147483649.0},
        // fifteen, sixteen and seventeen digits
        {"123456789012345", 123456789012345.0},
        {"999999999999999", 999999999999999.0},
        {"-999999999999999", -999999999999999.0},
        {"1000000000000000", 1000000000000000.0},
        {"9999999999999999", 1e16},
        {"-9999999999999999", -1e16},
        {"12345678901234567", 12345678901234568.0},
        {"12345678901234569", 12345678901234568.0},
        // converted digit by digit these would be rounded twice, to a neighbour
        {"24558181542885634", 24558181542885632.0},
        {"3041535993042220792", 3041535993042220544.0},
        // around the largest integer up to which all are doubles
        {"9007199254740991", 9007199254740991.0},
        {"9007199254740992", 9007199254740992.0},
        {"9007199254740993", 9007199254740992.0},
        {"9007199254740994", 9007199254740994.0},
        {"-9007199254740993", -9007199254740992.0},
    };
    for (const auto &row : rows)
        QTest::newRow(row.token) << QByteArray(row.token) << row.value;
}

void TestReaderNumbers::integersAreExact()
{
    QFETCH(QByteArray, token);
    QFETCH(double, expected);
    const double value = jsontext::read<Number>(toStd(token));
    // Signs are compared too, and without the tolerance that QCOMPARE has for doubles.
    QVERIFY2(value == expected, QByteArray::number(value, 'g', 20).constData());
    QCOMPARE(std::signbit(value), std::signbit(expected));
}

QTEST_APPLESS_MAIN(TestReaderNumbers)
#include "tst_readernumbers.moc"
