#include "networkinterfaceconfig.h"

#include "support/recordreading.h"

#include <QtTest/QtTest>

#include <variant>

namespace
{

// Every field has a value that no other field has and that is not its initial one.
NetworkInterfaceConfig fullRecord()
{
    NetworkInterfaceConfig record;
    record.name = latin1("eth0");
    record.label = latin1("Plant network");
    record.readonly = false;
    record.dhcp = true;
    record.metric = 10;
    record.actualMetric = 20;
    record.netmask = latin1("255.255.255.0");
    record.actualNetmask = latin1("255.255.0.0");
    record.macAddress = latin1("00:1a:2B:3c:4d:5e");
    record.ipAddress = latin1("192.168.0.1");
    record.actualIpAddress = latin1("10.0.0.1");
    record.gatewayIp = latin1("192.168.0.254");
    record.actualGatewayIp = latin1("10.0.0.254");
    record.isVirtual = false;
    record.hidden = false;
    record.configured = true;
    return record;
}

const char FullText[] = "{\n"
                        "\t\"name\" : \"eth0\",\n"
                        "\t\"label\" : \"Plant network\",\n"
                        "\t\"mac_address\" : \"00:1a:2B:3c:4d:5e\",\n"
                        "\t\"ip_address\" : \"192.168.0.1\",\n"
                        "\t\"netmask\" : \"255.255.255.0\",\n"
                        "\t\"gateway_ip\" : \"192.168.0.254\",\n"
                        "\t\"metric\" : 10,\n"
                        "\t\"dhcp\" : true,\n"
                        "\t\"configured\" : true,\n"
                        "\t\"readonly\" : false,\n"
                        "\t\"virtual\" : false,\n"
                        "\t\"hidden\" : false,\n"
                        "\t\"actual_netmask\" : \"255.255.0.0\",\n"
                        "\t\"actual_ip_address\" : \"10.0.0.1\",\n"
                        "\t\"actual_gateway_ip\" : \"10.0.0.254\",\n"
                        "\t\"actual_metric\" : 20\n"
                        "}";

const char InitialTextWithName[] = "{\n"
                                   "\t\"name\" : \"%1\",\n"
                                   "\t\"dhcp\" : false,\n"
                                   "\t\"configured\" : false,\n"
                                   "\t\"readonly\" : true,\n"
                                   "\t\"virtual\" : true,\n"
                                   "\t\"hidden\" : true\n"
                                   "}";

// All fields in one line, so that records are compared as a whole.
QString fieldsOf(const NetworkInterfaceConfig &record)
{
    const QStringList texts = {record.name,          record.label,           record.netmask,
                               record.actualNetmask, record.macAddress,      record.ipAddress,
                               record.gatewayIp,     record.actualIpAddress, record.actualGatewayIp};
    return texts.join(QLatin1Char('|')) + QStringLiteral("|metric %1 %2|flags %3%4%5%6%7")
                                              .arg(record.metric)
                                              .arg(record.actualMetric)
                                              .arg(record.readonly)
                                              .arg(record.dhcp)
                                              .arg(record.isVirtual)
                                              .arg(record.hidden)
                                              .arg(record.configured);
}

using Record = NetworkInterfaceConfig;

template <class Value>
using Field = Value Record::*;

// Reading takes the keys in this order, whatever their order in the text.
const struct {
    const char *key;
    std::variant<Field<QString>, Field<qint32>, Field<bool>> field;
} ReadingOrder[] = {{"name", &Record::name},
                    {"label", &Record::label},
                    {"ip_address", &Record::ipAddress},
                    {"actual_ip_address", &Record::actualIpAddress},
                    {"netmask", &Record::netmask},
                    {"actual_netmask", &Record::actualNetmask},
                    {"gateway_ip", &Record::gatewayIp},
                    {"actual_gateway_ip", &Record::actualGatewayIp},
                    {"metric", &Record::metric},
                    {"actual_metric", &Record::actualMetric},
                    {"dhcp", &Record::dhcp},
                    {"readonly", &Record::readonly},
                    {"virtual", &Record::isVirtual},
                    {"hidden", &Record::hidden},
                    {"configured", &Record::configured},
                    {"mac_address", &Record::macAddress}};

} // namespace

