#include "hwsdplatform.h"

#include "support/messagecatcher.h"
#include "support/testbuses.h"

#include <QtTest>

namespace
{

TestBuses *buses = nullptr;

QString latin1(const char *text)
{
    return QString::fromLatin1(text);
}

const char Record[] = "{\"name\":\"eth0\",\"label\":\"Plant\",\"mac_address\":\"00:1a:2B:3c:4d:5e\","
                      "\"ip_address\":\"192.168.0.1\",\"netmask\":\"255.255.255.0\","
                      "\"gateway_ip\":\"192.168.0.254\",\"metric\":10,\"dhcp\":true,\"configured\":true,"
                      "\"readonly\":false,\"virtual\":false,\"hidden\":false,"
                      "\"actual_netmask\":\"255.255.0.0\",\"actual_ip_address\":\"10.0.0.1\","
                      "\"actual_gateway_ip\":\"10.0.0.254\",\"actual_metric\":20}";

// What a service is told of that record: %1 address, %2 netmask, %3 gateway, %4 DHCP.
const char WrittenRecord[] = "{\n"
                             "\t\"name\" : \"eth0\",\n"
                             "\t\"label\" : \"Plant\",\n"
                             "\t\"mac_address\" : \"00:1a:2B:3c:4d:5e\",\n"
                             "\t\"ip_address\" : \"%1\",\n"
                             "\t\"netmask\" : \"%2\",\n"
                             "\t\"gateway_ip\" : \"%3\",\n"
                             "\t\"metric\" : 10,\n"
                             "\t\"dhcp\" : %4,\n"
                             "\t\"configured\" : true,\n"
                             "\t\"readonly\" : false,\n"
                             "\t\"virtual\" : false,\n"
                             "\t\"hidden\" : false,\n"
                             "\t\"actual_netmask\" : \"255.255.0.0\",\n"
                             "\t\"actual_ip_address\" : \"10.0.0.1\",\n"
                             "\t\"actual_gateway_ip\" : \"10.0.0.254\",\n"
                             "\t\"actual_metric\" : 20\n"
                             "}";

QString readCall(const char *interface)
{
    return latin1("/NetworkManager com.zelt.HWSD.NetworkManager.getInterfaceConfig(s:%1)")
        .arg(latin1(interface));
}

QString writeCall(const char *interface, const QString &record)
{
    return latin1("/NetworkManager com.zelt.HWSD.NetworkManager.setInterfaceConfigJSON(s:") +
           latin1(interface) + latin1(",s:") + record + latin1(")");
}

const char ApplyCall[] = "/NetworkManager com.zelt.HWSD.NetworkManager.applyNewConfiguration()";
const char ResetCall[] = "/NetworkManager com.zelt.HWSD.NetworkManager.resetConfiguration()";

const char MistypedEth0[] = "Mistyped value in the configuration of interface \"eth0\" Bad cast";

// Everything the facade holds, in one line.
QString stateOf(const HWSDPlatform &platform)
{
    unsigned char mac[6] = {};
    platform.macAddress(mac);
    return latin1("%1 %2 %3 ")
               .arg(platform.ipAddress(), 8, 16, QLatin1Char('0'))
               .arg(platform.netmask(), 8, 16, QLatin1Char('0'))
               .arg(platform.gateway(), 8, 16, QLatin1Char('0')) +
           QString::fromLatin1(QByteArray(reinterpret_cast<const char *>(mac), 6).toHex());
}

} // namespace

