#include "hwsdplatform.h"
#include "support/messagecatcher.h"
#include "support/namespaces.h"
#include "support/panel.h"
#include "support/testbuses.h"
#include "support/texts.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtDBus/QDBusArgument>
#include <QtTest/QtTest>

#include <atomic>
#include <cstring>
#include <functional>
#include <thread>

// The factory settings file stands at its fixed path, in a mount namespace of the test's own.

namespace
{

TestBuses *buses = nullptr;

const char FactoryFile[] = "/mnt/factory/machine.ini";

// The factory's file with this table of names.
bool writeNames(const QByteArray &names)
{
    QDir().mkpath(latin1("/mnt/factory"));
    QFile file(latin1(FactoryFile));
    const QByteArray content = "[Brand]\noptions\\devicename=" + names + '\n';
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}

// A manufacture code as the service sends it: four bytes, the lowest first.
QByteArray codeBytes(qint32 code)
{
    QByteArray bytes;
    for (int i = 0; i < 4; ++i)
        bytes.append(static_cast<char>(static_cast<quint32>(code) >> (8 * i)));
    return bytes;
}

const char SeepromCall[] = "/I2CSEEPROM com.zelt.HWSD.I2CSEEPROM.readSlvAddr(y:80,y:85,u:20)";

} // namespace

class HwsdPlatformIdentityTest : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void cleanup() { buses->stop(); }

    void versionIsReadFromTheTextsEnd_data();
    void versionIsReadFromTheTextsEnd();
    void versionIsAskedForUntilItIsKnown();
    void versionIsZeroWhenTheServiceFails_data();
    void versionIsZeroWhenTheServiceFails();

    void deviceNamesAreReadFromTheFactorysFileEachTime();

    void nameOfTheFactoryWinsOverTheModelTable();
    void seepromIsReadForAnUnknownCode_data();
    void seepromIsReadForAnUnknownCode();
    void seepromThatCannotBeReadGivesTheCode_data();
    void seepromThatCannotBeReadGivesTheCode();
    void manufactureCodeIsSignedAndLittleEndian_data();
    void manufactureCodeIsSignedAndLittleEndian();
    void manufactureCodeThatCannotBeReadIsShownAsZero_data();
    void manufactureCodeThatCannotBeReadIsShownAsZero();
    void codeZeroHasTheNameOfNumberZero();

    void descriptionIsFoundOnceForBothForms_data();
    void descriptionIsFoundOnceForBothForms();
    void descriptionOutlivesTheServiceAndTheFile();
    void emptyNameIsAskedForAgain();
    void blockIsWrittenWithoutTerminator();
    void longDescriptionIsCutToTheBlock_data();
    void longDescriptionIsCutToTheBlock();
    void threadsThatAskAtOnceGetOneText();

private:
    static HWSDPlatform &platform() { return *HWSDPlatform::instance(); }
    static FakeService &service() { return buses->service(); }
    static void answerCode(qint32 code) { service().answer("manufactureCode", {codeBytes(code)}); }
    static void answerSeeprom(const QByteArray &bytes) { service().answer("readSlvAddr", {20, bytes}); }
};

void HwsdPlatformIdentityTest::init()
{
    QFile::remove(latin1(FactoryFile));
    QVERIFY(buses->startPanel());
}

