#include "networkmanagerconfig.h"

#include "support/recordreading.h"

#include <QtCore/QFile>
#include <QtTest/QtTest>

namespace
{

// The content of a document, without what the sections' own tests check, for example
// "7 panel; dns [a] [b]; bridge on [br0]; interfaces [eth0 eth1]"
QString asText(const NetworkManagerConfig &document)
{
    const auto list = [](const QStringList &texts) {
        return latin1("[") + texts.join(QLatin1Char(' ')) + latin1("]");
    };
    return latin1("%1 %2; dns %3 %4; bridge %5 %6; interfaces %7")
        .arg(document.version)
        .arg(document.hostname, list(document.dns.servers), list(document.dns.search),
             latin1(document.bridge.enabled ? "on" : "off"), list(document.bridge.bridges.keys()),
             list(document.interfaces.keys()));
}

const char Version1[] = R"({"version":1})";

// A whole document as it is written; the tests of the simulated platform service use it too.
QString fullText()
{
    QFile file(latin1(NETWORK_DOCUMENT));
    return file.open(QIODevice::ReadOnly) ? QString::fromLatin1(file.readAll()).trimmed() : QString();
}

const char EmptyText[] = "{\n"
                         "\t\"version\" : %1,\n"
                         "\t\"hostname\" : \"\",\n"
                         "\t\"dns\" : {\n"
                         "\t\t\"servers\" : [],\n"
                         "\t\t\"search\" : []\n"
                         "\t},\n"
                         "\t\"bridge\" : {\n"
                         "\t\t\"enabled\" : false,\n"
                         "\t\t\"interfaces\" : [],\n"
                         "\t\t\"list\" : []\n"
                         "\t},\n"
                         "\t\"interfaces\" : []\n"
                         "}";

const QString NoVersion =
    QStringLiteral("Missing required field version, abort network configuration parsing");

// An "interfaces" of the elements in a document of version 1.
QString withInterfaces(const QString &elements)
{
    return latin1(R"({"version":1,"interfaces":[%1]})").arg(elements);
}

} // namespace

class NetworkManagerConfigTest : public QObject
{
    Q_OBJECT
private slots:
    void newDocumentIsEmpty();
    void fullTextFillsEverySectionAndIsWrittenAsItIs();
    void versionAloneIsADocument();
    void interfacesAreWrittenInTheOrderOfTheirNames();

    void versionBecomesInteger();
    void documentWithoutVersionIsRefused();
    void filledDocumentIsNotReadAgain_data();
    void filledDocumentIsNotReadAgain();
    void documentOfAnyVersionBut0IsFilled();
    void documentOfVersion0IsReadAgain();

    void sectionIsRead_data();
    void sectionIsRead();
    void bridgeSectionIsReplacedAndDnsListsAreToo();

    void refusedInterfaceEndsTheReading_data();
    void refusedInterfaceEndsTheReading();
    void wrongTypeIsABadCastAfterWhatCameBefore_data();
    void wrongTypeIsABadCastAfterWhatCameBefore();
    void elementsOfTheObjectStayAsTheyWere();
};

void NetworkManagerConfigTest::newDocumentIsEmpty()
{
    const NetworkManagerConfig document;
    QCOMPARE(asText(document), latin1("0 ; dns [] []; bridge off []; interfaces []"));
    QCOMPARE(document.toJsonString(), latin1(EmptyText).arg(0));
}

void NetworkManagerConfigTest::fullTextFillsEverySectionAndIsWrittenAsItIs()
{
    NetworkManagerConfig document;
    const RecordReading reading = readText(document, fullText());
    QCOMPARE(reading.warnings, QStringList());
    QCOMPARE(reading.result, latin1("true"));
    QCOMPARE(
        asText(document),
        latin1("7 panel-12; dns [192.168.10.2] [plant.example]; bridge on [br0]; interfaces [eth0 eth1]"));
    QCOMPARE(document.toJsonString(), fullText());
}