class HwsdPlatformNetworkTest : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void cleanup() { buses->stop(); }

    void settersAreKept();
    void addressTextIsDotted_data();
    void addressTextIsDotted();

    void refreshTakesTheValuesInForce();
    void refreshAsksForTheChosenInterface();
    void refreshReadsAddressTexts_data();
    void refreshReadsAddressTexts();
    void refreshReadsMacAddressTexts_data();
    void refreshReadsMacAddressTexts();
    void refreshOfAnUnreadableTextEmptiesTheCache_data();
    void refreshOfAnUnreadableTextEmptiesTheCache();
    void refusedRefreshIsTrueAndKeepsTheCache_data();
    void refusedRefreshIsTrueAndKeepsTheCache();
    void mistypedValueKeepsTheCacheWithAWarning_data();
    void mistypedValueKeepsTheCacheWithAWarning();
    void mistypedValueIsToldOnceUntilItIsGone();
    void mistypedValueIsToldOfEachInterface();
    void refreshOfAVanishedServiceKeepsTheCache();

    void applyWritesTheRecordAndAppliesIt();
    void applySendsTheTextsOfADhcpInterfaceBackUnchanged();
    void everySetterTurnsDhcpOff_data();
    void everySetterTurnsDhcpOff();
    void refreshBringsDhcpBack();
    void applyAddressesTheChosenInterface();
    void applyIsFalseWhenTheRecordCannotBeRead_data();
    void applyIsFalseWhenTheRecordCannotBeRead();
    void applyOfAnUnreadableTextWritesAnEmptyRecord();
    void refusedWriteIsTrueWithoutApply_data();
    void refusedWriteIsTrueWithoutApply();
    void applyDoesNotLookAtTheLastAnswer_data();
    void applyDoesNotLookAtTheLastAnswer();

private:
    static HWSDPlatform &platform() { return *HWSDPlatform::instance(); }
    static FakeService &service() { return buses->service(); }
    void answerRecord(const QString &text) { service().answer(latin1("getInterfaceConfig"), {text}); }
    // Fills the cache with the record's values: state 0a000001 ffff0000 0a0000fe 001a2b3c4d5e.
    void refreshFromRecord();
};

const char RecordState[] = "0a000001 ffff0000 0a0000fe 001a2b3c4d5e";

void HwsdPlatformNetworkTest::init()
{
    QVERIFY(buses->startPanel());
    answerRecord(latin1(Record));
    service().answer(latin1("setInterfaceConfigJSON"), {0});
    service().answer(latin1("applyNewConfiguration"), {0});
}

void HwsdPlatformNetworkTest::refreshFromRecord()
{
    answerRecord(latin1(Record));
    QVERIFY(platform().refreshNetworkState());
    QCOMPARE(stateOf(platform()), latin1(RecordState));
    service().takeCalls();
}

void HwsdPlatformNetworkTest::settersAreKept()
{
    QVERIFY(platform().setIpAddress(0xC0A80001u));
    QVERIFY(platform().setNetmask(0xFF00FF00u)); // holes are nobody's business here
    QVERIFY(platform().setGateway(0xFFFFFFFFu));
    QCOMPARE(platform().ipAddress(), 0xC0A80001u);
    QCOMPARE(platform().netmask(), 0xFF00FF00u);
    QCOMPARE(platform().gateway(), 0xFFFFFFFFu);
    QVERIFY(platform().setInterface("eth1"));
    QVERIFY(platform().setInterface(""));
    QCOMPARE(platform().ipAddress(), 0xC0A80001u);
}

void HwsdPlatformNetworkTest::addressTextIsDotted_data()
{
    QTest::addColumn<quint32>("address");
    QTest::addColumn<QString>("text");
    QTest::newRow("usual") << 0xC0A80001u << latin1("192.168.0.1");
    QTest::newRow("all ones") << 0xFFFFFFFFu << latin1("255.255.255.255");
    QTest::newRow("zero") << 0u << latin1("0.0.0.0");
}

void HwsdPlatformNetworkTest::addressTextIsDotted()
{
    QFETCH(quint32, address);
    platform().setIpAddress(address);
    QTEST(platform().ipAddressString(), "text");
}

void HwsdPlatformNetworkTest::refreshTakesTheValuesInForce()
{
    MessageCatcher messages;
    QVERIFY(platform().refreshNetworkState());
    QCOMPARE(messages.take(), QStringList());
    QCOMPARE(service().takeCalls(), QStringList(readCall("eth0")));
    QCOMPARE(platform().ipAddress(), 0x0A000001u);
    QCOMPARE(platform().netmask(), 0xFFFF0000u);
    QCOMPARE(platform().gateway(), 0x0A0000FEu);
    QCOMPARE(platform().ipAddressString(), latin1("10.0.0.1"));
    QCOMPARE(stateOf(platform()), latin1(RecordState));
}

void HwsdPlatformNetworkTest::refreshAsksForTheChosenInterface()
{
    platform().setInterface("eth1");
    QCOMPARE(service().takeCalls(), QStringList());
    platform().refreshNetworkState();
    platform().setInterface("");
    platform().refreshNetworkState();
    QCOMPARE(service().takeCalls(), (QStringList{readCall("eth1"), readCall("eth0")}));
}

