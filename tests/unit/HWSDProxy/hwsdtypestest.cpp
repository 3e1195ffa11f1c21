#include "hwsdtypes.h"

#include "support/fakeservice.h"
#include "support/privatebus.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QFile>
#include <QtTest>

#include <cstring>
#include <memory>

namespace
{

const char ClientName[] = "hwsdtypes-client";

QByteArray memoryOf(const partitionInfo &info)
{
    return QByteArray(reinterpret_cast<const char *>(&info), sizeof info);
}

QByteArray memoryOf(const systemInfo &info)
{
    return QByteArray(reinterpret_cast<const char *>(&info), sizeof info);
}

QVariant systemInfoOnWire(const QByteArray &first, const QByteArray &second, const QByteArray &third)
{
    QDBusArgument argument;
    argument.beginStructure();
    argument << uchar(1) << uchar(2) << uchar(3) << first << second << uchar(4) << uchar(5) << third
             << uchar(6);
    argument.endStructure();
    return QVariant::fromValue(argument);
}

} // namespace

class HwsdTypesTest : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();

    void recordsArePacked();
    void descriptionsHaveTheRecordsSignatures_data();
    void descriptionsHaveTheRecordsSignatures();
    void newRecordsAreZero();
    void partitionInfoIsWrittenInWireOrder();
    void systemInfoIsWrittenInWireOrder();
    void partitionInfoIsReadFromAnyLength_data();
    void partitionInfoIsReadFromAnyLength();
    void systemInfoIsReadFromAnyLength_data();
    void systemInfoIsReadFromAnyLength();

private:
    // The arguments of the reply to a call of the method.
    QVariantList call(const char *method, const QVariantList &arguments, QString *sentSignature = nullptr);

    std::unique_ptr<PrivateBus> m_daemon;
    std::unique_ptr<FakeService> m_service;
};

void HwsdTypesTest::initTestCase()
{
    registerHwsdTypes();
    registerHwsdTypes();
}

void HwsdTypesTest::init()
{
    m_daemon.reset(new PrivateBus);
    QVERIFY(m_daemon->start());
    m_service.reset(new FakeService(m_daemon->address()));
    QVERIFY(m_service->isOnBus());
    m_service->echo(QStringLiteral("echo"));
    QVERIFY(QDBusConnection::connectToBus(QString::fromLatin1(m_daemon->address()), QLatin1String(ClientName))
                .isConnected());
}

void HwsdTypesTest::cleanup()
{
    QDBusConnection::disconnectFromBus(QLatin1String(ClientName));
    m_service.reset();
    m_daemon.reset();
}

QVariantList HwsdTypesTest::call(const char *method, const QVariantList &arguments, QString *sentSignature)
{
    QDBusMessage message =
        QDBusMessage::createMethodCall(QStringLiteral("com.zelt.HWSD"), QStringLiteral("/"),
                                       QStringLiteral("com.zelt.HWSD"), QLatin1String(method));
    message.setArguments(arguments);
    const QDBusMessage reply = QDBusConnection(QLatin1String(ClientName)).call(message);
    if (sentSignature)
        *sentSignature = reply.signature();
    return reply.arguments();
}

void HwsdTypesTest::recordsArePacked()
{
    QCOMPARE(sizeof(partitionInfo), size_t(24));
    QCOMPARE(sizeof(systemInfo), size_t(16));
}

void HwsdTypesTest::descriptionsHaveTheRecordsSignatures_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QByteArray>("signature");

    QTest::newRow("partitionInfo") << "com.zelt.HWSD.PartitionInfo.xml" << QByteArray("(yyyyay)");
    QTest::newRow("systemInfo") << "com.zelt.HWSD.SystemInfo.xml" << QByteArray("(yyyayayyyayy)");
}

// The generator takes any type string beside an annotation; only people would be misled by a wrong one.
void HwsdTypesTest::descriptionsHaveTheRecordsSignatures()
{
    QFETCH(QString, file);
    QFETCH(QByteArray, signature);
    QFile description(QStringLiteral(MVDP_PROXY_FOLDER "/") + file);
    QVERIFY2(description.open(QIODevice::ReadOnly), qPrintable(description.fileName()));
    QVERIFY(description.readAll().contains("type=\"" + signature + "\""));
}

void HwsdTypesTest::newRecordsAreZero()
{
    QCOMPARE(memoryOf(partitionInfo()), QByteArray(24, '\0'));
    QCOMPARE(memoryOf(systemInfo()), QByteArray(16, '\0'));
}

void HwsdTypesTest::partitionInfoIsWrittenInWireOrder()
{
    partitionInfo info;
    std::memcpy(static_cast<void *>(&info),
                "\x0B\x0C\x0D\x0E"
                "ABCDEFGHIJKLMNOPQRST",
                24);
    QString signature;
    const QVariantList echoed = call("echo", {QVariant::fromValue(info)}, &signature);
    QCOMPARE(signature, QStringLiteral("(yyyyay)"));
    const QDBusArgument argument = echoed.at(0).value<QDBusArgument>();
    uchar bytes[4];
    QByteArray version;
    argument.beginStructure();
    argument >> bytes[0] >> bytes[1] >> bytes[2] >> bytes[3] >> version;
    argument.endStructure();
    QCOMPARE(QByteArray(reinterpret_cast<const char *>(bytes), 4), QByteArray("\x0B\x0C\x0D\x0E"));
    QCOMPARE(version, QByteArray("ABCDEFGHIJKLMNOPQRST"));
}

