#include "backlightinterface.h"
#include "buzzerinterface.h"
#include "hwplugininterface.h"
#include "hwsdinterface.h"
#include "hwsdtypes.h"
#include "i2cseeprominterface.h"
#include "networkmanagerinterface.h"
#include "partitioninfointerface.h"
#include "securityinterface.h"
#include "splashimageinfointerface.h"
#include "storagemgrinterface.h"
#include "support/fakeservice.h"
#include "support/privatebus.h"
#include "support/texts.h"
#include "systeminfointerface.h"
#include "timemgrinterface.h"

#include <QtCore/QMetaMethod>
#include <QtCore/QRegularExpression>
#include <QtTest/QtTest>

#include <functional>
#include <memory>

namespace
{

using ProxyMaker = std::function<QDBusAbstractInterface *(const QDBusConnection &)>;

// One proxy class, as the service's catalogue has it.
struct Proxy {
    const QMetaObject *metaObject;
    const char *className;
    const char *interfaceName;
    const char *actualInterfaceName;
    ProxyMaker make;
    QStringList signalLines; // "name(type name,...)"; without names where the catalogue gives none
    QStringList methodLines; // "name(type name,...) content of the reply", in the order of the slots
};

template <class Class>
Proxy proxy(const char *className, const char *interfaceName, const QStringList &signalLines,
            const QStringList &methodLines)
{
    const ProxyMaker make = [](const QDBusConnection &bus) {
        return new Class(QStringLiteral("com.zelt.HWSD"), QStringLiteral("/Some/Path"), bus, nullptr);
    };
    return {&Class::staticMetaObject,
            className,
            interfaceName,
            Class::staticInterfaceName(),
            make,
            signalLines,
            methodLines};
}

const Proxy Proxies[] = {
    proxy<ComZeltHWSDInterface>(
        "ComZeltHWSDInterface", "com.zelt.HWSD", {"error(QString error)", "mousePlugEvent(int bPlugged)"},
        {"checkImage(QString imageType) QDBusObjectPath", "clearTimeCounters(int which) int",
         "downloadImage(QString imageType,QString source,QString sourceMd5,bool checkMd5) QDBusObjectPath",
         "dualBootMode() QString", "formatImage(QString imageType) QDBusObjectPath", "getBlightCounter() int",
         "getScreenOrientation() int", "getSysCounter() int", "lockScreen(QString display) int",
         "lockScreenSupported() int", "mouseNotification(int bPlugged) ", "mouseStatus(QString display) int",
         "restartSystem() int", "restartSystemWithImage(int imageType) int",
         "setScreenOrientation(int angle) int", "unlockScreen(QString display) int",
         "uploadImage(QString imageType,QString destination,bool checkMd5) QDBusObjectPath",
         "uploadRawImage(QString imageType,QString destination,bool checkMd5) QDBusObjectPath"}),
    proxy<ComZeltHWSDBacklightInterface>(
        "ComZeltHWSDBacklightInterface", "com.zelt.HWSD.Backlight", {"error(QString)"},
        {"backlightTimeout(QString displayName) int", "getBrightness() int", "offBrightness() int",
         "saveBrightness(int value) int", "setBacklightTimeout(QString displayName,int value) int",
         "setBrightness(int value) int", "syncBrightness() int"}),
    proxy<ComZeltHWSDBuzzerInterface>(
        "ComZeltHWSDBuzzerInterface", "com.zelt.HWSD.Buzzer", {"error(QString)"},
        {"GetBuzzerFrequency() int", "GetBuzzerMode() int", "GetBuzzerOffTime() int", "GetBuzzerOnTime() int",
         "GetBuzzerUserControl() int", "SetBuzzerFrequency(int freq) int", "SetBuzzerMode(int mode) int",
         "SetBuzzerOffTime(int time) int", "SetBuzzerOnTime(int time) int",
         "SetBuzzerUserControl(int control) int", "beep(int freq,int time) int"}),
    proxy<ComZeltHWSDHWPluginInterface>(
        "ComZeltHWSDHWPluginInterface", "com.zelt.HWSD.HWPlugin", {"error(QString)"},
        {"seepromRead(uchar plid,uchar addr,uint length) int,QByteArray",
         "seepromRead(uchar plid,uchar addr,uint length,QByteArray& data) blocking",
         "seepromWrite(uchar plid,uchar addr,QByteArray data) int", "signature() sSEEModule",
         "signatureFunctArea() QByteArray", "signatureHCode() uchar", "signatureHSubCode() uchar",
         "signatureName() QByteArray", "signatureXCode() uchar", "signatureXSubCode() uchar"}),
    proxy<ComZeltHWSDI2CSEEPROMInterface>(
        "ComZeltHWSDI2CSEEPROMInterface", "com.zelt.HWSD.I2CSEEPROM", {"error(QString)"},
        {"bitInSWModuleFlagArea(uint bitIndex) bool", "read(uchar addr,uint length) int,QByteArray",
         "read(uchar addr,uint length,QByteArray& data) blocking",
         "readSlvAddr(uchar slvAddr,uchar addr,uint length) int,QByteArray",
         "readSlvAddr(uchar slvAddr,uchar addr,uint length,QByteArray& data) blocking",
         "write(uchar addr,QByteArray data) int",
         "writeSlvAddr(uchar slvAddr,uchar addr,QByteArray data) int"}),
    proxy<ComZeltHWSDPartitionInfoInterface>(
        "ComZeltHWSDPartitionInfoInterface", "com.zelt.HWSD.PartitionInfo", {"error(QString error)"},
        {"day() uchar", "info() partitionInfo", "month() uchar", "version() QByteArray", "year() uchar"}),
    proxy<ComZeltHWSDSecurityInterface>(
        "ComZeltHWSDSecurityInterface", "com.zelt.HWSD.Security", {"error(QString error)"},
        {"changePassword(QString userName,QString oldPassword,QString newPassword) int",
         "checkPassword(QString userName,QString password) int"}),
    proxy<ComZeltHWSDSplashImageInfoInterface>("ComZeltHWSDSplashImageInfoInterface",
                                               "com.zelt.HWSD.SplashImageInfo", {"error(QString error)"},
                                               {"info() splashImageInfo", "x() uint", "y() uint"}),
    proxy<ComZeltHWSDStorageMgrInterface>(
        "ComZeltHWSDStorageMgrInterface", "com.zelt.HWSD.StorageMgr", {"error(QString error)"},
        {"getDynamicStorageDeviceList() QString", "getHMIInstallationFolder() QString",
         "getSDCardMountPoint() QString", "getSecurityMarginInOSForFlash() int",
         "getStorageDeviceList() QString", "getStorageInfo(QString storageName) hwsdStorageInfo",
         "getUSBMountPoint() QString", "getUserSpaceMountPoint() QString",
         "isAppRunning(QString appName) int"}),
    proxy<ComZeltHWSDSystemInfoInterface>("ComZeltHWSDSystemInfoInterface", "com.zelt.HWSD.SystemInfo", {},
                                          {"day() uchar", "hwCode() uchar", "hwDispID() uchar",
                                           "hwSubCode() uchar", "info() systemInfo",
                                           "manufactureCode() QByteArray", "moduleName() QByteArray",
                                           "month() uchar", "serialNo() QByteArray", "year() uchar"}),
    proxy<ComZeltHWSDTimeMgrInterface>(
        "ComZeltHWSDTimeMgrInterface", "com.zelt.HWSD.TimeMgr", {"error(QString error)"},
        {"getTZENVFile() QString", "getTimeZoneInfo() timeZoneInfo",
         "setTimeZoneInfo(timeZoneInfo newTimeZone) int", "updateTimeZoneInfo() int"}),
    proxy<ComZeltHWSDNetworkManagerInterface>(
        "ComZeltHWSDNetworkManagerInterface", "com.zelt.HWSD.NetworkManager", {"error(QString)"},
        {"getConfigJSON() QString", "getInterfaceConfig(QString ifname) QString",
         "setInterfaceConfigJSON(QString interface,QString config) int",
         "setConfigJSON(QString interface) int", "applyNewConfiguration() int", "resetConfiguration() int"}),
};

// A method in the form of the table; parameter names only if the table's line has them.
QString describe(const QMetaMethod &method, const QString &tableLine)
{
    const bool named = tableLine.section(QLatin1Char(')'), 0, 0).contains(QLatin1Char(' '));
    QStringList parameters;
    for (int i = 0; i < method.parameterCount(); ++i) {
        QString parameter = QString::fromLatin1(method.parameterTypes().at(i));
        if (named)
            parameter += QLatin1Char(' ') + QString::fromLatin1(method.parameterNames().at(i));
        parameters.append(parameter);
    }
    return QString::fromLatin1(method.name()) + QLatin1Char('(') + parameters.join(QLatin1Char(',')) +
           QLatin1Char(')');
}

QString replyType(const QString &tableLine)
{
    const QString content = tableLine.section(QStringLiteral(") "), 1);
    return content == QLatin1String("blocking") ? QStringLiteral("QDBusReply<int>")
                                                : QStringLiteral("QDBusPendingReply<%1>").arg(content);
}

// An argument of a type, with a value that depends on its place; and its form in the fake service's notes.
struct Sample {
    QVariant value;
    QString noted;
};

Sample sampleOf(const QString &type, int place)
{
    if (type == QLatin1String("QString"))
        return {QStringLiteral("text%1").arg(place), QStringLiteral("s:text%1").arg(place)};
    if (type == QLatin1String("int"))
        return {-70000 - place, QStringLiteral("i:%1").arg(-70000 - place)};
    if (type == QLatin1String("uint"))
        return {3000000000u + uint(place), QStringLiteral("u:%1").arg(3000000000u + uint(place))};
    if (type == QLatin1String("uchar"))
        return {QVariant::fromValue(uchar(200 + place)), QStringLiteral("y:%1").arg(200 + place)};
    if (type == QLatin1String("bool"))
        return {true, QStringLiteral("b:true")};
    if (type == QLatin1String("QByteArray"))
        return {QByteArray("\x00\xFF\x05", 3), QStringLiteral("ay:00ff05")};
    return {QVariant(), QStringLiteral("no sample of ") + type};
}

QStringList parameterTypes(const QString &tableLine)
{
    const QString inside = tableLine.section(QLatin1Char('('), 1).section(QLatin1Char(')'), 0, 0);
    QStringList types;
    for (const QString &parameter : inside.split(QLatin1Char(','))) {
        if (!parameter.isEmpty())
            types.append(parameter.section(QLatin1Char(' '), 0, 0));
    }
    return types;
}

// The blocking reads have tests of their own, and types without marshalling cannot be sent or received.
bool cannotBeCalledHere(const QString &tableLine)
{
    const QRegularExpression kinds(
        QStringLiteral("blocking|sSEEModule|splashImageInfo|timeZoneInfo|hwsdStorageInfo"));
    return kinds.match(tableLine).hasMatch();
}

} // namespace