void HwsdPlatformNetworkTest::refreshReadsAddressTexts_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<quint32>("number");
    QTest::newRow("address") << latin1("192.168.0.1") << 0xC0A80001u;
    QTest::newRow("empty") << latin1("") << 0u;
    QTest::newRow("no address") << latin1("none") << 0u;
    QTest::newRow("three parts") << latin1("1.2.3") << 0u;
    QTest::newRow("zero in front") << latin1("010.1.1.1") << 0x0A010101u;
    QTest::newRow("IPv6") << latin1("::ffff:1.2.3.4") << 0u;
}

void HwsdPlatformNetworkTest::refreshReadsAddressTexts()
{
    QFETCH(QString, text);
    refreshFromRecord();
    const char *const keys[] = {"actual_ip_address", "actual_netmask", "actual_gateway_ip"};
    for (const char *key : keys) {
        answerRecord(latin1("{\"name\":\"eth0\",\"%1\":\"%2\"}").arg(latin1(key), text));
        QVERIFY(platform().refreshNetworkState());
        QTEST(key == keys[0]   ? platform().ipAddress()
              : key == keys[1] ? platform().netmask()
                               : platform().gateway(),
              "number");
    }
}

void HwsdPlatformNetworkTest::refreshReadsMacAddressTexts_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("mac"); // after 11:22:33:44:55:66
    const auto row = [](const char *text, const char *mac) {
        QTest::newRow(*text ? text : "empty") << latin1(text) << latin1(mac);
    };
    row("00:1a:2B:3c:4d:5e", "001a2b3c4d5e");
    row("FF:ff:00:01:10:a0", "ffff000110a0");
    row("1:2:3:4:5:6", "010203040506");
    row("aa:bb:cc", "aabbcc445566");
    row("aa", "aa2233445566");
    row("", "002233445566");
    row("aa::bb:xx:g:cc", "aa00bb0000cc");
    row("aa-bb-cc-dd-ee-ff", "002233445566");
    row("1ff:ffffffffff", "ff0033445566");
    row("aa:bb:cc:dd:ee:ff:99:88", "aabbccddeeff");
    row(":::::::::::::::::::::::::::::::::", "000000000000");
    row("\xA0"
        "1:2\xA0:\xA0:4 5: 6:7",
        "010200000607");
    row("1:2\\u0000:3:\\u0000:5:6", "010003000506");
    row("0x1a:0X2:0x:-1:+2:1g", "1a0200ff0200");
}

void HwsdPlatformNetworkTest::refreshReadsMacAddressTexts()
{
    QFETCH(QString, text);
    const QString record = latin1("{\"name\":\"eth0\",\"mac_address\":\"%1\"}");
    answerRecord(record.arg(latin1("11:22:33:44:55:66")));
    QVERIFY(platform().refreshNetworkState());
    answerRecord(record.arg(text));
    QVERIFY(platform().refreshNetworkState());
    QTEST(stateOf(platform()).section(QLatin1Char(' '), 3), "mac");
}

void HwsdPlatformNetworkTest::refreshOfAnUnreadableTextEmptiesTheCache_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("warning");
    QTest::newRow("empty") << latin1("") << latin1("Trying to parse empty network interface json!");
    QTest::newRow("garbage")
        << latin1("?") << latin1("Scan error in network interface json  Unexpected character in stream: ?");
    QTest::newRow("cut short") << latin1("{\"name\":\"eth0\",")
                               << latin1(
                                      "Parse error in network interface json Unexpected end of token stream");
    QTest::newRow("no name") << latin1("{\"actual_ip_address\":\"1.2.3.4\"}")
                             << latin1("Cannot find interface name in json");
}

void HwsdPlatformNetworkTest::refreshOfAnUnreadableTextEmptiesTheCache()
{
    QFETCH(QString, text);
    QFETCH(QString, warning);
    refreshFromRecord();
    answerRecord(text);
    MessageCatcher messages;
    QVERIFY(platform().refreshNetworkState());
    QCOMPARE(messages.take(), QStringList(warning));
    // An empty text is one part of a MAC address that is no number.
    QCOMPARE(stateOf(platform()), latin1("00000000 00000000 00000000 001a2b3c4d5e"));
}