void HwsdPlatformIdentityTest::versionIsReadFromTheTextsEnd_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<quint32>("version");
    const auto row = [](const char *text, quint32 version) {
        QTest::newRow(*text ? text : "empty") << QByteArray(text) << version;
    };
    // ...WWXXXYYZ: two, three, two and one digit
    row("V01234567", 0x01u << 24 | 234u << 16 | 56u << 8 | 7u);
    row("xyz 01234567", 0x01u << 24 | 234u << 16 | 56u << 8 | 7u);
    row("V00000001", 1);
    row("V00000990", 99u << 8);
    row("V00255000", 255u << 16);
    row("V99000000", 99u << 24);
    // Nothing keeps a number within its byte: 256 is bit 24, and 999 is 0x3E7.
    row("V00256000", 0x01000000u);
    row("V01256000", 0x01000000u);
    row("V02256000", 0x03000000u);
    row("V00999000", 0x03E70000u);
    row("V99999999", 99u << 24 | 999u << 16 | 99u << 8 | 9u);
    // What is no number counts as 0, each cut by itself.
    row("Vab234567", 234u << 16 | 56u << 8 | 7u);
    row("V01x34567", 0x01u << 24 | 56u << 8 | 7u);
    row("V012345.7", 0x01u << 24 | 234u << 16 | 7u);
    row("V0123456x", 0x01u << 24 | 234u << 16 | 56u << 8);
    row("VVVVVVVVV", 0);
    // White space around the digits of a cut is passed over.
    row("x1\xA0"
        "234567",
        0x01u << 24 | 234u << 16 | 56u << 8 | 7u);
    row("x 1\xA0"
        "23567",
        0x01u << 24 | 23u << 16 | 56u << 8 | 7u);
    row("x1 2 456\xA0", 0x01u << 24 | 56u << 8);
    // More than eight characters are needed.
    row("01234567", 0);
    row("1234567", 0);
    row("1", 0);
    row("", 0);
    row("001234567", 0x01u << 24 | 234u << 16 | 56u << 8 | 7u);
    // The field holds 20 characters, with or without an end.
    row("ABCDEFGHIJKL01234567", 0x01u << 24 | 234u << 16 | 56u << 8 | 7u);
    row("ABCDEFGHIJKL01234567999", 0x01u << 24 | 234u << 16 | 56u << 8 | 7u);
    QTest::newRow("text ends at a zero byte")
        << QByteArray("V01234567\0V99999999", 19) << (0x01u << 24 | 234u << 16 | 56u << 8 | 7u);
    QTest::newRow("zero byte after eight") << QByteArray("01234567\0V99999999", 18) << 0u;
}

void HwsdPlatformIdentityTest::versionIsReadFromTheTextsEnd()
{
    QFETCH(QByteArray, text);
    service().answer("info", {partitionInfoOnWire(text)});
    QTEST(platform().partitionVersion(), "version");
    QCOMPARE(service().takeCalls(), lines({VersionCall}));
}

void HwsdPlatformIdentityTest::versionIsAskedForUntilItIsKnown()
{
    service().answerInTurn(
        "info", {{partitionInfoOnWire("V00000000")}, ErrorReply, {partitionInfoOnWire("V00000003")}});
    for (const quint32 version : {0u, 0u, 3u, 3u})
        QCOMPARE(platform().partitionVersion(), version);
    QCOMPARE(service().takeCalls(), lines({VersionCall, VersionCall, VersionCall}));
}

void HwsdPlatformIdentityTest::versionIsZeroWhenTheServiceFails_data()
{
    QTest::addColumn<QVariantList>("answer");
    QDBusArgument bytesAlone;
    bytesAlone.beginStructure();
    bytesAlone << uchar(1) << uchar(2);
    bytesAlone.endStructure();
    QDBusArgument textInPlace;
    textInPlace.beginStructure();
    textInPlace << uchar(1) << uchar(2) << uchar(3) << uchar(4) << latin1("V01234567");
    textInPlace.endStructure();
    QTest::newRow("error") << ErrorReply;
    QTest::newRow("no argument") << QVariantList();
    QTest::newRow("a text") << QVariantList{latin1("V01234567")};
    QTest::newRow("bytes") << QVariantList{QByteArray("V01234567")};
    QTest::newRow("a shorter structure") << QVariantList{QVariant::fromValue(bytesAlone)};
    QTest::newRow("a text in the structure") << QVariantList{QVariant::fromValue(textInPlace)};
}