class NetworkInterfaceConfigTest : public QObject
{
    Q_OBJECT
private slots:
    void newRecordHasInitialValues();
    void fullRecordIsWrittenInOrder();
    void emptyTextsAndZeroMetricsAreLeftOut();
    void eachTextIsLeftOutAlone_data();
    void eachTextIsLeftOutAlone();
    void fullTextFillsEveryField();
    void absentKeysLeaveFieldsAsTheyWere();
    void unknownKeysAreIgnoredAndLost();
    void textsAreKeptAsTheyAre();
    void metricsAreWholeNumbers();

    void recordWithoutNameIsRefused_data();
    void recordWithoutNameIsRefused();

    void mistypedKeyIsABadCastAfterTheFieldsBeforeIt_data();
    void mistypedKeyIsABadCastAfterTheFieldsBeforeIt();
};

void NetworkInterfaceConfigTest::newRecordHasInitialValues()
{
    // Read-only, virtual and hidden.
    QCOMPARE(fieldsOf(NetworkInterfaceConfig()), latin1("|||||||||metric 0 0|flags 10110"));
}

void NetworkInterfaceConfigTest::fullRecordIsWrittenInOrder()
{
    QCOMPARE(fullRecord().toJsonString(), latin1(FullText));
}

void NetworkInterfaceConfigTest::emptyTextsAndZeroMetricsAreLeftOut()
{
    QCOMPARE(NetworkInterfaceConfig().toJsonString(), latin1(InitialTextWithName).arg(QString()));
}

void NetworkInterfaceConfigTest::eachTextIsLeftOutAlone_data()
{
    QTest::addColumn<QString>("line");
    for (const char *line :
         {"\t\"label\" : \"Plant network\",\n", "\t\"mac_address\" : \"00:1a:2B:3c:4d:5e\",\n",
          "\t\"ip_address\" : \"192.168.0.1\",\n", "\t\"netmask\" : \"255.255.255.0\",\n",
          "\t\"gateway_ip\" : \"192.168.0.254\",\n", "\t\"metric\" : 10,\n",
          "\t\"actual_netmask\" : \"255.255.0.0\",\n", "\t\"actual_ip_address\" : \"10.0.0.1\",\n",
          "\t\"actual_gateway_ip\" : \"10.0.0.254\",\n"})
        QTest::newRow(line) << latin1(line);
}

void NetworkInterfaceConfigTest::eachTextIsLeftOutAlone()
{
    QFETCH(QString, line);
    QString text = latin1(FullText);
    QVERIFY(text.contains(line));
    text.remove(line);
    NetworkInterfaceConfig record;
    QVERIFY(record.fromJsonString(text));
    QCOMPARE(record.toJsonString(), text);
}

void NetworkInterfaceConfigTest::fullTextFillsEveryField()
{
    NetworkInterfaceConfig record;
    const RecordReading reading = readText(record, FullText);
    QCOMPARE(reading.warnings, QStringList());
    QCOMPARE(reading.result, latin1("true"));
    QCOMPARE(fieldsOf(record), fieldsOf(fullRecord()));
}

void NetworkInterfaceConfigTest::absentKeysLeaveFieldsAsTheyWere()
{
    NetworkInterfaceConfig record = fullRecord();
    QVERIFY(record.fromJsonString(latin1(R"({"name":"eth1"})")));
    NetworkInterfaceConfig expected = fullRecord();
    expected.name = latin1("eth1");
    QCOMPARE(fieldsOf(record), fieldsOf(expected));
}

