#include "networkinterfaceconfig.h"

#include "support/recordreading.h"

#include <QtTest>

#include <limits>
#include <variant>

namespace
{

// Every field with a value of its own that is not its initial one.
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

template <class Value>
using Field = Value NetworkInterfaceConfig::*;

// Copies the fields that reading stores before it comes to the key. Reading goes through the keys in this
// order, whatever their order in the text.
void storeFieldsBefore(const QString &key, const NetworkInterfaceConfig &from, NetworkInterfaceConfig &to)
{
    using Record = NetworkInterfaceConfig;
    const struct {
        const char *key;
        std::variant<Field<QString>, Field<qint32>, Field<bool>> field;
    } order[] = {{"name", &Record::name},
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
    for (const auto &entry : order) {
        if (key == latin1(entry.key))
            return;
        std::visit([&from, &to](auto field) { to.*field = from.*field; }, entry.field);
    }
}

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
    void latin1TextGoesThroughUnchanged();
    void zeroByteIsPartOfAText();
    void charactersOutsideLatin1BecomeQuestionMarks();

    void numberBecomesInteger_data();
    void numberBecomesInteger();
    void notANumberBecomesZero();
    void extremeMetricsAreWrittenExactly();

    void textWithoutNameIsTrueWithAWarning_data();
    void textWithoutNameIsTrueWithAWarning();
    void objectWithoutNameIsRefused();
    void objectWithEmptyNameIsRefused();
    void objectWithNameIsAccepted();

    void mistypedKeyIsABadCastAfterTheFieldsBeforeIt_data();
    void mistypedKeyIsABadCastAfterTheFieldsBeforeIt();
};

void NetworkInterfaceConfigTest::newRecordHasInitialValues()
{
    const NetworkInterfaceConfig record;
    QCOMPARE(record.name, QString());
    QCOMPARE(record.label, QString());
    QCOMPARE(record.readonly, true);
    QCOMPARE(record.dhcp, false);
    QCOMPARE(record.metric, 0);
    QCOMPARE(record.actualMetric, 0);
    QCOMPARE(record.netmask, QString());
    QCOMPARE(record.actualNetmask, QString());
    QCOMPARE(record.macAddress, QString());
    QCOMPARE(record.ipAddress, QString());
    QCOMPARE(record.actualIpAddress, QString());
    QCOMPARE(record.gatewayIp, QString());
    QCOMPARE(record.actualGatewayIp, QString());
    QCOMPARE(record.isVirtual, true);
    QCOMPARE(record.hidden, true);
    QCOMPARE(record.configured, false);
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
    QVERIFY(record.fromJsonString(latin1(FullText)));
    QCOMPARE(record.name, latin1("eth0"));
    QCOMPARE(record.label, latin1("Plant network"));
    QCOMPARE(record.readonly, false);
    QCOMPARE(record.dhcp, true);
    QCOMPARE(record.metric, 10);
    QCOMPARE(record.actualMetric, 20);
    QCOMPARE(record.netmask, latin1("255.255.255.0"));
    QCOMPARE(record.actualNetmask, latin1("255.255.0.0"));
    QCOMPARE(record.macAddress, latin1("00:1a:2B:3c:4d:5e"));
    QCOMPARE(record.ipAddress, latin1("192.168.0.1"));
    QCOMPARE(record.actualIpAddress, latin1("10.0.0.1"));
    QCOMPARE(record.gatewayIp, latin1("192.168.0.254"));
    QCOMPARE(record.actualGatewayIp, latin1("10.0.0.254"));
    QCOMPARE(record.isVirtual, false);
    QCOMPARE(record.hidden, false);
    QCOMPARE(record.configured, true);
}

void NetworkInterfaceConfigTest::absentKeysLeaveFieldsAsTheyWere()
{
    NetworkInterfaceConfig record = fullRecord();
    QVERIFY(record.fromJsonString(latin1("{\"name\":\"eth1\"}")));
    NetworkInterfaceConfig expected = fullRecord();
    expected.name = latin1("eth1");
    QCOMPARE(fieldsOf(record), fieldsOf(expected));
}

void NetworkInterfaceConfigTest::unknownKeysAreIgnoredAndLost()
{
    NetworkInterfaceConfig record;
    QVERIFY(record.fromJsonString(latin1("{\"zone\":[1,{}],\"name\":\"eth0\",\"Label\":5,\"mtu\":null}")));
    QCOMPARE(record.toJsonString(), latin1(InitialTextWithName).arg(latin1("eth0")));
}

void NetworkInterfaceConfigTest::textsAreKeptAsTheyAre()
{
    NetworkInterfaceConfig record;
    QVERIFY(record.fromJsonString(latin1("{\"name\":\" e \",\"label\":\"a\\n\\\"b\\\"\",\"ip_address\":\"no "
                                         "address\",\"netmask\":\"010.1\"}")));
    QCOMPARE(record.name, latin1(" e "));
    QCOMPARE(record.label, latin1("a\n\"b\""));
    QCOMPARE(record.ipAddress, latin1("no address"));
    QCOMPARE(record.netmask, latin1("010.1"));
}

void NetworkInterfaceConfigTest::latin1TextGoesThroughUnchanged()
{
    NetworkInterfaceConfig record;
    QVERIFY(record.fromJsonString(latin1("{\"name\":\"caf\xE9 \xA0\xFF\"}")));
    QCOMPARE(record.name, latin1("caf\xE9 \xA0\xFF"));
    QCOMPARE(record.toJsonString(), latin1(InitialTextWithName).arg(latin1("caf\xE9 \xA0\xFF")));
}

void NetworkInterfaceConfigTest::zeroByteIsPartOfAText()
{
    NetworkInterfaceConfig record;
    QVERIFY(record.fromJsonString(latin1("{\"name\":\"a\\u0000b\"}")));
    QCOMPARE(record.name, QString(latin1("a") + QChar(0) + latin1("b")));
    QCOMPARE(record.toJsonString(), latin1(InitialTextWithName).arg(record.name));
}

void NetworkInterfaceConfigTest::charactersOutsideLatin1BecomeQuestionMarks()
{
    NetworkInterfaceConfig record;
    record.name = QString::fromUtf8("eth\u20AC");
    QCOMPARE(record.toJsonString(), latin1(InitialTextWithName).arg(latin1("eth?")));
    QVERIFY(record.fromJsonString(QString::fromUtf8("{\"name\":\"\u0416\"}")));
    QCOMPARE(record.name, latin1("?"));
}

void NetworkInterfaceConfigTest::numberBecomesInteger_data()
{
    QTest::addColumn<QString>("number");
    QTest::addColumn<qint32>("metric");
    const auto row = [](const char *number, qint32 metric) {
        QTest::newRow(number) << latin1(number) << metric;
    };
    row("7", 7);
    row("-7", -7);
    row("3.9", 3);
    row("-3.9", -3);
    row("0.5", 0);
    row("-0.5", 0);
    row("1e3", 1000);
    row("2147483647", 2147483647);
    row("2147483647.5", 2147483647);
    row("2147483648", 2147483647);
    row("4294967297", 2147483647);
    row("1e300", 2147483647);
    row("-2147483648", std::numeric_limits<qint32>::min());
    row("-2147483649", std::numeric_limits<qint32>::min());
    row("-1e300", std::numeric_limits<qint32>::min());
}

void NetworkInterfaceConfigTest::numberBecomesInteger()
{
    QFETCH(QString, number);
    QFETCH(qint32, metric);
    NetworkInterfaceConfig record;
    QVERIFY(
        record.fromJsonString(latin1("{\"name\":\"eth0\",\"metric\":%1,\"actual_metric\":%1}").arg(number)));
    QCOMPARE(record.metric, metric);
    QCOMPARE(record.actualMetric, metric);
}

void NetworkInterfaceConfigTest::notANumberBecomesZero()
{
    json::Object object;
    object["name"] = json::String("eth0");
    object["metric"] = json::Number(std::numeric_limits<double>::quiet_NaN());
    object["actual_metric"] = json::Number(std::numeric_limits<double>::infinity());
    NetworkInterfaceConfig record;
    record.metric = 5;
    QVERIFY(record.fromJson(object));
    QCOMPARE(record.metric, 0);
    QCOMPARE(record.actualMetric, 2147483647);
}

void NetworkInterfaceConfigTest::extremeMetricsAreWrittenExactly()
{
    NetworkInterfaceConfig record;
    record.metric = std::numeric_limits<qint32>::min();
    record.actualMetric = std::numeric_limits<qint32>::max();
    const QString text = record.toJsonString();
    QVERIFY2(text.contains(latin1("\t\"metric\" : -2147483648,\n")), qPrintable(text));
    QVERIFY2(text.endsWith(latin1("\t\"actual_metric\" : 2147483647\n}")), qPrintable(text));
}

void NetworkInterfaceConfigTest::textWithoutNameIsTrueWithAWarning_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("warning");
    QTest::newRow("empty object") << latin1("{}") << latin1("Cannot find interface name in json");
    QTest::newRow("other keys") << latin1("{\"label\":\"x\",\"metric\":\"mistyped\"}")
                                << latin1("Cannot find interface name in json");
    QTest::newRow("case matters") << latin1("{\"Name\":\"x\"}")
                                  << latin1("Cannot find interface name in json");
    QTest::newRow("empty name") << latin1("{\"name\":\"\",\"label\":\"x\"}")
                                << latin1("Empty interface name in json");
}

