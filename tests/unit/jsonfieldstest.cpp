#include "jsonfields.h"

#include "bridgeconfig.h"
#include "dnsconfig.h"
#include "networkinterfaceconfig.h"
#include "networkmanagerconfig.h"
#include "support/failingmemory.h"
#include "support/recordreading.h"

#include <QtTest/QtTest>

#include <limits>

namespace
{

const qint32 Lowest = std::numeric_limits<qint32>::min();
const qint32 Highest = std::numeric_limits<qint32>::max();

// How reading a text into a record that holds something ends.
struct Attempt {
    RecordReading reading;
    QString before; // the record as text
    QString after;
};

template <class Record>
Attempt attempt(const char *filling, const QString &text)
{
    Record record;
    readText(record, filling);
    const QString before = record.toJsonString();
    const RecordReading reading = readText(record, text);
    return {reading, before, record.toJsonString()};
}

// The text is short enough to be kept without memory of its own, so that it is the reader that runs out.
template <class Record>
RecordReading readWithoutMemory()
{
    Record record;
    MessageCatcher messages;
    const QString text = latin1(R"({"a":1})");
    const FirstAllocationFails shortage;
    const bool result = record.fromJsonString(text);
    return {latin1(!shortage.hasHappened() ? "no shortage" : result ? "true" : "false"), messages.take()};
}

// The four records, and the warnings that each has for itself.
const struct {
    const char *name;
    Attempt (*attempt)(const char *filling, const QString &text);
    RecordReading (*readWithoutMemory)();
    const char *filling;
    const char *emptyText;
    const char *parseError;
    const char *scanError;
    const char *otherError;
} Records[] = {
    {"interface", &attempt<NetworkInterfaceConfig>, &readWithoutMemory<NetworkInterfaceConfig>,
     R"({"name":"eth0","metric":7})", "Trying to parse empty network interface json!",
     "Parse error in network interface json ", "Scan error in network interface json  ",
     "Unknown network interface json error "},
    {"dns", &attempt<DnsConfig>, &readWithoutMemory<DnsConfig>,
     R"({"servers":[{"ip":"1.1.1.1"}],"search":[{"name":"a"}]})", "Trying to parse dns json!",
     "Parse error in dns json ", "Scan error in dns json  ", "Unknown network interface json error "},
    {"bridge", &attempt<BridgeConfig>, &readWithoutMemory<BridgeConfig>,
     R"({"enabled":true,"interfaces":["eth1"],"list":[{"name":"br0","interfaces":[]}]})",
     "Trying to parse empty bridge json!", "Parse error in bridge service json ",
     "Scan error in bridge service json  ", "Unknown bridge service json error "},
    {"document", &attempt<NetworkManagerConfig>, &readWithoutMemory<NetworkManagerConfig>,
     R"({"version":3,"hostname":"panel","interfaces":[{"name":"eth0"}]})",
     "Trying to parse empty network configuration json!", "Parse error in network manager json ",
     "Scan error in network manager json  ", "Unknown network manager json error "},
};

} // namespace

class JsonFieldsTest : public QObject
{
    Q_OBJECT
private slots:
    void textsAreLatin1_data();
    void textsAreLatin1();
    void charactersOutsideLatin1BecomeQuestionMarks();
    void objectIsWrittenWithItsFieldsInOrder();

    void fieldsAreRead();
    void absentKeysLeaveTheFieldsAlone();
    void numberBecomesInteger_data();
    void numberBecomesInteger();
    void valueOfAnotherTypeIsABadCast_data();
    void valueOfAnotherTypeIsABadCast();

    void unreadableTextIsWarnedOf_data();
    void unreadableTextIsWarnedOf();
    void readerWithoutMemoryIsWarnedOf_data();
    void readerWithoutMemoryIsWarnedOf();
};