void HwsdPlatformIdentityTest::versionIsZeroWhenTheServiceFails()
{
    QFETCH(QVariantList, answer);
    service().answer("info", answer);
    QCOMPARE(platform().partitionVersion(), 0u);
    QCOMPARE(service().takeCalls(), lines({VersionCall}));
}

void HwsdPlatformIdentityTest::deviceNamesAreReadFromTheFactorysFileEachTime()
{
    QHash<int, QString> names;
    platform().deviceName(names);
    QCOMPARE(names, (QHash<int, QString>()));
    QVERIFY(writeNames("501:Panel A, 502:Panel B"));
    platform().deviceName(names);
    QCOMPARE(names, (QHash<int, QString>{{501, latin1("Panel A")}, {0, latin1("Panel B")}}));
    QVERIFY(writeNames("502:Other"));
    platform().deviceName(names);
    QCOMPARE(names, (QHash<int, QString>{{502, latin1("Other")}}));
}

void HwsdPlatformIdentityTest::nameOfTheFactoryWinsOverTheModelTable()
{
    answerCode(506);
    QVERIFY(writeNames("510:Oven"));
    QCOMPARE(platform().systemInfoText(), latin1("QM413-JD562"));
    delete HWSDPlatform::instance();
    QVERIFY(writeNames("506:Line 3 panel,510:Oven"));
    QCOMPARE(platform().systemInfoText(), latin1("Line 3 panel"));
    QCOMPARE(service().takeCalls(), lines({CodeCall, CodeCall}));
}

void HwsdPlatformIdentityTest::seepromIsReadForAnUnknownCode_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("text");
    const auto row = [](const char *name, const QByteArray &bytes, const char *text) {
        QTest::newRow(name) << bytes << latin1(text);
    };
    row("text and an end", QByteArray("Special 7\0", 10), "Special 7");
    row("text, an end and noise", QByteArray("Special 7\0\xFF\x01X", 13), "Special 7");
    row("one character", QByteArray("A\0", 2), "A");
    row("first and last allowed bytes", QByteArray(" \x7F\0", 3), " \x7F");
    row("blank alone", QByteArray(" \0", 2), " ");
    row("end in the last of twenty", QByteArray("ABCDEFGHIJKLMNOPQRS\0", 20), "ABCDEFGHIJKLMNOPQRS");
    row("longer than asked for", QByteArray(50, 'A').append('\0'),
        "AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA");
    row("no end", QByteArray("ABCDEFGHIJKLMNOPQRST"), "HMI 503");
    row("empty", QByteArray(""), "HMI 503");
    row("empty text", QByteArray("\0ABC", 4), "HMI 503");
    row("erased", QByteArray(20, '\xFF'), "HMI 503");
    row("zeroed", QByteArray(20, '\0'), "HMI 503");
    row("byte below 32",
        QByteArray("AB\x1F"
                   "C\0",
                   5),
        "HMI 503");
    row("byte above 127",
        QByteArray("AB\x80"
                   "C\0",
                   5),
        "HMI 503");
    row("byte 255 first",
        QByteArray("\xFF"
                   "ABC\0",
                   5),
        "HMI 503");
    row("newline last", QByteArray("ABC\n\0", 5), "HMI 503");
}

void HwsdPlatformIdentityTest::seepromIsReadForAnUnknownCode()
{
    QFETCH(QByteArray, bytes);
    answerCode(503);
    answerSeeprom(bytes);
    QTEST(platform().systemInfoText(), "text");
    QCOMPARE(service().takeCalls(), lines({CodeCall, SeepromCall}));
}

void HwsdPlatformIdentityTest::seepromThatCannotBeReadGivesTheCode_data()
{
    QTest::addColumn<QVariantList>("answer");
    const QByteArray text("Text\0", 5);
    QTest::newRow("error") << ErrorReply;
    QTest::newRow("no argument") << QVariantList();
    QTest::newRow("one argument") << QVariantList{4};
    QTest::newRow("bytes alone") << QVariantList{text};
    QTest::newRow("wrong order") << QVariantList{text, 4};
    QTest::newRow("a text") << QVariantList{4, latin1("Text")};
}