void NetworkInterfaceConfigTest::textWithoutNameIsTrueWithAWarning()
{
    QFETCH(QString, text);
    QFETCH(QString, warning);
    NetworkInterfaceConfig record = fullRecord();
    const RecordReading reading = readText(record, text);
    QCOMPARE(reading.warnings, QStringList(warning));
    QCOMPARE(reading.result, latin1("true"));
    QCOMPARE(fieldsOf(record), fieldsOf(fullRecord()));
}

void NetworkInterfaceConfigTest::objectWithoutNameIsRefused()
{
    json::Object object;
    object["label"] = json::String("x");
    NetworkInterfaceConfig record = fullRecord();
    const RecordReading reading = readObject(record, object);
    QCOMPARE(reading.warnings, QStringList(latin1("Cannot find interface name in json")));
    QCOMPARE(reading.result, latin1("false"));
    QCOMPARE(fieldsOf(record), fieldsOf(fullRecord()));
}

void NetworkInterfaceConfigTest::objectWithEmptyNameIsRefused()
{
    json::Object object;
    object["label"] = json::String("x");
    object["name"] = json::String("");
    NetworkInterfaceConfig record = fullRecord();
    const RecordReading reading = readObject(record, object);
    QCOMPARE(reading.warnings, QStringList(latin1("Empty interface name in json")));
    QCOMPARE(reading.result, latin1("false"));
    QCOMPARE(fieldsOf(record), fieldsOf(fullRecord()));
}

