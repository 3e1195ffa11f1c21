// What the four records of the network manager's document share in reading a text: when it is no JSON object,
// reading ends with false and a warning of the record's own, and the record is as it was.

#include "bridgeconfig.h"
#include "dnsconfig.h"
#include "networkinterfaceconfig.h"
#include "networkmanagerconfig.h"

#include "support/failingmemory.h"
#include "support/recordreading.h"

#include <QtTest>

namespace
{

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
    const QString text = latin1("{\"a\":1}");
    const FirstAllocationFails shortage;
    const bool result = record.fromJsonString(text);
    return {latin1(!shortage.hasHappened() ? "no shortage" : result ? "true" : "false"), messages.take()};
}

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
     "{\"name\":\"eth0\",\"metric\":7}", "Trying to parse empty network interface json!",
     "Parse error in network interface json ", "Scan error in network interface json  ",
     "Unknown network interface json error "},
    {"dns", &attempt<DnsConfig>, &readWithoutMemory<DnsConfig>,
     "{\"servers\":[{\"ip\":\"1.1.1.1\"}],\"search\":[{\"name\":\"a\"}]}", "Trying to parse dns json!",
     "Parse error in dns json ", "Scan error in dns json  ", "Unknown network interface json error "},
    {"bridge", &attempt<BridgeConfig>, &readWithoutMemory<BridgeConfig>,
     "{\"enabled\":true,\"interfaces\":[\"eth1\"],\"list\":[{\"name\":\"br0\",\"interfaces\":[]}]}",
     "Trying to parse empty bridge json!", "Parse error in bridge service json ",
     "Scan error in bridge service json  ", "Unknown bridge service json error "},
    {"document", &attempt<NetworkManagerConfig>, &readWithoutMemory<NetworkManagerConfig>,
     "{\"version\":3,\"hostname\":\"panel\",\"interfaces\":[{\"name\":\"eth0\"}]}",
     "Trying to parse empty network configuration json!", "Parse error in network manager json ",
     "Scan error in network manager json  ", "Unknown network manager json error "},
};

const char LastWordsOfParser[] = "Unexpected end of token stream";

} // namespace

class RecordTextsTest : public QObject
{
    Q_OBJECT
private slots:
    void unreadableTextIsWarnedOf_data();
    void unreadableTextIsWarnedOf();
    void readerWithoutMemoryIsWarnedOf_data();
    void readerWithoutMemoryIsWarnedOf();
};

void RecordTextsTest::unreadableTextIsWarnedOf_data()
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
        row("blanks alone", latin1(" \n\t"), record.parseError, LastWordsOfParser);
        row("end too early", latin1("{\"name\":"), record.parseError, LastWordsOfParser);
        row("an array", latin1("[1]"), record.parseError, "Unexpected token: [");
        row("null", latin1("null"), record.parseError, "Unexpected token: null");
        row("two documents", latin1("{} {}"), record.parseError, "Expected End of token stream; found {");
        row("a key twice", latin1("{\"version\":1,\"version\":1}"), record.parseError,
            "Duplicate object member token: version");
        row("a number gone wrong", latin1("{\"version\":1.2.3}"), record.parseError,
            "Unexpected character in NUMBER token: .");
        row("nested without end", QString(100000, QLatin1Char('[')).prepend(latin1("{\"servers\":")),
            record.parseError, "Nesting too deep");
        row("open text", latin1("{\"name"), record.scanError, "Expected string: \"");
        row("bad literal", latin1("{\"enabled\":tru}"), record.scanError, "Expected string: true");
        row("bad character", latin1("{'name':1}"), record.scanError, "Unexpected character in stream: '");
        row("unknown escape", latin1("{\"name\":\"\\x41\"}"), record.scanError,
            "Unrecognized escape sequence found in string: \\x");
        row("Latin-1 character", latin1("\xE9"), record.scanError, "Unexpected character in stream: \xE9");
        row("message is printed as it stands",
            latin1("{\"\\u00e9\\\\\\\"\\u0001\\n\\u00ff\":1,\"\\u00e9\\\\\\\"\\u0001\\n\\u00ff\":1}"),
            record.parseError, "Duplicate object member token: \xE9\\\"\x01\n\xFF");
        row("NUL", QString(QChar(0)), record.scanError, "Unexpected character in stream: ");
        row("character outside Latin-1", QString(QChar(0x416)), record.scanError,
            "Unexpected character in stream: ?");
    }
}

void RecordTextsTest::unreadableTextIsWarnedOf()
{
    QFETCH(int, record);
    QFETCH(QString, text);
    QFETCH(QString, warning);
    const Attempt result = Records[record].attempt(Records[record].filling, text);
    QCOMPARE(result.reading.warnings, QStringList(warning));
    QCOMPARE(result.reading.result, latin1("false"));
    QCOMPARE(result.after, result.before);
}

void RecordTextsTest::readerWithoutMemoryIsWarnedOf_data()
{
    QTest::addColumn<int>("record");
    for (int i = 0; i < 4; ++i)
        QTest::newRow(Records[i].name) << i;
}

void RecordTextsTest::readerWithoutMemoryIsWarnedOf()
{
    QFETCH(int, record);
    const RecordReading reading = Records[record].readWithoutMemory();
    QCOMPARE(reading.warnings, QStringList(latin1(Records[record].otherError)));
    QCOMPARE(reading.result, latin1("false"));
}

QTEST_GUILESS_MAIN(RecordTextsTest)

#include "recordtextstest.moc"
