#include "hwsdplatform.h"
#include "support/messagecatcher.h"
#include "support/panel.h"
#include "support/testbuses.h"
#include "support/texts.h"

#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtTest/QtTest>

namespace
{

TestBuses *buses = nullptr;

const char Record[] = R"({"name":"eth0","label":"Plant","mac_address":"02:1a:2B:3c:4d:5e",)"
                      R"("ip_address":"192.168.0.1","netmask":"255.255.255.0","gateway_ip":"192.168.0.254",)"
                      R"("metric":10,"dhcp":true,"configured":true,"readonly":false,"virtual":false,)"
                      R"("hidden":false,"actual_netmask":"255.255.0.0","actual_ip_address":"10.0.0.1",)"
                      R"("actual_gateway_ip":"10.0.0.254","actual_metric":20})";
// What the facade caches of it; see stateOf().
const char RecordState[] = "0a000001 ffff0000 0a0000fe 021a2b3c4d5e";

const char MistypedEth0[] = "Mistyped value in the configuration of interface \"eth0\" Bad cast";

QString readCall(const char *interface)
{
    return latin1("/NetworkManager com.zelt.HWSD.NetworkManager.getInterfaceConfig(s:%1)")
        .arg(latin1(interface));
}

QJsonObject jsonObject(const QString &text)
{
    return QJsonDocument::fromJson(text.toUtf8()).object();
}

// The record with the values that a setting replaces.
QJsonObject recordWith(const char *address, const char *netmask, const char *gateway, bool dhcp)
{
    QJsonObject record = jsonObject(latin1(Record));
    record[latin1("ip_address")] = latin1(address);
    record[latin1("netmask")] = latin1(netmask);
    record[latin1("gateway_ip")] = latin1(gateway);
    record[latin1("dhcp")] = dhcp;
    return record;
}

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

    void refreshTakesTheValuesInForce();
    void refreshAsksForTheChosenInterface();
    void refreshTakesTheSameTextAgain();
    void textWithAWarningIsReadAnewEachTime_data();
    void textWithAWarningIsReadAnewEachTime();
    void addressesAreReadFromTheirTexts_data();
    void addressesAreReadFromTheirTexts();
    void macAddressIsReadFromItsText_data();
    void macAddressIsReadFromItsText();
    void unreadableTextEmptiesTheCacheAndIsWrittenAsAnEmptyRecord_data();
    void unreadableTextEmptiesTheCacheAndIsWrittenAsAnEmptyRecord();
    void answerWithoutTextKeepsTheCacheAndIsNotApplied_data();
    void answerWithoutTextKeepsTheCacheAndIsNotApplied();
    void mistypedValueKeepsTheCacheWithAWarning_data();
    void mistypedValueKeepsTheCacheWithAWarning();
    void mistypedValueIsToldOnceUntilItIsGone();
    void mistypedValueIsToldOfEachInterface();
    void vanishedServiceKeepsTheCache();

    void applyWritesTheRecordAndAppliesIt();
    void applySendsTheTextsOfADhcpInterfaceBackUnchanged();
    void applySendsAZeroInATextBack();
    void everySetterTurnsDhcpOff_data();
    void everySetterTurnsDhcpOff();
    void applyAddressesTheChosenInterface();
    void refusedWriteIsTrueWithoutApply_data();
    void refusedWriteIsTrueWithoutApply();
    void applyDoesNotLookAtTheLastAnswer_data();
    void applyDoesNotLookAtTheLastAnswer();

private:
    static HWSDPlatform &platform() { return *HWSDPlatform::instance(); }
    static FakeService &service() { return buses->service(); }
    static void answerRecord(const QString &text) { service().answer("getInterfaceConfig", {text}); }
    // Fills the cache with the record's values.
    static void refreshFromRecord();
    // The record that a successful apply has written; empty when its calls were not reading, writing and
    // applying.
    static QJsonObject writtenRecord(const char *interface = "eth0");
    // All calls so far; a further, awaited call proves that none was still under way.
    static QStringList allCalls();
};