void NetworkInterfaceConfigTest::objectWithNameIsAccepted()
{
    NetworkInterfaceConfig record;
    const RecordReading reading = readObject(record, fullRecord().toJson());
    QCOMPARE(reading.warnings, QStringList());
    QCOMPARE(reading.result, latin1("true"));
    QCOMPARE(fieldsOf(record), fieldsOf(fullRecord()));
}

void NetworkInterfaceConfigTest::mistypedKeyIsABadCastAfterTheFieldsBeforeIt_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("value");
    const auto row = [](const char *key, const char *value) {
        QTest::addRow("%s as %s", key, value) << latin1(key) << latin1(value);
    };
    for (const char *textKey : {"name", "label", "ip_address", "actual_ip_address", "netmask",
                                "actual_netmask", "gateway_ip", "actual_gateway_ip", "mac_address"}) {
        for (const char *value : {"5", "true", "null", "[]", "{}"})
            row(textKey, value);
    }
    for (const char *numberKey : {"metric", "actual_metric"}) {
        for (const char *value : {"\"5\"", "true", "null", "[]", "{}"})
            row(numberKey, value);
    }
    for (const char *flagKey : {"dhcp", "readonly", "virtual", "hidden", "configured"}) {
        for (const char *value : {"\"true\"", "1", "null", "[]", "{}"})
            row(flagKey, value);
    }
}

// The text is that of the full record with one value replaced.
void NetworkInterfaceConfigTest::mistypedKeyIsABadCastAfterTheFieldsBeforeIt()
{
    QFETCH(QString, key);
    QFETCH(QString, value);
    QString text = latin1(FullText);
    const QRegularExpression member(latin1("\t\"%1\" : [^\n]*?(,?)\n").arg(key));
    text.replace(member, latin1("\t\"%1\" : %2\\1\n").arg(key, value));
    QVERIFY(text != latin1(FullText));

    NetworkInterfaceConfig expected;
    storeFieldsBefore(key, fullRecord(), expected);

    NetworkInterfaceConfig record;
    MessageCatcher messages;
    QByteArray error;
    try {
        record.fromJsonString(text);
    } catch (const json::Exception &exception) {
        error = exception.what();
    }
    QVERIFY2(error.startsWith("Bad cast"), error.constData());
    QCOMPARE(messages.take(), QStringList());
    QCOMPARE(fieldsOf(record), fieldsOf(expected));
}

QTEST_GUILESS_MAIN(NetworkInterfaceConfigTest)

#include "networkinterfaceconfigtest.moc"