void HwsdPlatformNetworkTest::refusedRefreshIsTrueAndKeepsTheCache_data()
{
    QTest::addColumn<bool>("refused");
    QTest::addColumn<QVariantList>("answer");
    QTest::newRow("error") << true << QVariantList();
    QTest::newRow("no argument") << false << QVariantList();
    QTest::newRow("a number") << false << QVariantList{5};
    QTest::newRow("bytes") << false << QVariantList{QByteArray(Record)};
    QTest::newRow("a list of texts") << false << QVariantList{QStringList{latin1(Record)}};
}

void HwsdPlatformNetworkTest::refusedRefreshIsTrueAndKeepsTheCache()
{
    QFETCH(bool, refused);
    QFETCH(QVariantList, answer);
    refreshFromRecord();
    if (refused)
        service().refuse(latin1("getInterfaceConfig"));
    else
        service().answer(latin1("getInterfaceConfig"), answer);
    MessageCatcher messages;
    QVERIFY(platform().refreshNetworkState());
    QCOMPARE(messages.take(), QStringList());
    QCOMPARE(stateOf(platform()), latin1(RecordState));
}

void HwsdPlatformNetworkTest::mistypedValueKeepsTheCacheWithAWarning_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("name") << latin1("{\"name\":5}");
    QTest::newRow("address") << latin1("{\"name\":\"eth0\",\"actual_ip_address\":[]}");
    QTest::newRow("dhcp, after good addresses")
        << latin1("{\"name\":\"eth0\",\"actual_ip_address\":\"1.2.3.4\",\"dhcp\":1}");
    QTest::newRow("MAC address, the last") << latin1("{\"name\":\"eth0\",\"mac_address\":null}");
}

void HwsdPlatformNetworkTest::mistypedValueKeepsTheCacheWithAWarning()
{
    QFETCH(QString, text);
    refreshFromRecord();
    answerRecord(text);
    MessageCatcher messages;
    QVERIFY(platform().refreshNetworkState());
    QCOMPARE(messages.take(), QStringList(latin1(MistypedEth0)));
    QCOMPARE(stateOf(platform()), latin1(RecordState));

    QVERIFY(!platform().applyConfiguration());
    QCOMPARE(messages.take(), QStringList());
    QCOMPARE(service().takeCalls(), (QStringList{readCall("eth0"), readCall("eth0")}));
}

void HwsdPlatformNetworkTest::mistypedValueIsToldOnceUntilItIsGone()
{
    const QStringList told(latin1(MistypedEth0));
    MessageCatcher messages;
    for (int round = 0; round < 3; ++round) {
        answerRecord(latin1("{\"name\":5}"));
        QVERIFY(!platform().applyConfiguration());
        QCOMPARE(messages.take(), told);
        for (int reading = 0; reading < 3; ++reading) {
            QVERIFY(platform().refreshNetworkState());
            QVERIFY(!platform().applyConfiguration());
        }
        // A reading that fails in another way tells nothing about the values.
        service().refuse(latin1("getInterfaceConfig"));
        QVERIFY(platform().refreshNetworkState());
        answerRecord(latin1("{\"name\":5}"));
        QVERIFY(platform().refreshNetworkState());
        QCOMPARE(messages.take(), QStringList());
        answerRecord(latin1(Record));
        QVERIFY(platform().refreshNetworkState());
    }
    QCOMPARE(messages.take(), QStringList());
}

void HwsdPlatformNetworkTest::mistypedValueIsToldOfEachInterface()
{
    const QStringList both = {latin1(MistypedEth0),
                              latin1("Mistyped value in the configuration of interface \"eth1\" Bad cast")};
    answerRecord(latin1("{\"name\":5}"));
    MessageCatcher messages;
    for (int round = 0; round < 3; ++round) {
        platform().setInterface("eth0");
        QVERIFY(platform().refreshNetworkState());
        platform().setInterface("eth1");
        QVERIFY(platform().refreshNetworkState());
    }
    QCOMPARE(messages.take(), both);
    // That one of them is well again changes nothing for the other.
    answerRecord(latin1(Record));
    QVERIFY(platform().refreshNetworkState());
    answerRecord(latin1("{\"name\":5}"));
    QVERIFY(platform().refreshNetworkState());
    platform().setInterface("eth0");
    QVERIFY(platform().refreshNetworkState());
    QCOMPARE(messages.take(), QStringList(both.last()));
}