class ProxiesTest : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { registerHwsdTypes(); }

    void metaObjectIsThatOfTheCatalogue_data() { eachProxy(); }
    void metaObjectIsThatOfTheCatalogue();
    void methodSendsItsArgumentsInOrder_data() { eachProxy(); }
    void methodSendsItsArgumentsInOrder();
    void blockingReadStoresTheSecondOfTwoArguments_data();
    void blockingReadStoresTheSecondOfTwoArguments();
    void callOfAnAbsentServiceIsAnErrorReply();

private:
    void eachProxy();
};

void ProxiesTest::eachProxy()
{
    QTest::addColumn<int>("index");
    int index = 0;
    for (const Proxy &one : Proxies)
        QTest::newRow(one.className) << index++;
    QCOMPARE(index, 12);
}

void ProxiesTest::metaObjectIsThatOfTheCatalogue()
{
    QFETCH(int, index);
    const Proxy &expected = Proxies[index];
    const QMetaObject &actual = *expected.metaObject;
    QCOMPARE(QByteArray(actual.className()), QByteArray(expected.className));
    QCOMPARE(QByteArray(expected.actualInterfaceName), QByteArray(expected.interfaceName));
    QCOMPARE(actual.superClass(), &QDBusAbstractInterface::staticMetaObject);
    QCOMPARE(actual.propertyCount(), actual.propertyOffset());
    QCOMPARE(actual.enumeratorCount(), actual.enumeratorOffset());

    const QStringList lines = expected.signalLines + expected.methodLines;
    QStringList described;
    for (int i = actual.methodOffset(); i < actual.methodCount(); ++i) {
        const QMetaMethod method = actual.method(i);
        const QString line = lines.value(i - actual.methodOffset());
        described.append(describe(method, line));
        const bool signal = i - actual.methodOffset() < expected.signalLines.size();
        QCOMPARE(method.methodType(), signal ? QMetaMethod::Signal : QMetaMethod::Slot);
        QCOMPARE(method.access(), QMetaMethod::Public);
        QCOMPARE(QString::fromLatin1(method.typeName()), signal ? QStringLiteral("void") : replyType(line));
    }
    QStringList signatures;
    for (const QString &line : lines)
        signatures.append(line.section(QLatin1Char(')'), 0, 0) + QLatin1Char(')'));
    QCOMPARE(described, signatures);
}

