#include "dnsconfig.h"

#include "support/recordreading.h"

#include <QtTest/QtTest>

namespace
{

const char FullText[] = "{\n"
                        "\t\"servers\" : [\n"
                        "\t\t{\n"
                        "\t\t\t\"ip\" : \"192.168.10.2\"\n"
                        "\t\t},\n"
                        "\t\t{\n"
                        "\t\t\t\"ip\" : \"10.0.0.1\"\n"
                        "\t\t}\n"
                        "\t],\n"
                        "\t\"search\" : [\n"
                        "\t\t{\n"
                        "\t\t\t\"name\" : \"plant.example\"\n"
                        "\t\t},\n"
                        "\t\t{\n"
                        "\t\t\t\"name\" : \"example\"\n"
                        "\t\t}\n"
                        "\t]\n"
                        "}";

DnsConfig fullRecord()
{
    DnsConfig record;
    record.servers << latin1("192.168.10.2") << latin1("10.0.0.1");
    record.search << latin1("plant.example") << latin1("example");
    return record;
}

// "null" stands for an empty list; no test has it as a text.
QString listsOf(const DnsConfig &record)
{
    const auto list = [](const QStringList &texts) {
        return texts.isEmpty() ? latin1("null") : latin1("<") + texts.join(latin1("><")) + latin1(">");
    };
    return list(record.servers) + latin1(" ") + list(record.search);
}

} // namespace

class DnsConfigTest : public QObject
{
    Q_OBJECT
private slots:
    void newRecordIsWrittenAsTwoEmptyLists();
    void fullRecordIsWrittenInOrder();
    void textIsRead_data();
    void textIsRead();
    void wrongListIsABadCast_data();
    void wrongListIsABadCast();
    void elementsOfTheObjectStayAsTheyWere();
};

void DnsConfigTest::newRecordIsWrittenAsTwoEmptyLists()
{
    QCOMPARE(DnsConfig().toJsonString(), latin1("{\n\t\"servers\" : [],\n\t\"search\" : []\n}"));
}

void DnsConfigTest::fullRecordIsWrittenInOrder()
{
    QCOMPARE(fullRecord().toJsonString(), latin1(FullText));
}

void DnsConfigTest::textIsRead_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("lists");
    const auto row = [](const char *name, const char *text, const char *lists) {
        QTest::newRow(name) << latin1(text) << latin1(lists);
    };
    row("full", FullText, "<192.168.10.2><10.0.0.1> <plant.example><example>");
    row("empty object", "{}", "null null");
    row("empty lists", R"({"servers":[],"search":[]})", "null null");
    row("servers alone", R"({"servers":[{"ip":"a"}]})", "<a> null");
    row("search alone", R"({"search":[{"name":"a"}]})", "null <a>");
    row("search first", R"({"search":[{"name":"a"}],"servers":[{"ip":"b"}]})", "<b> <a>");
    row("unknown keys", R"({"Servers":5,"servers":[{"port":53,"ip":"a"}],"x":null})", "<a> null");
    row("twice the same", R"({"servers":[{"ip":"a"},{"ip":"a"}]})", "<a><a> null");
    row("texts as they are", "{\"servers\":[{\"ip\":\" 1.2.3 \"}],\"search\":[{\"name\":\"caf\xE9\"}]}",
        "< 1.2.3 > <caf\xE9>");
    // An element that is no object, and a member that is missing or no text.
    row("server elements converted",
        R"({"servers":["a",5,true,null,[{"ip":"b"}],{},{"name":"c"},{"ip":"d"}]})", "<><><><><><><><d> null");
    row("server members converted",
        R"({"servers":[{"ip":5},{"ip":true},{"ip":null},{"ip":["a"]},{"ip":{}},{"ip":""}]})",
        "<><><><><><> null");
    row("search elements converted",
        R"({"search":["a",5,true,null,[{"name":"b"}],{},{"ip":"c"},{"name":"d"}]})",
        "null <><><><><><><><d>");
    row("search members converted", R"({"search":[{"name":5},{"name":true},{"name":{"name":"a"}}]})",
        "null <><><>");
}

void DnsConfigTest::textIsRead()
{
    QFETCH(QString, text);
    QFETCH(QString, lists);
    // The record's earlier content is replaced.
    for (DnsConfig record : {DnsConfig(), fullRecord()}) {
        const RecordReading reading = readText(record, text);
        QCOMPARE(reading.warnings, QStringList());
        QCOMPARE(reading.result, latin1("true"));
        QCOMPARE(listsOf(record), lists);
    }
}

void DnsConfigTest::wrongListIsABadCast_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("lists");
    QTest::newRow("servers") << latin1(R"({"search":[{"name":"a"}],"servers":{}})") << latin1("null null");
    QTest::newRow("search") << latin1(R"({"search":"a","servers":[{"ip":"a"}]})") << latin1("<a> null");
}

void DnsConfigTest::wrongListIsABadCast()
{
    QFETCH(QString, text);
    QFETCH(QString, lists);
    DnsConfig record = fullRecord();
    const RecordReading reading = readText(record, text);
    QCOMPARE(reading.warnings, QStringList());
    QCOMPARE(reading.result, latin1("Bad cast"));
    QCOMPARE(listsOf(record), lists);
}

void DnsConfigTest::elementsOfTheObjectStayAsTheyWere()
{
    json::Object object;
    json::Array servers;
    servers.Insert(json::Number(5));
    object["servers"] = servers;
    const json::Object before = object;
    DnsConfig record;
    QVERIFY(record.fromJson(object));
    QCOMPARE(listsOf(record), latin1("<> null"));
    QVERIFY(object == before);
}

QTEST_GUILESS_MAIN(DnsConfigTest)

#include "dnsconfigtest.moc"