void HwsdPlatformNetworkTest::init()
{
    QVERIFY(buses->startPanel());
    answerAsPanel(service());
    answerRecord(latin1(Record));
}

void HwsdPlatformNetworkTest::refreshFromRecord()
{
    answerRecord(latin1(Record));
    QVERIFY(platform().refreshNetworkState());
    QCOMPARE(stateOf(platform()), latin1(RecordState));
    service().takeCalls();
}

QJsonObject HwsdPlatformNetworkTest::writtenRecord(const char *interface)
{
    const QStringList calls = service().waitForCalls(3);
    const QString start =
        latin1("/NetworkManager com.zelt.HWSD.NetworkManager.setInterfaceConfigJSON(s:%1,s:")
            .arg(latin1(interface));
    if (calls.size() != 3 || calls.at(0) != readCall(interface) || !calls.at(1).startsWith(start) ||
        calls.at(2) != latin1(ApplyCall))
        return {};
    return jsonObject(calls.at(1).mid(start.size()).chopped(1));
}

QStringList HwsdPlatformNetworkTest::allCalls()
{
    platform().resetConfiguration();
    return service().takeCalls();
}

void HwsdPlatformNetworkTest::refreshTakesTheValuesInForce()
{
    MessageCatcher messages;
    QVERIFY(platform().refreshNetworkState());
    QCOMPARE(messages.take(), QStringList());
    QCOMPARE(service().takeCalls(), QStringList(readCall("eth0")));
    QCOMPARE(stateOf(platform()), latin1(RecordState));
    QCOMPARE(platform().ipAddressString(), latin1("10.0.0.1"));
}

void HwsdPlatformNetworkTest::refreshAsksForTheChosenInterface()
{
    QVERIFY(platform().setInterface("eth1"));
    QCOMPARE(service().takeCalls(), QStringList());
    platform().refreshNetworkState();
    QVERIFY(platform().setInterface(""));
    platform().refreshNetworkState();
    QCOMPARE(service().takeCalls(), (QStringList{readCall("eth1"), readCall("eth0")}));
}

void HwsdPlatformNetworkTest::refreshTakesTheSameTextAgain()
{
    refreshFromRecord();
    platform().setIpAddress(1);
    platform().setNetmask(2);
    platform().setGateway(3);
    QVERIFY(platform().refreshNetworkState());
    QCOMPARE(stateOf(platform()), latin1(RecordState));
    service().takeCalls();
    QVERIFY(platform().applyConfiguration());
    QVERIFY(writtenRecord().value(latin1("dhcp")).toBool());

    // A text that differs in one digit, and the first one once more.
    QString other = latin1(Record);
    QVERIFY(other.contains(latin1("5e")));
    other.replace(latin1("5e"), latin1("5f"));
    answerRecord(other);
    QVERIFY(platform().refreshNetworkState());
    QCOMPARE(stateOf(platform()), QString(latin1(RecordState)).replace(latin1("5e"), latin1("5f")));
    answerRecord(latin1(Record));
    QVERIFY(platform().refreshNetworkState());
    QCOMPARE(stateOf(platform()), latin1(RecordState));
}

void HwsdPlatformNetworkTest::textWithAWarningIsReadAnewEachTime_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("warning");
    QTest::newRow("empty") << QString() << latin1("Trying to parse empty network interface json!");
    QTest::newRow("no JSON")
        << latin1("?") << latin1("Scan error in network interface json  Unexpected character in stream: ?");
    QTest::newRow("no name") << latin1("{}") << latin1("Cannot find interface name in json");
    QTest::newRow("empty name") << latin1(R"({"name":""})") << latin1("Empty interface name in json");
}