void HwsdPlatformNetworkTest::refreshOfAVanishedServiceKeepsTheCache()
{
    refreshFromRecord();
    QVERIFY(buses->startServiceOnSystemBus()); // knows nothing and refuses
    QVERIFY(platform().refreshNetworkState());
    QCOMPARE(stateOf(platform()), latin1(RecordState));
    buses->stopService();
    QVERIFY(platform().refreshNetworkState());
    QCOMPARE(stateOf(platform()), latin1(RecordState));
    QVERIFY(!platform().applyConfiguration());
    QVERIFY(!platform().resetConfiguration());
}

void HwsdPlatformNetworkTest::applyWritesTheRecordAndAppliesIt()
{
    refreshFromRecord();
    platform().setIpAddress(0xAC100001u);
    platform().setNetmask(0xFF00FF00u);
    platform().setGateway(0u);
    QCOMPARE(service().takeCalls(), QStringList());
    QVERIFY(platform().applyConfiguration());
    const QString written =
        latin1(WrittenRecord)
            .arg(latin1("172.16.0.1"), latin1("255.0.255.0"), latin1("0.0.0.0"), latin1("false"));
    QCOMPARE(service().waitForCalls(3),
             (QStringList{readCall("eth0"), writeCall("eth0", written), latin1(ApplyCall)}));
    // The staged values stand until the next refresh.
    QCOMPARE(stateOf(platform()), latin1("ac100001 ff00ff00 00000000 001a2b3c4d5e"));
}

void HwsdPlatformNetworkTest::applySendsTheTextsOfADhcpInterfaceBackUnchanged()
{
    refreshFromRecord();
    QVERIFY(platform().applyConfiguration());
    const QString written =
        latin1(WrittenRecord)
            .arg(latin1("192.168.0.1"), latin1("255.255.255.0"), latin1("192.168.0.254"), latin1("true"));
    QCOMPARE(service().waitForCalls(3),
             (QStringList{readCall("eth0"), writeCall("eth0", written), latin1(ApplyCall)}));
}

void HwsdPlatformNetworkTest::everySetterTurnsDhcpOff_data()
{
    QTest::addColumn<int>("setter");
    QTest::addColumn<QString>("written");
    const QString record = latin1(WrittenRecord);
    QTest::newRow("address") << 0
                             << record.arg(latin1("1.2.3.4"), latin1("255.255.0.0"), latin1("10.0.0.254"),
                                           latin1("false"));
    QTest::newRow("netmask") << 1
                             << record.arg(latin1("10.0.0.1"), latin1("1.2.3.4"), latin1("10.0.0.254"),
                                           latin1("false"));
    QTest::newRow("gateway") << 2
                             << record.arg(latin1("10.0.0.1"), latin1("255.255.0.0"), latin1("1.2.3.4"),
                                           latin1("false"));
}

void HwsdPlatformNetworkTest::everySetterTurnsDhcpOff()
{
    QFETCH(int, setter);
    QFETCH(QString, written);
    refreshFromRecord();
    bool (HWSDPlatform::*const setters[])(quint32) = {&HWSDPlatform::setIpAddress, &HWSDPlatform::setNetmask,
                                                      &HWSDPlatform::setGateway};
    QVERIFY((platform().*setters[setter])(0x01020304u));
    QVERIFY(platform().applyConfiguration());
    QCOMPARE(service().waitForCalls(3),
             (QStringList{readCall("eth0"), writeCall("eth0", written), latin1(ApplyCall)}));
}

void HwsdPlatformNetworkTest::refreshBringsDhcpBack()
{
    refreshFromRecord();
    platform().setIpAddress(0x01020304u);
    refreshFromRecord();
    QVERIFY(platform().applyConfiguration());
    QVERIFY(service().waitForCalls(3).value(1).contains(latin1("\"dhcp\" : true")));
}

void HwsdPlatformNetworkTest::applyAddressesTheChosenInterface()
{
    refreshFromRecord();
    platform().setInterface("usb0");
    answerRecord(latin1("{\"name\":\"usb0\"}"));
    platform().setIpAddress(0x01020304u);
    QVERIFY(platform().applyConfiguration());
    const QString written = latin1("{\n\t\"name\" : \"usb0\",\n\t\"ip_address\" : \"1.2.3.4\",\n"
                                   "\t\"netmask\" : \"255.255.0.0\",\n\t\"gateway_ip\" : \"10.0.0.254\",\n"
                                   "\t\"dhcp\" : false,\n\t\"configured\" : false,\n\t\"readonly\" : true,\n"
                                   "\t\"virtual\" : true,\n\t\"hidden\" : true\n}");
    QCOMPARE(service().waitForCalls(3),
             (QStringList{readCall("usb0"), writeCall("usb0", written), latin1(ApplyCall)}));
}