void NetworkManagerConfigTest::versionAloneIsADocument()
{
    NetworkManagerConfig document;
    const RecordReading reading = readText(document, Version1);
    QCOMPARE(reading.warnings, QStringList());
    QCOMPARE(reading.result, latin1("true"));
    QCOMPARE(document.toJsonString(), latin1(EmptyText).arg(1));
}

void NetworkManagerConfigTest::interfacesAreWrittenInTheOrderOfTheirNames()
{
    NetworkManagerConfig document;
    for (const char *name : {"eth9", "eth10", "wlan0", "Eth1"})
        document.interfaces[latin1(name)].name = latin1(name);
    QCOMPARE(namesIn(document.toJsonString()), lines({"Eth1", "eth10", "eth9", "wlan0"}));
}

void NetworkManagerConfigTest::versionBecomesInteger()
{
    NetworkManagerConfig document;
    QCOMPARE(readText(document, R"({"version":-7.9})").warnings, QStringList());
    QCOMPARE(document.toJsonString(), latin1(EmptyText).arg(-7));
}

void NetworkManagerConfigTest::documentWithoutVersionIsRefused()
{
    const char text[] = R"({"Version":1,"hostname":"a","dns":{"servers":[{"ip":"b"}]},)"
                        R"("bridge":{"enabled":true},"interfaces":[{"name":"eth0"}]})";
    NetworkManagerConfig document;
    const RecordReading reading = readText(document, text);
    QCOMPARE(reading.warnings, QStringList(NoVersion));
    QCOMPARE(reading.result, latin1("true"));
    QCOMPARE(document.toJsonString(), latin1(EmptyText).arg(0));

    const RecordReading ofObject = readObject(document, toObject(latin1(text)));
    QCOMPARE(ofObject.warnings, QStringList(NoVersion));
    QCOMPARE(ofObject.result, latin1("false"));

    // The version is checked for a document with content too.
    readText(document, Version1);
    QCOMPARE(readText(document, "{}").warnings, QStringList(NoVersion));
}

void NetworkManagerConfigTest::filledDocumentIsNotReadAgain_data()
{
    QTest::addColumn<QString>("number");
    QTest::addColumn<QString>("warning");
    const auto row = [](const char *number, const char *warning) {
        QTest::newRow(number) << latin1(number) << latin1(warning);
    };
    // The warning has the number of the second reading, also when it is the same.
    row("7", "Unsupported network manager version  7");
    row("8", "Unsupported network manager version  8");
    row("0", "Unsupported network manager version  0");
    row("-2.9", "Unsupported network manager version  -2");
    row("1e300", "Unsupported network manager version  2147483647");
}

void NetworkManagerConfigTest::filledDocumentIsNotReadAgain()
{
    QFETCH(QString, number);
    QFETCH(QString, warning);
    NetworkManagerConfig document;
    readText(document, fullText());
    const QString text =
        latin1(R"({"version":%1,"hostname":"b","dns":{},"interfaces":[{"name":"x"}]})").arg(number);
    const RecordReading reading = readText(document, text);
    QCOMPARE(reading.warnings, QStringList(warning));
    QCOMPARE(reading.result, latin1("true"));
    QCOMPARE(document.toJsonString(), fullText());

    const RecordReading ofObject = readObject(document, toObject(text));
    QCOMPARE(ofObject.warnings, QStringList(warning));
    QCOMPARE(ofObject.result, latin1("false"));
}

void NetworkManagerConfigTest::documentOfAnyVersionBut0IsFilled()
{
    NetworkManagerConfig document;
    readText(document, R"({"version":-3})");
    RecordReading reading = readText(document, R"({"version":-3,"hostname":"a"})");
    QCOMPARE(reading.warnings, QStringList(latin1("Unsupported network manager version  -3")));
    QCOMPARE(asText(document), latin1("-3 ; dns [] []; bridge off []; interfaces []"));

    // The type of the version is checked first.
    reading = readText(document, R"({"version":"4","hostname":"a"})");
    QCOMPARE(reading.warnings, QStringList());
    QCOMPARE(reading.result, latin1("Bad cast"));
    QCOMPARE(asText(document), latin1("-3 ; dns [] []; bridge off []; interfaces []"));
}