void HwsdPlatformIdentityTest::seepromThatCannotBeReadGivesTheCode()
{
    QFETCH(QVariantList, answer);
    answerCode(517);
    service().answer("readSlvAddr", answer);
    QCOMPARE(platform().systemInfoText(), latin1("HMI 517"));
    QCOMPARE(service().takeCalls(), lines({CodeCall, SeepromCall}));
}

void HwsdPlatformIdentityTest::manufactureCodeIsSignedAndLittleEndian_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("text");
    QTest::newRow("501") << QByteArray::fromHex("F5010000") << latin1("QM310-44LRNA");
    QTest::newRow("more bytes than four") << QByteArray::fromHex("F5010000FFFFFF") << latin1("QM310-44LRNA");
    QTest::newRow("third byte counts") << QByteArray::fromHex("F5010100") << latin1("HMI 66037");
    QTest::newRow("negative") << QByteArray::fromHex("FFFFFFFF") << latin1("HMI -1");
    QTest::newRow("most negative") << QByteArray::fromHex("00000080") << latin1("HMI -2147483648");
    QTest::newRow("most positive") << QByteArray::fromHex("FFFFFF7F") << latin1("HMI 2147483647");
    QTest::newRow("big-endian 501") << QByteArray::fromHex("000001F5") << latin1("HMI -184483840");
}

void HwsdPlatformIdentityTest::manufactureCodeIsSignedAndLittleEndian()
{
    QFETCH(QByteArray, bytes);
    service().answer("manufactureCode", {bytes});
    QTEST(platform().systemInfoText(), "text");
}

void HwsdPlatformIdentityTest::manufactureCodeThatCannotBeReadIsShownAsZero_data()
{
    QTest::addColumn<QVariantList>("answer");
    QTest::newRow("error") << ErrorReply;
    QTest::newRow("no argument") << QVariantList();
    QTest::newRow("a number") << QVariantList{501};
    QTest::newRow("a text") << QVariantList{latin1("501")};
    QTest::newRow("no bytes") << QVariantList{QByteArray("")};
    QTest::newRow("two bytes") << QVariantList{QByteArray::fromHex("F501")};
    QTest::newRow("three bytes") << QVariantList{QByteArray::fromHex("F50100")};
}

// Nor does it have the name of number 0, which is what the blank makes of the second number.
void HwsdPlatformIdentityTest::manufactureCodeThatCannotBeReadIsShownAsZero()
{
    QFETCH(QVariantList, answer);
    QVERIFY(writeNames("501:Panel A, 502:Panel B"));
    service().answer("manufactureCode", answer);
    QCOMPARE(platform().systemInfoText(), latin1("HMI 0"));
    QCOMPARE(service().takeCalls(), lines({CodeCall, SeepromCall}));
}

void HwsdPlatformIdentityTest::codeZeroHasTheNameOfNumberZero()
{
    QVERIFY(writeNames("501:Panel A, 502:Panel B"));
    answerCode(0);
    QCOMPARE(platform().systemInfoText(), latin1("Panel B"));
    QCOMPARE(service().takeCalls(), lines({CodeCall}));
}

void HwsdPlatformIdentityTest::descriptionIsFoundOnceForBothForms_data()
{
    QTest::addColumn<bool>("textFirst");
    QTest::newRow("text first") << true;
    QTest::newRow("block first") << false;
}