void HwsdPlatformNetworkTest::textWithAWarningIsReadAnewEachTime()
{
    QFETCH(QString, text);
    QFETCH(QString, warning);
    refreshFromRecord();
    answerRecord(text);
    MessageCatcher messages;
    for (int reading = 0; reading < 2; ++reading) {
        QVERIFY(platform().refreshNetworkState());
        QCOMPARE(messages.take(), QStringList(warning));
        QCOMPARE(stateOf(platform()).left(27), latin1("00000000 00000000 00000000 "));
    }
    answerRecord(latin1(Record));
    QVERIFY(platform().refreshNetworkState());
    QCOMPARE(stateOf(platform()), latin1(RecordState));
}

void HwsdPlatformNetworkTest::addressesAreReadFromTheirTexts_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("state");
    const auto row = [](const char *key, const char *state) {
        QTest::newRow(key) << latin1(key) << latin1(state);
    };
    row("actual_ip_address", "0a010101 00000000 00000000 001a2b3c4d5e");
    row("actual_netmask", "00000000 0a010101 00000000 001a2b3c4d5e");
    row("actual_gateway_ip", "00000000 00000000 0a010101 001a2b3c4d5e");
}

// Also a text that Qt would read as another address, and two that are absent and therefore empty.
void HwsdPlatformNetworkTest::addressesAreReadFromTheirTexts()
{
    QFETCH(QString, key);
    refreshFromRecord();
    answerRecord(latin1(R"({"name":"eth0","%1":"010.1.1.1"})").arg(key));
    QVERIFY(platform().refreshNetworkState());
    QTEST(stateOf(platform()), "state");
}

void HwsdPlatformNetworkTest::macAddressIsReadFromItsText_data()
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
    row("1:2\\u0000:3: 4 :4 5:0x6", "010003040006");
}

void HwsdPlatformNetworkTest::macAddressIsReadFromItsText()
{
    QFETCH(QString, text);
    const QString record = latin1(R"({"name":"eth0","mac_address":"%1"})");
    answerRecord(record.arg(latin1("11:22:33:44:55:66")));
    QVERIFY(platform().refreshNetworkState());
    answerRecord(record.arg(text));
    QVERIFY(platform().refreshNetworkState());
    QTEST(stateOf(platform()).section(QLatin1Char(' '), 3), "mac");
}

void HwsdPlatformNetworkTest::unreadableTextEmptiesTheCacheAndIsWrittenAsAnEmptyRecord_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("warning");
    QTest::newRow("no JSON")
        << latin1("?") << latin1("Scan error in network interface json  Unexpected character in stream: ?");
    QTest::newRow("no name") << latin1(R"({"actual_ip_address":"1.2.3.4"})")
                             << latin1("Cannot find interface name in json");
}

void HwsdPlatformNetworkTest::unreadableTextEmptiesTheCacheAndIsWrittenAsAnEmptyRecord()
{
    QFETCH(QString, text);
    QFETCH(QString, warning);
    const auto isWritten = [](const char *netmask, const char *gateway) {
        const QString rest =
            latin1(R"("dhcp":false,"configured":false,"readonly":true,"virtual":true,"hidden":true})");
        return writtenRecord() ==
               jsonObject(latin1(R"({"name":"","ip_address":"1.2.3.4","netmask":"%1","gateway_ip":"%2",)")
                              .arg(latin1(netmask), latin1(gateway)) +
                          rest);
    };
    refreshFromRecord();
    answerRecord(text);
    MessageCatcher messages;
    platform().setIpAddress(0x01020304u);
    QVERIFY(platform().applyConfiguration());
    QCOMPARE(messages.take(), QStringList(warning));
    QVERIFY(isWritten("255.255.0.0", "10.0.0.254"));

    QVERIFY(platform().refreshNetworkState());
    QCOMPARE(messages.take(), QStringList(warning));
    // An empty text is one part of a MAC address that is no number.
    QCOMPARE(stateOf(platform()), latin1("00000000 00000000 00000000 001a2b3c4d5e"));

    service().takeCalls();
    platform().setIpAddress(0x01020304u);
    QVERIFY(platform().applyConfiguration());
    QVERIFY(isWritten("0.0.0.0", "0.0.0.0"));
}

