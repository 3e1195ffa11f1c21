#include "hwsdtypes.h"

#include "support/fakeservice.h"
#include "support/privatebus.h"

#include <QtCore/QFile>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>
#include <QtTest/QtTest>

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
    argument << uchar('a') << uchar('b') << uchar('c') << first << second << uchar('d') << uchar('e') << third
             << uchar('f');
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
    QDBusMessage call(const char *method, const QVariantList &arguments = {});
    // The wire form of a structure: its signature, and its bytes as letters, those of an array in brackets.
    QString onWire(const QVariant &structure);

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
    m_service->echo("echo");
    QVERIFY(QDBusConnection::connectToBus(QString::fromLatin1(m_daemon->address()), QLatin1String(ClientName))
                .isConnected());
}

void HwsdTypesTest::cleanup()
{
    QDBusConnection::disconnectFromBus(QLatin1String(ClientName));
    m_service.reset();
    m_daemon.reset();
}

QDBusMessage HwsdTypesTest::call(const char *method, const QVariantList &arguments)
{
    QDBusMessage message =
        QDBusMessage::createMethodCall(QStringLiteral("com.zelt.HWSD"), QStringLiteral("/"),
                                       QStringLiteral("com.zelt.HWSD"), QLatin1String(method));
    message.setArguments(arguments);
    return QDBusConnection(QLatin1String(ClientName)).call(message);
}

QString HwsdTypesTest::onWire(const QVariant &structure)
{
    const QDBusMessage echoed = call("echo", {structure});
    const QDBusArgument argument = echoed.arguments().value(0).value<QDBusArgument>();
    QString text = echoed.signature();
    argument.beginStructure();
    while (!argument.atEnd()) {
        const QVariant field = argument.asVariant();
        text += field.userType() == QMetaType::UChar
                    ? QLatin1Char(' ') + QString(QLatin1Char(char(field.toUInt())))
                    : QStringLiteral(" [%1]").arg(QString::fromLatin1(field.toByteArray()));
    }
    argument.endStructure();
    return text;
}

void HwsdTypesTest::descriptionsHaveTheRecordsSignatures_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QByteArray>("signature");

    QTest::newRow("partitionInfo") << "com.zelt.HWSD.PartitionInfo.xml" << QByteArray("(yyyyay)");
    QTest::newRow("systemInfo") << "com.zelt.HWSD.SystemInfo.xml" << QByteArray("(yyyayayyyayy)");
}

// The generator ignores the type string beside an annotation, so only this test finds a wrong one.
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
    std::memcpy(static_cast<void *>(&info), "abcdABCDEFGHIJKLMNOPQRST", 24);
    QCOMPARE(onWire(QVariant::fromValue(info)), QStringLiteral("(yyyyay) a b c d [ABCDEFGHIJKLMNOPQRST]"));
}

void HwsdTypesTest::systemInfoIsWrittenInWireOrder()
{
    systemInfo info;
    std::memcpy(static_cast<void *>(&info), "abcDEFGHIJKdeLMf", 16);
    QCOMPARE(onWire(QVariant::fromValue(info)),
             QStringLiteral("(yyyayayyyayy) a b c [DEF] [GHIJK] d e [LM] f"));
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
    m_service->answer("info", {partitionInfoOnWire(version)});
    const QVariantList reply = call("info").arguments();
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
    row("exact", {"DEF", "GHIJK", "LM"}, "abcDEFGHIJKdeLMf");
    row("short", {"DE", "GHIJ", "L"}, "abcDE\0GHIJ\0deL\0f");
    row("empty", {"", "", ""}, "abc\0\0\0\0\0\0\0\0de\0\0f");
    row("long", {"DEFX", "GHIJKXXX", "LMX"}, "abcDEFGHIJKdeLMf");
    row("very long", {QByteArray(5000, 'D'), QByteArray(5000, 'G'), QByteArray(5000, 'L')},
        "abcDDDGGGGGdeLLf");
}

void HwsdTypesTest::systemInfoIsReadFromAnyLength()
{
    QFETCH(QList<QByteArray>, arrays);
    QFETCH(QByteArray, memory);
    m_service->answer("info", {systemInfoOnWire(arrays.at(0), arrays.at(1), arrays.at(2))});
    const QVariantList reply = call("info").arguments();
    QCOMPARE(reply.size(), 1);
    systemInfo info;
    std::memset(static_cast<void *>(&info), 0xEE, sizeof info);
    reply.at(0).value<QDBusArgument>() >> info;
    QCOMPARE(memoryOf(info), memory);
}

QTEST_GUILESS_MAIN(HwsdTypesTest)

#include "hwsdtypestest.moc"