void NetworkManagerConfigTest::documentOfVersion0IsReadAgain()
{
    NetworkManagerConfig document;
    readText(document, R"({"version":0,"hostname":"a","interfaces":[{"name":"eth0"}]})");
    RecordReading reading =
        readText(document, R"({"version":0,"hostname":"b","interfaces":[{"name":"eth1"}]})");
    QCOMPARE(reading.warnings, QStringList());
    QCOMPARE(asText(document), latin1("0 b; dns [] []; bridge off []; interfaces [eth0 eth1]"));
    reading = readText(document, R"({"version":5})");
    QCOMPARE(reading.warnings, QStringList());
    QCOMPARE(asText(document), latin1("5 b; dns [] []; bridge off []; interfaces [eth0 eth1]"));
}

void NetworkManagerConfigTest::sectionIsRead_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("document");
    const auto row = [](const char *name, const char *text, const char *document) {
        QTest::newRow(name) << latin1(text) << latin1(document);
    };
    row("hostname", R"({"version":1,"hostname":"a"})", "1 a; dns [] []; bridge off []; interfaces []");
    row("empty hostname", R"({"version":1,"hostname":""})", "1 ; dns [] []; bridge off []; interfaces []");
    row("empty sections", R"({"version":1,"dns":{},"bridge":{},"interfaces":[]})",
        "1 ; dns [] []; bridge off []; interfaces []");
    row("dns", R"({"version":1,"dns":{"search":[{"name":"a"},5]}})",
        "1 ; dns [] [a ]; bridge off []; interfaces []");
    row("bridge", R"({"version":1,"bridge":{"enabled":true,"list":[{"name":"b","interfaces":[]}]}})",
        "1 ; dns [] []; bridge on [b]; interfaces []");
    row("interfaces first", R"({"interfaces":[{"name":"b"},{"name":"a"}],"version":1})",
        "1 ; dns [] []; bridge off []; interfaces [a b]");
    row("unknown keys", R"({"version":1,"Hostname":5,"route":[{}]})",
        "1 ; dns [] []; bridge off []; interfaces []");
}

void NetworkManagerConfigTest::sectionIsRead()
{
    QFETCH(QString, text);
    QFETCH(QString, document);
    NetworkManagerConfig record;
    const RecordReading reading = readText(record, text);
    QCOMPARE(reading.warnings, QStringList());
    QCOMPARE(reading.result, latin1("true"));
    QCOMPARE(asText(record), document);
}

void NetworkManagerConfigTest::bridgeSectionIsReplacedAndDnsListsAreToo()
{
    NetworkManagerConfig document;
    document.hostname = latin1("kept");
    document.dns.servers << latin1("old");
    document.bridge.enabled = true;
    document.bridge.interfaces << latin1("old");
    document.bridge.bridges[latin1("old")].name = latin1("old");

    NetworkManagerConfig untouched = document;
    readText(untouched, Version1);
    QCOMPARE(asText(untouched), latin1("1 kept; dns [old] []; bridge on [old]; interfaces []"));

    readText(document, R"({"version":1,"dns":{},"bridge":{"interfaces":["new"]}})");
    QCOMPARE(asText(document), latin1("1 kept; dns [] []; bridge off []; interfaces []"));
    QCOMPARE(document.bridge.interfaces, QStringList(latin1("new")));
}