void HwsdTypesTest::systemInfoIsWrittenInWireOrder()
{
    systemInfo info;
    std::memcpy(static_cast<void *>(&info),
                "\x01\x02\x03"
                "abc"
                "defgh"
                "\x04\x05"
                "ij"
                "\x06",
                16);
    QString signature;
    const QVariantList echoed = call("echo", {QVariant::fromValue(info)}, &signature);
    QCOMPARE(signature, QStringLiteral("(yyyayayyyayy)"));
    const QDBusArgument argument = echoed.at(0).value<QDBusArgument>();
    uchar bytes[6];
    QByteArray arrays[3];
    argument.beginStructure();
    argument >> bytes[0] >> bytes[1] >> bytes[2] >> arrays[0] >> arrays[1] >> bytes[3] >> bytes[4] >>
        arrays[2] >> bytes[5];
    argument.endStructure();
    QCOMPARE(QByteArray(reinterpret_cast<const char *>(bytes), 6), QByteArray("\x01\x02\x03\x04\x05\x06"));
    QCOMPARE(arrays[0], QByteArray("abc"));
    QCOMPARE(arrays[1], QByteArray("defgh"));
    QCOMPARE(arrays[2], QByteArray("ij"));
}

void HwsdTypesTest::partitionInfoIsReadFromAnyLength_data()
{
    QTest::addColumn<QByteArray>("version");
    QTest::addColumn<QByteArray>("field");
    QTest::newRow("exact") << QByteArray("ABCDEFGHIJKLMNOPQRST") << QByteArray("ABCDEFGHIJKLMNOPQRST");
    QTest::newRow("one short") << QByteArray("ABCDEFGHIJKLMNOPQRS")
                               << QByteArray("ABCDEFGHIJKLMNOPQRS\0", 20);
    QTest::newRow("one byte") << QByteArray("A") << QByteArray("A").append(QByteArray(19, '\0'));
    QTest::newRow("empty") << QByteArray("") << QByteArray(20, '\0');
    QTest::newRow("one long") << QByteArray("ABCDEFGHIJKLMNOPQRSTU") << QByteArray("ABCDEFGHIJKLMNOPQRST");
    QTest::newRow("long") << QByteArray(100000, 'x') << QByteArray(20, 'x');
    QTest::newRow("zeros inside") << QByteArray("A\0B", 3)
                                  << QByteArray("A\0B", 3).append(QByteArray(17, '\0'));
}

void HwsdTypesTest::partitionInfoIsReadFromAnyLength()
{
    QFETCH(QByteArray, version);
    QFETCH(QByteArray, field);
    m_service->answer(QStringLiteral("info"), {partitionInfoOnWire(version)});
    const QVariantList reply = call("info", {});
    QCOMPARE(reply.size(), 1);
    partitionInfo info;
    std::memset(static_cast<void *>(&info), 0xEE, sizeof info);
    reply.at(0).value<QDBusArgument>() >> info;
    QCOMPARE(memoryOf(info), "\x01\x02\x03\x04" + field);
}

void HwsdTypesTest::systemInfoIsReadFromAnyLength_data()
{
    QTest::addColumn<QList<QByteArray>>("arrays");
    QTest::addColumn<QByteArray>("memory");
    const auto row = [](const char *name, const QList<QByteArray> &arrays, const char *memory) {
        QTest::newRow(name) << arrays << QByteArray(memory, 16);
    };
    row("exact", {"abc", "defgh", "ij"},
        "\x01\x02\x03"
        "abc"
        "defgh"
        "\x04\x05"
        "ij"
        "\x06");
    row("short", {"ab", "defg", "i"},
        "\x01\x02\x03"
        "ab\0"
        "defg\0"
        "\x04\x05"
        "i\0"
        "\x06");
    row("empty", {"", "", ""},
        "\x01\x02\x03"
        "\0\0\0"
        "\0\0\0\0\0"
        "\x04\x05"
        "\0\0"
        "\x06");
    row("long", {"abcX", "defghXXX", "ijX"},
        "\x01\x02\x03"
        "abc"
        "defgh"
        "\x04\x05"
        "ij"
        "\x06");
    row("very long", {QByteArray(5000, 'a'), QByteArray(5000, 'b'), QByteArray(5000, 'c')},
        "\x01\x02\x03"
        "aaa"
        "bbbbb"
        "\x04\x05"
        "cc"
        "\x06");
}

void HwsdTypesTest::systemInfoIsReadFromAnyLength()
{
    QFETCH(QList<QByteArray>, arrays);
    QFETCH(QByteArray, memory);
    m_service->answer(QStringLiteral("info"), {systemInfoOnWire(arrays.at(0), arrays.at(1), arrays.at(2))});
    const QVariantList reply = call("info", {});
    QCOMPARE(reply.size(), 1);
    systemInfo info;
    std::memset(static_cast<void *>(&info), 0xEE, sizeof info);
    reply.at(0).value<QDBusArgument>() >> info;
    QCOMPARE(memoryOf(info), memory);
}

QTEST_GUILESS_MAIN(HwsdTypesTest)

#include "hwsdtypestest.moc"