void JsonFieldsTest::textsAreLatin1_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("empty") << QString() << QByteArray();
    QTest::newRow("all of Latin-1") << latin1("caf\xE9 \xA0\xFF\"\\\n")
                                    << QByteArray("caf\xE9 \xA0\xFF\"\\\n");
    QTest::newRow("zero byte") << QString::fromLatin1("a\0b", 3) << QByteArray("a\0b", 3);
}

void JsonFieldsTest::textsAreLatin1()
{
    QFETCH(QString, text);
    QFETCH(QByteArray, bytes);
    QCOMPARE(QByteArray::fromStdString(toJsonText(text)), bytes);
    QCOMPARE(fromJsonText(bytes.toStdString()), text);
}

void JsonFieldsTest::charactersOutsideLatin1BecomeQuestionMarks()
{
    QCOMPARE(toJsonText(QString::fromUtf8("eth\u20AC\u0416")), std::string("eth??"));
}

void JsonFieldsTest::objectIsWrittenWithItsFieldsInOrder()
{
    json::Object object;
    addText(object, "text", latin1("\xE9"));
    addFlag(object, "flag", true);
    addInteger(object, "lowest", Lowest);
    addInteger(object, "highest", Highest);
    addTexts(object, "texts", lines({"b", "a"}));
    addTexts(object, "none", {});
    QCOMPARE(writeJsonObject(object),
             latin1("{\n\t\"text\" : \"\xE9\",\n\t\"flag\" : true,\n"
                    "\t\"lowest\" : -2147483648,\n\t\"highest\" : 2147483647,\n"
                    "\t\"texts\" : [\n\t\t\"b\",\n\t\t\"a\"\n\t],\n\t\"none\" : []\n}"));
}

void JsonFieldsTest::fieldsAreRead()
{
    const json::Object object =
        toObject(latin1("{\"text\":\" \xE9 \",\"flag\":true,\"texts\":[\"b\",\"\"]}"));
    QString text;
    bool flag = false;
    QStringList texts(latin1("before"));
    readText(object, "text", text);
    readFlag(object, "flag", flag);
    readTexts(object, "texts", texts);
    QCOMPARE(text, latin1(" \xE9 "));
    QCOMPARE(flag, true);
    QCOMPARE(texts, lines({"before", "b", ""}));
}

void JsonFieldsTest::absentKeysLeaveTheFieldsAlone()
{
    const json::Object object = toObject(latin1(R"({"Field":null})"));
    QString text = latin1("before");
    bool flag = true;
    qint32 integer = 7;
    QStringList texts(text);
    readText(object, "field", text);
    readFlag(object, "field", flag);
    readInteger(object, "field", integer);
    readTexts(object, "field", texts);
    QCOMPARE(text, latin1("before"));
    QCOMPARE(flag, true);
    QCOMPARE(integer, 7);
    QCOMPARE(texts, lines({"before"}));
}

void JsonFieldsTest::numberBecomesInteger_data()
{
    QTest::addColumn<double>("number");
    QTest::addColumn<qint32>("integer");
    const auto row = [](double number, qint32 integer) {
        QTest::addRow("%.20g", number) << number << integer;
    };
    row(7, 7);
    row(-7, -7);
    row(3.9, 3);
    row(-3.9, -3);
    row(0.9, 0);
    row(-0.5, 0);
    row(2147483647, Highest);
    row(2147483647.5, Highest);
    row(2147483648.0, Highest);
    row(4294967297.0, Highest);
    row(1e300, Highest);
    row(-2147483648.0, Lowest);
    row(-2147483649.0, Lowest);
    row(-1e300, Lowest);
    row(std::numeric_limits<double>::infinity(), Highest);
    row(std::numeric_limits<double>::quiet_NaN(), 0);
}

void JsonFieldsTest::numberBecomesInteger()
{
    QFETCH(double, number);
    json::Object object;
    object["a"] = json::Number(number);
    qint32 integer = 5;
    readInteger(object, "a", integer);
    QTEST(integer, "integer");
}