void ProxiesTest::methodSendsItsArgumentsInOrder()
{
    QFETCH(int, index);
    const Proxy &expected = Proxies[index];
    PrivateBus daemon;
    QVERIFY(daemon.start());
    FakeService service(daemon.address());
    QVERIFY(service.isOnBus());
    const QString name = QStringLiteral("client-%1").arg(index);
    const std::unique_ptr<QDBusAbstractInterface> made(
        expected.make(QDBusConnection::connectToBus(QString::fromLatin1(daemon.address()), name)));
    QVERIFY(made->isValid());
    QCOMPARE(made->service(), QStringLiteral("com.zelt.HWSD"));
    QCOMPARE(made->path(), QStringLiteral("/Some/Path"));
    QCOMPARE(made->interface(), QString::fromLatin1(expected.interfaceName));

    const int firstMethod = expected.metaObject->methodOffset() + int(expected.signalLines.size());
    for (int i = 0; i < expected.methodLines.size(); ++i) {
        const QString &line = expected.methodLines.at(i);
        if (cannotBeCalledHere(line))
            continue;
        QList<Sample> samples;
        QStringList noted;
        for (const QString &type : parameterTypes(line)) {
            samples.append(sampleOf(type, int(samples.size())));
            noted.append(samples.last().noted);
        }
        QGenericArgument arguments[4];
        QVERIFY(samples.size() <= 4);
        for (int argument = 0; argument < samples.size(); ++argument)
            arguments[argument] = QGenericArgument(samples.at(argument).value.typeName(),
                                                   samples.at(argument).value.constData());
        QVERIFY(expected.metaObject->method(firstMethod + i)
                    .invoke(made.get(), arguments[0], arguments[1], arguments[2], arguments[3]));
        const QString call = QStringLiteral("/Some/Path %1.%2(%3)")
                                 .arg(QLatin1String(expected.interfaceName),
                                      line.section(QLatin1Char('('), 0, 0), noted.join(QLatin1Char(',')));
        QCOMPARE(service.waitForCalls(1), QStringList(call));
    }
    QDBusConnection::disconnectFromBus(name);
}

