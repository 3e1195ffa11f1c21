#include "json/foreignlocale.h"
#include "json/jsontext.h"

#include <QtCore/QByteArray>
#include <QtTest/QTest>

#include <cfloat>
#include <cmath>
#include <iomanip>
#include <limits>
#include <locale>
#include <string>
#include <type_traits>

using json::Array;
using json::Boolean;
using json::Null;
using json::Number;
using json::Object;
using json::String;
using json::UnknownElement;
using json::Writer;
using jsontext::written;

namespace
{

static_assert(!std::is_default_constructible<Writer>::value, "nothing to construct");

// Deliberately ambiguous between a number and a truth value: callers must name the type.
template <typename T, typename = void>
struct IsWritable : std::false_type {
};
template <typename T>
struct IsWritable<T, decltype(Writer::Write(std::declval<const T &>(), std::declval<std::ostream &>()))>
    : std::true_type {
};
static_assert(!IsWritable<double>::value, "");
static_assert(!IsWritable<int>::value, "");
static_assert(!IsWritable<std::nullptr_t>::value, "");
static_assert(IsWritable<std::string>::value, "");
static_assert(IsWritable<Object>::value, "");
static_assert(IsWritable<Null>::value, "");

// A device that accepts no output.
class FullBuffer : public std::streambuf
{
protected:
    int_type overflow(int_type) override { return traits_type::eof(); }
};

class SyncedBuffer : public std::stringbuf
{
public:
    int syncs = 0;

protected:
    int sync() override
    {
        ++syncs;
        return 0;
    }
};

} // namespace

class TestWriter : public QObject
{
    Q_OBJECT

private slots:
    void layoutIsOneItemALine();
    void scalarsStandBareAtTheTop();
    void bytesAreEscaped_data();
    void bytesAreEscaped();
    void everyByteComesBack();
    void numbersShowTheirValue_data();
    void numbersShowTheirValue();
    void numbersComeBack_data();
    void numbersComeBack();
    void textIsAString();
    void namesAreNotUnique();

    void settingsOfTheStreamStayOutAndAsTheyWere();
    void localesDoNotMatter();
    void brokenStreamIsSilent();
    void documentIsFlushed();
};

void TestWriter::layoutIsOneItemALine()
{
    Object object;
    QCOMPARE(written(object), QByteArray("{}"));
    QCOMPARE(written(Array()), QByteArray("[]"));
    object["a"] = Number(1);
    object["c"] = Array();
    object["e"] = Object();
    object["h"][1] = Boolean(true);
    object["i"]["j"][0]["k"] = String("l");
    const char *const expected = "{\n"
                                 "\t\"a\" : 1,\n"
                                 "\t\"c\" : [],\n"
                                 "\t\"e\" : {},\n"
                                 "\t\"h\" : [\n"
                                 "\t\tnull,\n"
                                 "\t\ttrue\n"
                                 "\t],\n"
                                 "\t\"i\" : {\n"
                                 "\t\t\"j\" : [\n"
                                 "\t\t\t{\n"
                                 "\t\t\t\t\"k\" : \"l\"\n"
                                 "\t\t\t}\n"
                                 "\t\t]\n"
                                 "\t}\n"
                                 "}";
    QCOMPARE(written(object), QByteArray(expected));
    QCOMPARE(written(UnknownElement(object)), QByteArray(expected));
}

void TestWriter::scalarsStandBareAtTheTop()
{
    QCOMPARE(written(Null()), QByteArray("null"));
    QCOMPARE(written(Boolean(true)), QByteArray("true"));
    QCOMPARE(written(Boolean(false)), QByteArray("false"));
    QCOMPARE(written(Number(3)), QByteArray("3"));
    QCOMPARE(written(String("x")), QByteArray("\"x\""));
    QCOMPARE(written(UnknownElement()), QByteArray("null"));
    QCOMPARE(written(UnknownElement(String("x"))), QByteArray("\"x\""));
}

void TestWriter::bytesAreEscaped_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QByteArray>("expected");
    QTest::newRow("quote and backslash") << QByteArray("\"\\") << QByteArray("\\\"\\\\");
    QTest::newRow("controls with a letter") << QByteArray("\b\f\n\r\t") << QByteArray("\\b\\f\\n\\r\\t");
    QTest::newRow("other controls") << QByteArray("\0\x01\a\v\x1b\x1f\x7f", 7)
                                    << QByteArray("\0\x01\a\v\x1b\x1f\x7f", 7);
    QTest::newRow("slash and apostrophe") << QByteArray("/'") << QByteArray("/'");
    QTest::newRow("beyond ASCII") << QByteArray("\x80\xe9\xff\xc3\xa9") << QByteArray("\x80\xe9\xff\xc3\xa9");
    QTest::newRow("between others") << QByteArray("\tab\"c\\\\d\n") << QByteArray("\\tab\\\"c\\\\\\\\d\\n");
    QTest::newRow("longer than a piece") << QByteArray(5000, 'x') + '\n' + QByteArray(5000, 'y')
                                         << QByteArray(5000, 'x') + "\\n" + QByteArray(5000, 'y');
    QTest::newRow("letter u") << QByteArray("audi u0041") << QByteArray("audi u0041");
}

void TestWriter::bytesAreEscaped()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QByteArray, expected);
    const std::string text = jsontext::toStd(bytes);
    QCOMPARE(written(String(text)), '"' + expected + '"');
    Object object;
    object[text] = Null();
    QCOMPARE(written(object), "{\n\t\"" + expected + "\" : null\n}");
}