void HwsdPlatformNetworkTest::applyIsFalseWhenTheRecordCannotBeRead_data()
{
    refusedRefreshIsTrueAndKeepsTheCache_data();
}

void HwsdPlatformNetworkTest::applyIsFalseWhenTheRecordCannotBeRead()
{
    QFETCH(bool, refused);
    QFETCH(QVariantList, answer);
    refreshFromRecord();
    if (refused)
        service().refuse(latin1("getInterfaceConfig"));
    else
        service().answer(latin1("getInterfaceConfig"), answer);
    QVERIFY(!platform().applyConfiguration());
    // A further call proves that nothing was under way behind the first.
    platform().resetConfiguration();
    QCOMPARE(service().takeCalls(), (QStringList{readCall("eth0"), latin1(ResetCall)}));
}

void HwsdPlatformNetworkTest::applyOfAnUnreadableTextWritesAnEmptyRecord()
{
    refreshFromRecord();
    platform().setIpAddress(0x01020304u);
    answerRecord(latin1("no JSON"));
    MessageCatcher messages;
    QVERIFY(platform().applyConfiguration());
    QCOMPARE(messages.take().size(), 1);
    const QString written = latin1("{\n\t\"name\" : \"\",\n\t\"ip_address\" : \"1.2.3.4\",\n"
                                   "\t\"netmask\" : \"255.255.0.0\",\n\t\"gateway_ip\" : \"10.0.0.254\",\n"
                                   "\t\"dhcp\" : false,\n\t\"configured\" : false,\n\t\"readonly\" : true,\n"
                                   "\t\"virtual\" : true,\n\t\"hidden\" : true\n}");
    QCOMPARE(service().waitForCalls(3),
             (QStringList{readCall("eth0"), writeCall("eth0", written), latin1(ApplyCall)}));
}

void HwsdPlatformNetworkTest::refusedWriteIsTrueWithoutApply_data()
{
    QTest::addColumn<bool>("refused");
    QTest::addColumn<QVariantList>("answer");
    QTest::newRow("error") << true << QVariantList();
    QTest::newRow("no argument") << false << QVariantList();
    QTest::newRow("a text") << false << QVariantList{latin1("done")};
}

void HwsdPlatformNetworkTest::refusedWriteIsTrueWithoutApply()
{
    QFETCH(bool, refused);
    QFETCH(QVariantList, answer);
    refreshFromRecord();
    if (refused)
        service().refuse(latin1("setInterfaceConfigJSON"));
    else
        service().answer(latin1("setInterfaceConfigJSON"), answer);
    QVERIFY(platform().applyConfiguration());
    platform().resetConfiguration();
    const QStringList calls = service().takeCalls();
    QCOMPARE(calls.size(), 3);
    QCOMPARE(calls.at(0), readCall("eth0"));
    QVERIFY(calls.at(1).contains(latin1("setInterfaceConfigJSON")));
    QCOMPARE(calls.at(2), latin1(ResetCall));
}

void HwsdPlatformNetworkTest::applyDoesNotLookAtTheLastAnswer_data()
{
    QTest::addColumn<int>("manner");
    QTest::newRow("error") << 0;
    QTest::newRow("silence") << 1;
    QTest::newRow("negative number") << 2;
}

void HwsdPlatformNetworkTest::applyDoesNotLookAtTheLastAnswer()
{
    QFETCH(int, manner);
    refreshFromRecord();
    if (manner == 0)
        service().refuse(latin1("applyNewConfiguration"));
    else if (manner == 1)
        service().ignore(latin1("applyNewConfiguration"));
    else
        service().answer(latin1("setInterfaceConfigJSON"), {-1});
    QVERIFY(platform().applyConfiguration());
    QCOMPARE(service().waitForCalls(3).value(2), latin1(ApplyCall));
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    TestBuses ownBuses;
    buses = &ownBuses;
    HwsdPlatformNetworkTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "hwsdplatformnetworktest.moc"