void NetworkInterfaceConfigTest::unknownKeysAreIgnoredAndLost()
{
    NetworkInterfaceConfig record;
    QVERIFY(record.fromJsonString(latin1(R"({"zone":[1,{}],"name":"eth0","Label":5,"mtu":null})")));
    QCOMPARE(record.toJsonString(), latin1(InitialTextWithName).arg(latin1("eth0")));
}

void NetworkInterfaceConfigTest::textsAreKeptAsTheyAre()
{
    NetworkInterfaceConfig record;
    QVERIFY(record.fromJsonString(latin1("{\"name\":\" e \",\"label\":\"a\\n\\\"b\\\"\",\"ip_address\":\"no "
                                         R"(address","netmask":"010.1"})")));
    QCOMPARE(record.name, latin1(" e "));
    QCOMPARE(record.label, latin1("a\n\"b\""));
    QCOMPARE(record.ipAddress, latin1("no address"));
    QCOMPARE(record.netmask, latin1("010.1"));
}

void NetworkInterfaceConfigTest::metricsAreWholeNumbers()
{
    NetworkInterfaceConfig record;
    QVERIFY(record.fromJsonString(latin1(R"({"name":"eth0","metric":3.9,"actual_metric":-1e300})")));
    QCOMPARE(record.metric, 3);
    QCOMPARE(record.actualMetric, -2147483647 - 1);
}

void NetworkInterfaceConfigTest::recordWithoutNameIsRefused_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("warning");
    const QString missing = latin1("Cannot find interface name in json");
    QTest::newRow("empty object") << latin1("{}") << missing;
    QTest::newRow("other keys") << latin1(R"({"label":"x","metric":"mistyped"})") << missing;
    QTest::newRow("case matters") << latin1(R"({"Name":"x"})") << missing;
    QTest::newRow("empty name") << latin1(R"({"label":"x","name":""})")
                                << latin1("Empty interface name in json");
}

// Only the reading of an object returns whether the record was refused.
void NetworkInterfaceConfigTest::recordWithoutNameIsRefused()
{
    QFETCH(QString, text);
    QFETCH(QString, warning);
    NetworkInterfaceConfig record = fullRecord();
    for (const bool ofText : {true, false}) {
        const RecordReading reading = ofText ? readText(record, text) : readObject(record, toObject(text));
        QCOMPARE(reading.warnings, QStringList(warning));
        QCOMPARE(reading.result, latin1(ofText ? "true" : "false"));
        QCOMPARE(fieldsOf(record), fieldsOf(fullRecord()));
    }
}

void NetworkInterfaceConfigTest::mistypedKeyIsABadCastAfterTheFieldsBeforeIt_data()
{
    QTest::addColumn<QString>("key");
    for (const auto &entry : ReadingOrder)
        QTest::newRow(entry.key) << latin1(entry.key);
}

// The text of the full record with one value replaced.
void NetworkInterfaceConfigTest::mistypedKeyIsABadCastAfterTheFieldsBeforeIt()
{
    QFETCH(QString, key);
    QString text = latin1(FullText);
    const QRegularExpression member(latin1("\t\"%1\" : [^\n]*?(,?)\n").arg(key));
    text.replace(member, latin1("\t\"%1\" : null\\1\n").arg(key));
    QVERIFY(text != latin1(FullText));

    const NetworkInterfaceConfig full = fullRecord();
    NetworkInterfaceConfig expected;
    for (const auto *entry = ReadingOrder; key != latin1(entry->key); ++entry)
        std::visit([&](auto field) { expected.*field = full.*field; }, entry->field);

    NetworkInterfaceConfig record;
    const RecordReading reading = readText(record, text);
    QCOMPARE(reading.result, latin1("Bad cast"));
    QCOMPARE(reading.warnings, QStringList());
    QCOMPARE(fieldsOf(record), fieldsOf(expected));
}

QTEST_GUILESS_MAIN(NetworkInterfaceConfigTest)

#include "networkinterfaceconfigtest.moc"