void NetworkManagerConfigTest::refusedInterfaceEndsTheReading_data()
{
    QTest::addColumn<QString>("elements");
    QTest::addColumn<QString>("warning");
    QTest::addColumn<QString>("interfaces");
    const auto row = [](const char *name, const char *elements, const char *warning, const char *interfaces) {
        QTest::newRow(name) << latin1(elements) << latin1(warning) << latin1(interfaces);
    };
    const char noName[] = "Cannot find interface name in json";
    row("no name", R"({"name":"a"},{"label":"x"},{"name":"b"})", noName, "a");
    row("empty name", R"({"name":"a"},{"name":""},{"name":"b"})", "Empty interface name in json", "a");
    row("twice", R"({"name":"eth0","label":"first"},{"name":"eth0"},{"name":"b"})",
        R"(Interface  "eth0"  already defined)", "eth0");
    row("the first of all", "{}", noName, "");
    row("a text", R"({"name":"a"},"b",{"name":"c"})", noName, "a");
    row("a number", R"({"name":"a"},5)", noName, "a");
    row("a flag", R"({"name":"a"},true)", noName, "a");
    row("null", R"({"name":"a"},null)", noName, "a");
    row("a list", R"({"name":"a"},[{"name":"b"}])", noName, "a");
}

void NetworkManagerConfigTest::refusedInterfaceEndsTheReading()
{
    QFETCH(QString, elements);
    QFETCH(QString, warning);
    QFETCH(QString, interfaces);
    NetworkManagerConfig document;
    const RecordReading reading = readObject(document, toObject(withInterfaces(elements)));
    QCOMPARE(reading.warnings, QStringList(warning));
    QCOMPARE(reading.result, latin1("false"));
    QCOMPARE(QStringList(document.interfaces.keys()).join(QLatin1Char(' ')), interfaces);
    if (interfaces == latin1("eth0"))
        QCOMPARE(document.interfaces.value(interfaces).label, latin1("first"));
}

void NetworkManagerConfigTest::wrongTypeIsABadCastAfterWhatCameBefore_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("document");
    const auto row = [](const char *text, const char *document) {
        QTest::newRow(text) << latin1(text) << latin1(document);
    };
    row(R"({"hostname":"a","version":null})", "0 ; dns [] []; bridge off []; interfaces []");
    row(R"({"version":1,"dns":{"servers":[{}]},"hostname":null})",
        "1 ; dns [] []; bridge off []; interfaces []");
    row(R"({"version":1,"hostname":"a","bridge":{"enabled":true},"dns":null})",
        "1 a; dns [] []; bridge off []; interfaces []");
    row(R"({"version":1,"dns":{"servers":[{"ip":"s"}],"search":null}})",
        "1 ; dns [s] []; bridge off []; interfaces []");
    row(R"({"version":1,"dns":{"servers":[{"ip":"s"}]},"bridge":null,"interfaces":[{"name":"a"}]})",
        "1 ; dns [s] []; bridge off []; interfaces []");
    // A new section replaces the old one only when it was read.
    row(R"({"version":1,"bridge":{"enabled":true,"list":null},"interfaces":[{"name":"a"}]})",
        "1 ; dns [] []; bridge off []; interfaces []");
    row(R"({"version":1,"bridge":{"enabled":true},"interfaces":null})",
        "1 ; dns [] []; bridge on []; interfaces []");
    // Only the key's presence matters: the values inside an interface are not converted.
    row(R"({"version":1,"interfaces":[{"name":"a"},{"name":"b","label":null}]})",
        "1 ; dns [] []; bridge off []; interfaces [a]");
}

void NetworkManagerConfigTest::wrongTypeIsABadCastAfterWhatCameBefore()
{
    QFETCH(QString, text);
    QFETCH(QString, document);
    NetworkManagerConfig record;
    const RecordReading reading = readText(record, text);
    QCOMPARE(reading.warnings, QStringList());
    QCOMPARE(reading.result, latin1("Bad cast"));
    QCOMPARE(asText(record), document);
}

void NetworkManagerConfigTest::elementsOfTheObjectStayAsTheyWere()
{
    const json::Object object = toObject(latin1(R"({"version":1,"interfaces":[5]})"));
    NetworkManagerConfig document;
    QCOMPARE(readObject(document, object).result, latin1("false"));
    QVERIFY(object == toObject(latin1(R"({"version":1,"interfaces":[5]})")));
}

QTEST_GUILESS_MAIN(NetworkManagerConfigTest)

#include "networkmanagerconfigtest.moc"