void HwsdPlatformIdentityTest::descriptionIsFoundOnceForBothForms()
{
    QFETCH(bool, textFirst);
    answerCode(506);
    char block[64] = {};
    if (textFirst)
        QCOMPARE(platform().systemInfoText(), latin1("QM413-JD562"));
    else
        QVERIFY(platform().systemInfo(block));
    answerCode(501);
    QVERIFY(platform().systemInfo(block));
    QCOMPARE(QByteArray(block, 64), QByteArray("QM413-JD562").append(QByteArray(53, '\0')));
    QCOMPARE(platform().systemInfoText(), latin1("QM413-JD562"));
    QCOMPARE(service().takeCalls(), lines({CodeCall}));
}

void HwsdPlatformIdentityTest::descriptionOutlivesTheServiceAndTheFile()
{
    QVERIFY(writeNames("506:Line 3 panel"));
    answerCode(506);
    QCOMPARE(platform().systemInfoText(), latin1("Line 3 panel"));
    QVERIFY(writeNames("506:Line 4 panel"));
    buses->stopService();
    MessageCatcher messages;
    QCOMPARE(platform().systemInfoText(), latin1("Line 3 panel"));
    QCOMPARE(messages.take(), QStringList());
}

void HwsdPlatformIdentityTest::emptyNameIsAskedForAgain()
{
    QVERIFY(writeNames("506:"));
    answerCode(506);
    QCOMPARE(platform().systemInfoText(), QString());
    QVERIFY(writeNames("506:Line 3 panel"));
    QCOMPARE(platform().systemInfoText(), latin1("Line 3 panel"));
    QCOMPARE(service().takeCalls(), lines({CodeCall, CodeCall}));
}

void HwsdPlatformIdentityTest::blockIsWrittenWithoutTerminator()
{
    QVERIFY(writeNames("506:caf\xE9"));
    answerCode(506);
    char block[64];
    std::memset(block, 'x', sizeof block);
    QVERIFY(platform().systemInfo(block));
    QCOMPARE(QByteArray(block, 64), QByteArray("caf\xE9").append(QByteArray(60, 'x')));
}

void HwsdPlatformIdentityTest::longDescriptionIsCutToTheBlock_data()
{
    QTest::addColumn<int>("length");
    for (const int length : {63, 64, 65, 5000})
        QTest::addRow("%d", length) << length;
}

void HwsdPlatformIdentityTest::longDescriptionIsCutToTheBlock()
{
    QFETCH(int, length);
    const QByteArray name(length, 'n');
    QVERIFY(writeNames("506:" + name));
    answerCode(506);
    QByteArray block(80, 'x');
    QVERIFY(platform().systemInfo(block.data()));
    const int written = qMin(length, 64);
    QCOMPARE(block, name.left(written) + QByteArray(80 - written, 'x'));
    QCOMPARE(platform().systemInfoText(), QString::fromLatin1(name));
}

// The service gives every caller another answer; both threads must still come out with the same text.
void HwsdPlatformIdentityTest::threadsThatAskAtOnceGetOneText()
{
    for (int round = 0; round < 20; ++round) {
        delete HWSDPlatform::instance();
        HWSDPlatform &shared = platform();
        service().answerInTurn("manufactureCode",
                               {QVariantList{codeBytes(501)}, QVariantList{codeBytes(502)}});
        QString texts[2];
        std::atomic<int> ready(0);
        const auto ask = [&ready, &shared](QString &text) {
            ++ready;
            while (ready < 2)
                std::this_thread::yield();
            text = shared.systemInfoText();
        };
        std::thread other(ask, std::ref(texts[0]));
        ask(texts[1]);
        other.join();
        QVERIFY(texts[0] == latin1("QM310-44LRNA") || texts[0] == latin1("QM316-44LRNA"));
        QCOMPARE(texts[1], texts[0]);
        QCOMPARE(shared.systemInfoText(), texts[0]);
    }
}

int main(int argc, char **argv)
{
    enterOwnMountNamespace();
    QCoreApplication application(argc, argv);
    TestBuses ownBuses;
    buses = &ownBuses;
    HwsdPlatformIdentityTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "hwsdplatformidentitytest.moc"
