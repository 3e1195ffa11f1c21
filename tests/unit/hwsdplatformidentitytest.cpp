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
#include <functional>
#include <thread>

// The factory settings file is at its fixed path, in the test's own mount namespace.

namespace
{

TestBuses *buses = nullptr;

const char FactoryFile[] = "/mnt/factory/machine.ini";

// Writes the factory's file with this table of names.
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
    void descriptionWithoutANameIsThatOfCodeOrSeeprom_data();
    void descriptionWithoutANameIsThatOfCodeOrSeeprom();
    void codeZeroHasTheNameOfNumberZero();

    void descriptionIsFoundOnceForBothForms();
    void descriptionOutlivesTheServiceAndTheFile();
    void emptyNameIsAskedForAgain();
    void blockTakesWhatFitsWithoutTerminator();
    void threadsThatAskAtOnceGetOneText();

private:
    static HWSDPlatform &platform() { return *HWSDPlatform::instance(); }
    static FakeService &service() { return buses->service(); }
    static void answerCode(qint32 code) { service().answer("manufactureCode", {codeBytes(code)}); }
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
    // A number is not limited to its byte: 256 is bit 24, and 999 is 0x3E7.
    row("V00256000", 0x01000000u);
    row("V01256000", 0x01000000u);
    row("V02256000", 0x03000000u);
    row("V00999000", 0x03E70000u);
    row("V99999999", 99u << 24 | 999u << 16 | 99u << 8 | 9u);
    // A part that is no number counts as 0; each part is read separately.
    row("Vab234567", 234u << 16 | 56u << 8 | 7u);
    row("V01x34567", 0x01u << 24 | 56u << 8 | 7u);
    row("V012345.7", 0x01u << 24 | 234u << 16 | 7u);
    row("V0123456x", 0x01u << 24 | 234u << 16 | 56u << 8);
    row("VVVVVVVVV", 0);
    // White space around the digits of a part is ignored.
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

void HwsdPlatformIdentityTest::descriptionWithoutANameIsThatOfCodeOrSeeprom_data()
{
    QTest::addColumn<QVariantList>("code");
    QTest::addColumn<QVariantList>("seeprom");
    QTest::addColumn<QString>("text");
    // A code is four bytes, the lowest first. 501 is a model, 503 is none.
    const auto code = [](const char *name, const char *hex, const char *text) {
        QTest::addRow("code %s", name)
            << QVariantList{QByteArray::fromHex(hex)} << ErrorReply << latin1(text);
    };
    code("of a model", "F5010000", "QM310-44LRNA");
    code("with more bytes than four", "F5010000FFFFFF", "QM310-44LRNA");
    code("whose third byte counts", "F5010100", "HMI 66037");
    code("-1", "FFFFFFFF", "HMI -1");
    code("most negative", "00000080", "HMI -2147483648");
    code("most positive", "FFFFFF7F", "HMI 2147483647");
    code("big-endian", "000001F5", "HMI -184483840");
    const auto noCode = [](const char *name, const QVariantList &answer) {
        QTest::addRow("no code, %s", name) << answer << ErrorReply << latin1("HMI 0");
        QTest::addRow("no code but a board, %s", name)
            << answer << QVariantList{20, QByteArray("Board\0", 6)} << latin1("Board");
    };
    noCode("error", ErrorReply);
    noCode("no argument", {});
    noCode("a number", {501});
    noCode("a text", {latin1("501")});
    noCode("no bytes", {QByteArray("")});
    noCode("three bytes", {QByteArray::fromHex("F50100")});
    const QVariantList unknown{QByteArray::fromHex("F7010000")};
    const auto board = [&unknown](const char *name, const QByteArray &bytes, const char *text = "HMI 503") {
        QTest::addRow("board, %s", name) << unknown << QVariantList{20, bytes} << latin1(text);
    };
    board("text and an end", QByteArray("Special 7\0", 10), "Special 7");
    board("text, an end and noise", QByteArray("Special 7\0\xFF\x01X", 13), "Special 7");
    board("one character", QByteArray("A\0", 2), "A");
    board("first and last allowed bytes", QByteArray(" \x7F\0", 3), " \x7F");
    board("blank alone", QByteArray(" \0", 2), " ");
    board("end in the last of twenty", QByteArray("ABCDEFGHIJKLMNOPQRS\0", 20), "ABCDEFGHIJKLMNOPQRS");
    board("longer than asked for", QByteArray("ABCDEFGHIJKLMNOPQRSTUVWXYZ\0", 27),
          "ABCDEFGHIJKLMNOPQRSTUVWXYZ");
    board("no end", QByteArray("ABCDEFGHIJKLMNOPQRST"));
    board("empty", QByteArray(""));
    board("empty text", QByteArray("\0ABC", 4));
    board("erased", QByteArray(20, '\xFF'));
    board("byte below 32", QByteArray("AB\x1FX\0", 5));
    board("byte above 127", QByteArray("AB\x80X\0", 5));
    board("byte 255 first", QByteArray("\xFFX\0", 3));
    board("newline last", QByteArray("ABC\n\0", 5));
    const auto noBoard = [&unknown](const char *name, const QVariantList &answer) {
        QTest::addRow("no board, %s", name) << unknown << answer << latin1("HMI 503");
    };
    const QByteArray text("Text\0", 5);
    noBoard("error", ErrorReply);
    noBoard("no argument", {});
    noBoard("one argument", {4});
    noBoard("bytes alone", {text});
    noBoard("wrong order", {text, 4});
    noBoard("a text", {4, latin1("Text")});
}

// A blank second number of the table reads as 0. Its name must not be given to a code that cannot be read.
void HwsdPlatformIdentityTest::descriptionWithoutANameIsThatOfCodeOrSeeprom()
{
    QFETCH(QVariantList, code);
    QFETCH(QVariantList, seeprom);
    QFETCH(QString, text);
    QVERIFY(writeNames("511:Panel A, 512:Panel B"));
    service().answer("manufactureCode", code);
    service().answer("readSlvAddr", seeprom);
    QCOMPARE(platform().systemInfoText(), text);
    QCOMPARE(service().takeCalls(),
             text == latin1("QM310-44LRNA") ? lines({CodeCall}) : lines({CodeCall, SeepromCall}));
}

void HwsdPlatformIdentityTest::codeZeroHasTheNameOfNumberZero()
{
    QVERIFY(writeNames("501:Panel A, 502:Panel B"));
    answerCode(0);
    QCOMPARE(platform().systemInfoText(), latin1("Panel B"));
    QCOMPARE(service().takeCalls(), lines({CodeCall}));
}

void HwsdPlatformIdentityTest::descriptionIsFoundOnceForBothForms()
{
    for (const bool textFirst : {true, false}) {
        delete HWSDPlatform::instance();
        char block[64] = {};
        service().answerInTurn("manufactureCode", {{codeBytes(506)}, {codeBytes(501)}});
        if (textFirst)
            QCOMPARE(platform().systemInfoText(), latin1("QM413-JD562"));
        QVERIFY(platform().systemInfo(block));
        QCOMPARE(QByteArray(block, 64), QByteArray("QM413-JD562").append(QByteArray(53, '\0')));
        QCOMPARE(platform().systemInfoText(), latin1("QM413-JD562"));
        QCOMPARE(service().takeCalls(), lines({CodeCall}));
    }
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

void HwsdPlatformIdentityTest::blockTakesWhatFitsWithoutTerminator()
{
    answerCode(506);
    for (const QByteArray &name : {QByteArray("caf\xE9"), QByteArray(63, 'n'), QByteArray(64, 'n'),
                                   QByteArray(65, 'n'), QByteArray(5000, 'n')}) {
        delete HWSDPlatform::instance();
        QVERIFY(writeNames("506:" + name));
        QByteArray block(80, 'x');
        QVERIFY(platform().systemInfo(block.data()));
        QCOMPARE(block, (name.left(64) + QByteArray(80, 'x')).left(80));
        QCOMPARE(platform().systemInfoText(), QString::fromLatin1(name));
    }
}

// The service gives each caller another answer; both threads must still return the same text.
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