void TestWriter::everyByteComesBack()
{
    std::string text;
    for (int first = 0; first < 256; ++first) {
        text += static_cast<char>(first);
        text += static_cast<char>(255 - first);
    }
    QVERIFY(jsontext::read<String>(jsontext::toStd(written(String(text)))).Value() == text);
}

void TestWriter::numbersShowTheirValue_data()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<QByteArray>("expected");
    const double infinity = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const struct {
        double value;
        const char *text;
    } rows[] = {
        {0, "0"},
        {-0.0, "-0"},
        {1, "1"},
        {-1, "-1"},
        {100000, "100000"},
        {0.5, "0.5"},
        {-0.5, "-0.5"},
        {0x1.fffffffffffffp-1, "0.99999999999999988898"},
        {2.5, "2.5"},
        {2147483647, "2147483647"},
        {4294967295, "4294967295"},
        {-2147483648.0, "-2147483648"},
        {999999999999999, "999999999999999"},
        {1e15, "1000000000000000"},
        {-1e16, "-10000000000000000"},
        {4503599627370495.5, "4503599627370495.5"},
        {9007199254740991, "9007199254740991"},
        {-9007199254740991, "-9007199254740991"},
        {9007199254740992, "9007199254740992"},
        {-9007199254740992, "-9007199254740992"},
        {9007199254740994, "9007199254740994"},
        {-9007199254740994, "-9007199254740994"},
        {18446744073709551616.0, "18446744073709551616"},
        {static_cast<double>(0.1F), "0.10000000149011611938"},
        {0.1, "0.10000000000000000555"},
        {5.9, "5.9000000000000003553"},
        {1.0 / 3, "0.33333333333333331483"},
        {1e-4, "0.00010000000000000000479"},
        {1e-5, "1.0000000000000000818e-05"},
        {1e19, "10000000000000000000"},
        {1e20, "1e+20"},
        {1e21, "1e+21"},
        {1e100, "1.0000000000000000159e+100"},
        {DBL_MAX, "1.7976931348623157081e+308"},
        {-DBL_MAX, "-1.7976931348623157081e+308"},
        {5e-324, "4.9406564584124654418e-324"},
        {infinity, "null"},
        {-infinity, "null"},
        {nan, "null"},
        {std::copysign(nan, -1.0), "null"},
    };
    int row = 0;
    for (const auto &it : rows)
        QTest::newRow((QByteArray::number(row++) + ' ' + it.text).constData())
            << it.value << QByteArray(it.text);
}

void TestWriter::numbersShowTheirValue()
{
    QFETCH(double, value);
    QFETCH(QByteArray, expected);
    QCOMPARE(written(Number(value)), expected);
}

void TestWriter::numbersComeBack_data()
{
    numbersShowTheirValue_data();
}

void TestWriter::numbersComeBack()
{
    QFETCH(double, value);
    QFETCH(QByteArray, expected);
    const UnknownElement again = jsontext::read<UnknownElement>(jsontext::toStd(expected));
    if (std::isfinite(value))
        QVERIFY(again == Number(value));
    else
        QVERIFY(again == Null());
}

void TestWriter::textIsAString()
{
    const char *const pointer = "y";
    QCOMPARE(written("true"), QByteArray("\"true\""));
    QCOMPARE(written(pointer), QByteArray("\"y\""));
    QCOMPARE(written(std::string("z")), QByteArray("\"z\""));
}

void TestWriter::namesAreNotUnique()
{
    // A name changed through an iterator is not checked; both members are written.
    Object object;
    object["a"] = Number(1);
    object["b"] = Number(2);
    object.Find("b")->name = "a";
    QCOMPARE(written(object), QByteArray("{\n\t\"a\" : 1,\n\t\"a\" : 2\n}"));
}

void TestWriter::settingsOfTheStreamStayOutAndAsTheyWere()
{
    std::ostringstream stream;
    stream << std::hex << std::scientific << std::showpos << std::showpoint << std::uppercase
           << std::boolalpha << std::setfill('*') << std::setprecision(3);
    stream.width(20);
    const std::ios_base::fmtflags flags = stream.flags();

    Array array;
    array.Insert(Number(1.5));
    array.Insert(Boolean(true));
    Writer::Write(array, stream);
    QCOMPARE(stream.str(), std::string("[\n\t1.5,\n\ttrue\n]"));
    QVERIFY(stream.flags() == flags);
    QCOMPARE(stream.precision(), std::streamsize(3));
    QCOMPARE(stream.width(), std::streamsize(20));
    QCOMPARE(stream.fill(), '*');
    QVERIFY(stream.good());
}

void TestWriter::localesDoNotMatter()
{
    const std::locale foreign(std::locale::classic(), new CommaForPoint);
    std::ostringstream stream;
    stream.imbue(foreign);
    const std::locale former = std::locale::global(foreign);
    Writer::Write(Number(1234567.5), stream);
    std::locale::global(former);
    QCOMPARE(stream.str(), std::string("1234567.5"));
    QVERIFY(stream.getloc() == foreign);
}

void TestWriter::brokenStreamIsSilent()
{
    Object object;
    object["a"] = Number(1);

    std::ostringstream failed;
    failed.setstate(std::ios_base::failbit);
    Writer::Write(object, failed);
    QCOMPARE(failed.str(), std::string());

    FullBuffer full;
    std::ostream stream(&full);
    Writer::Write(object, stream);
    QVERIFY(stream.bad());
}

void TestWriter::documentIsFlushed()
{
    SyncedBuffer buffer;
    std::ostream stream(&buffer);
    Writer::Write(Object(), stream);
    QCOMPARE(buffer.syncs, 1);
    QCOMPARE(buffer.str(), std::string("{}"));
}

QTEST_APPLESS_MAIN(TestWriter)
#include "tst_writer.moc"