void HwsdPlatformNetworkTest::answerWithoutTextKeepsTheCacheAndIsNotApplied_data()
{
    QTest::addColumn<QVariantList>("answer");
    QTest::newRow("error") << ErrorReply;
    QTest::newRow("no argument") << QVariantList();
    QTest::newRow("a number") << QVariantList{5};
    QTest::newRow("bytes") << QVariantList{QByteArray(Record)};
    QTest::newRow("a list of texts") << QVariantList{QStringList{latin1(Record)}};
}

void HwsdPlatformNetworkTest::answerWithoutTextKeepsTheCacheAndIsNotApplied()
{
    QFETCH(QVariantList, answer);
    refreshFromRecord();
    service().answer("getInterfaceConfig", answer);
    MessageCatcher messages;
    QVERIFY(platform().refreshNetworkState());
    QVERIFY(!platform().applyConfiguration());
    QCOMPARE(messages.take(), QStringList());
    QCOMPARE(stateOf(platform()), latin1(RecordState));
    QCOMPARE(allCalls(), lines({RecordCall, RecordCall, ResetCall}));
}

void HwsdPlatformNetworkTest::mistypedValueKeepsTheCacheWithAWarning_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("name, the first") << latin1(R"({"name":5})");
    QTest::newRow("dhcp, after good addresses")
        << latin1(R"({"name":"eth0","actual_ip_address":"1.2.3.4","dhcp":1})");
    QTest::newRow("MAC address, the last") << latin1(R"({"name":"eth0","mac_address":null})");
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
    QCOMPARE(allCalls(), lines({RecordCall, RecordCall, ResetCall}));
}

void HwsdPlatformNetworkTest::mistypedValueIsToldOnceUntilItIsGone()
{
    const QString mistyped = latin1(R"({"name":5})");
    MessageCatcher messages;
    for (int round = 0; round < 3; ++round) {
        answerRecord(mistyped);
        QVERIFY(!platform().applyConfiguration());
        QCOMPARE(messages.take(), QStringList(latin1(MistypedEth0)));
        for (int reading = 0; reading < 3; ++reading) {
            QVERIFY(platform().refreshNetworkState());
            QVERIFY(!platform().applyConfiguration());
        }
        // A reading that fails in another way says nothing about the values.
        service().answer("getInterfaceConfig", ErrorReply);
        QVERIFY(platform().refreshNetworkState());
        answerRecord(mistyped);
        QVERIFY(platform().refreshNetworkState());
        QCOMPARE(messages.take(), QStringList());
        answerRecord(latin1(Record));
        QVERIFY(platform().refreshNetworkState());
    }
    QCOMPARE(messages.take(), QStringList());
}

void HwsdPlatformNetworkTest::mistypedValueIsToldOfEachInterface()
{
    const QString mistyped = latin1(R"({"name":5})");
    const QStringList both =
        lines({MistypedEth0, "Mistyped value in the configuration of interface \"eth1\" Bad cast"});
    answerRecord(mistyped);
    MessageCatcher messages;
    for (int round = 0; round < 3; ++round) {
        platform().setInterface("eth0");
        QVERIFY(platform().refreshNetworkState());
        platform().setInterface("eth1");
        QVERIFY(platform().refreshNetworkState());
    }
    QCOMPARE(messages.take(), both);
    // The recovery of one does not affect the other.
    answerRecord(latin1(Record));
    QVERIFY(platform().refreshNetworkState());
    answerRecord(mistyped);
    QVERIFY(platform().refreshNetworkState());
    platform().setInterface("eth0");
    QVERIFY(platform().refreshNetworkState());
    QCOMPARE(messages.take(), QStringList(both.last()));
}

void HwsdPlatformNetworkTest::vanishedServiceKeepsTheCache()
{
    refreshFromRecord();
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
    QCOMPARE(writtenRecord(), recordWith("172.16.0.1", "255.0.255.0", "0.0.0.0", false));
    // The staged values stand until the next refresh.
    QCOMPARE(stateOf(platform()), latin1("ac100001 ff00ff00 00000000 021a2b3c4d5e"));
}