void ProxiesTest::blockingReadStoresTheSecondOfTwoArguments_data()
{
    QTest::addColumn<QVariantList>("reply");
    QTest::addColumn<QByteArray>("stored");
    const QByteArray asItWas("old"), received("a\0b", 3);
    QTest::newRow("two arguments") << QVariantList{-7, received} << received;
    QTest::newRow("error") << ErrorReply << asItWas;
    QTest::newRow("no argument") << QVariantList() << asItWas;
    QTest::newRow("one argument") << QVariantList{0} << asItWas;
    QTest::newRow("three arguments") << QVariantList{0, received, 1} << asItWas;
}

void ProxiesTest::blockingReadStoresTheSecondOfTwoArguments()
{
    QFETCH(QVariantList, reply);
    QFETCH(QByteArray, stored);
    PrivateBus daemon;
    QVERIFY(daemon.start());
    FakeService service(daemon.address());
    for (const char *method : {"read", "readSlvAddr", "seepromRead"})
        service.answer(method, reply);
    const QString name = QStringLiteral("blocking-client");
    {
        const QDBusConnection bus =
            QDBusConnection::connectToBus(QString::fromLatin1(daemon.address()), name);
        const QString serviceName = QStringLiteral("com.zelt.HWSD");
        ComZeltHWSDI2CSEEPROMInterface seeprom(serviceName, QStringLiteral("/I2CSEEPROM"), bus);
        ComZeltHWSDHWPluginInterface plugin(serviceName, QStringLiteral("/HWPlugin"), bus);
        QByteArray data[] = {"old", "old", "old"};
        const QDBusReply<int> replies[] = {seeprom.read(uchar(1), 2u, data[0]),
                                           seeprom.readSlvAddr(uchar(3), uchar(4), 5u, data[1]),
                                           plugin.seepromRead(uchar(6), uchar(7), 8u, data[2])};
        for (int i = 0; i < 3; ++i) {
            QCOMPARE(data[i], stored);
            if (stored != "old")
                QCOMPARE(replies[i].value(), -7);
        }
    }
    QCOMPARE(service.takeCalls(), lines({"/I2CSEEPROM com.zelt.HWSD.I2CSEEPROM.read(y:1,u:2)",
                                         "/I2CSEEPROM com.zelt.HWSD.I2CSEEPROM.readSlvAddr(y:3,y:4,u:5)",
                                         "/HWPlugin com.zelt.HWSD.HWPlugin.seepromRead(y:6,y:7,u:8)"}));
    QDBusConnection::disconnectFromBus(name);
}

void ProxiesTest::callOfAnAbsentServiceIsAnErrorReply()
{
    PrivateBus daemon;
    QVERIFY(daemon.start());
    const QString name = QStringLiteral("lonely-client");
    {
        ComZeltHWSDNetworkManagerInterface proxy(
            QStringLiteral("com.zelt.HWSD"), QStringLiteral("/NetworkManager"),
            QDBusConnection::connectToBus(QString::fromLatin1(daemon.address()), name));
        QVERIFY(!proxy.isValid());
        QDBusPendingReply<QString> reply = proxy.getInterfaceConfig(QStringLiteral("eth0"));
        reply.waitForFinished();
        QVERIFY(reply.isError());
        QCOMPARE(reply.error().type(), QDBusError::ServiceUnknown);
    }
    QDBusConnection::disconnectFromBus(name);
}

QTEST_GUILESS_MAIN(ProxiesTest)

#include "proxiestest.moc"