void JsonFieldsTest::valueOfAnotherTypeIsABadCast_data()
{
    QTest::addColumn<QString>("value");
    for (const char *value : {"null", "true", "5", R"("a")", "[]", R"(["a",5])", "[null]", "{}"})
        QTest::newRow(value) << latin1(value);
}

void JsonFieldsTest::valueOfAnotherTypeIsABadCast()
{
    QFETCH(QString, value);
    const json::Object object = toObject(latin1(R"({"a":%1})").arg(value));
    QString text;
    bool flag = false;
    qint32 integer = 0;
    QStringList texts;
    const auto result = [](const auto &read) {
        return readingOf([&read]() {
                   read();
                   return true;
               })
            .result;
    };
    const auto expected = [&value](const char *right) {
        return latin1(value == latin1(right) ? "true" : "Bad cast");
    };
    QCOMPARE(result([&]() { readText(object, "a", text); }), expected(R"("a")"));
    QCOMPARE(result([&]() { readFlag(object, "a", flag); }), expected("true"));
    QCOMPARE(result([&]() { readInteger(object, "a", integer); }), expected("5"));
    QCOMPARE(result([&]() { readTexts(object, "a", texts); }), expected("[]"));
}

// When a text is no JSON object, reading ends with false and a warning of the record's own, and the record is
// as it was.
void JsonFieldsTest::unreadableTextIsWarnedOf_data()
{
    QTest::addColumn<int>("record");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("warning");
    for (int i = 0; i < 4; ++i) {
        const auto &record = Records[i];
        const auto row = [i, &record](const char *name, const QString &text, const char *ours,
                                      const char *readers) {
            QTest::addRow("%s: %s", record.name, name) << i << text << latin1(ours) + latin1(readers);
        };
        row("null text", QString(), record.emptyText, "");
        row("empty text", latin1(""), record.emptyText, "");
        row("blanks alone", latin1(" \n\t"), record.parseError, "Unexpected end of token stream");
        row("an array", latin1("[1]"), record.parseError, "Unexpected token: [");
        row("open text", latin1(R"({"name)"), record.scanError, R"(Expected string: ")");
        row("Latin-1 character", latin1("\xE9"), record.scanError, "Unexpected character in stream: \xE9");
        row("message is printed as it stands",
            latin1("{\"\\u00e9\\\\\\\"\\u0001\\n\\u00ff\":1,\"\\u00e9\\\\\\\"\\u0001\\n\\u00ff\":1}"),
            record.parseError, "Duplicate object member token: \xE9\\\"\x01\n\xFF");
        row("NUL", QString(QChar(0)), record.scanError, "Unexpected character in stream: ");
        row("character outside Latin-1", QString(QChar(0x416)), record.scanError,
            "Unexpected character in stream: ?");
    }
}

void JsonFieldsTest::unreadableTextIsWarnedOf()
{
    QFETCH(int, record);
    QFETCH(QString, text);
    QFETCH(QString, warning);
    const Attempt result = Records[record].attempt(Records[record].filling, text);
    QCOMPARE(result.reading.warnings, QStringList(warning));
    QCOMPARE(result.reading.result, latin1("false"));
    QCOMPARE(result.after, result.before);
}

void JsonFieldsTest::readerWithoutMemoryIsWarnedOf_data()
{
    QTest::addColumn<int>("record");
    for (int i = 0; i < 4; ++i)
        QTest::newRow(Records[i].name) << i;
}

void JsonFieldsTest::readerWithoutMemoryIsWarnedOf()
{
    QFETCH(int, record);
    const RecordReading reading = Records[record].readWithoutMemory();
    QCOMPARE(reading.warnings, QStringList(latin1(Records[record].otherError)));
    QCOMPARE(reading.result, latin1("false"));
}

QTEST_GUILESS_MAIN(JsonFieldsTest)

#include "jsonfieldstest.moc"