void HwsdPlatformNetworkTest::applySendsTheTextsOfADhcpInterfaceBackUnchanged()
{
    refreshFromRecord();
    // The next refresh discards staged values.
    platform().setIpAddress(0x01020304u);
    refreshFromRecord();
    QVERIFY(platform().applyConfiguration());
    QCOMPARE(writtenRecord(), jsonObject(latin1(Record)));
}

void HwsdPlatformNetworkTest::applySendsAZeroInATextBack()
{
    answerRecord(latin1("{\"name\": \"eth0\", \"label\": \"L\\u0000N\"}"));
    QVERIFY(platform().applyConfiguration());
    QCOMPARE(writtenRecord().value(latin1("label")).toString(),
             QString(latin1("L?N")).replace(1, 1, QChar(0)));
}

void HwsdPlatformNetworkTest::everySetterTurnsDhcpOff_data()
{
    QTest::addColumn<int>("setter");
    QTest::addColumn<QJsonObject>("written");
    QTest::newRow("address") << 0 << recordWith("1.2.3.4", "255.255.0.0", "10.0.0.254", false);
    QTest::newRow("netmask") << 1 << recordWith("10.0.0.1", "1.2.3.4", "10.0.0.254", false);
    QTest::newRow("gateway") << 2 << recordWith("10.0.0.1", "255.255.0.0", "1.2.3.4", false);
}

void HwsdPlatformNetworkTest::everySetterTurnsDhcpOff()
{
    QFETCH(int, setter);
    refreshFromRecord();
    bool (HWSDPlatform::*const setters[])(quint32) = {&HWSDPlatform::setIpAddress, &HWSDPlatform::setNetmask,
                                                      &HWSDPlatform::setGateway};
    QVERIFY((platform().*setters[setter])(0x01020304u));
    QVERIFY(platform().applyConfiguration());
    QTEST(writtenRecord(), "written");
}

void HwsdPlatformNetworkTest::applyAddressesTheChosenInterface()
{
    refreshFromRecord();
    platform().setInterface("usb0");
    QVERIFY(platform().applyConfiguration());
    QCOMPARE(writtenRecord("usb0"), jsonObject(latin1(Record)));
}

void HwsdPlatformNetworkTest::refusedWriteIsTrueWithoutApply_data()
{
    QTest::addColumn<QVariantList>("answer");
    QTest::newRow("error") << ErrorReply;
    QTest::newRow("no argument") << QVariantList();
    QTest::newRow("a text") << QVariantList{latin1("done")};
}

void HwsdPlatformNetworkTest::refusedWriteIsTrueWithoutApply()
{
    QFETCH(QVariantList, answer);
    refreshFromRecord();
    service().answer("setInterfaceConfigJSON", answer);
    QVERIFY(platform().applyConfiguration());
    const QStringList calls = allCalls();
    QCOMPARE(calls.size(), 3);
    QCOMPARE(calls.at(0), latin1(RecordCall));
    QVERIFY(calls.at(1).contains(latin1("setInterfaceConfigJSON")));
    QCOMPARE(calls.at(2), latin1(ResetCall));
}

void HwsdPlatformNetworkTest::applyDoesNotLookAtTheLastAnswer_data()
{
    QTest::addColumn<int>("manner");
    QTest::newRow("error") << 0;
    QTest::newRow("silence") << 1;
    QTest::newRow("negative number of the write") << 2;
}

void HwsdPlatformNetworkTest::applyDoesNotLookAtTheLastAnswer()
{
    QFETCH(int, manner);
    refreshFromRecord();
    if (manner == 0)
        service().answer("applyNewConfiguration", ErrorReply);
    else if (manner == 1)
        service().ignore("applyNewConfiguration");
    else
        service().answer("setInterfaceConfigJSON", {-1});
    QVERIFY(platform().applyConfiguration());
    QCOMPARE(writtenRecord(), jsonObject(latin1(Record)));
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
