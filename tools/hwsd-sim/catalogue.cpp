#include "catalogue.h"

#include "methods.h"

#include <QtCore/QStringList>

namespace
{

const char Root[] = "com.zelt.HWSD";
const char Backlight[] = "com.zelt.HWSD.Backlight";
const char Buzzer[] = "com.zelt.HWSD.Buzzer";
const char Plugin[] = "com.zelt.HWSD.HWPlugin";
const char Seeprom[] = "com.zelt.HWSD.I2CSEEPROM";
const char Partition[] = "com.zelt.HWSD.PartitionInfo";
const char Security[] = "com.zelt.HWSD.Security";
const char Splash[] = "com.zelt.HWSD.SplashImageInfo";
const char Storage[] = "com.zelt.HWSD.StorageMgr";
const char System[] = "com.zelt.HWSD.SystemInfo";
const char Time[] = "com.zelt.HWSD.TimeMgr";
const char NetworkManager[] = "com.zelt.HWSD.NetworkManager";

// The signatures of the structures. Those of partitionInfo and systemInfo are the service's; the layouts of
// the other four are the simulation's own and documented in the manual page.
const char PartitionInfo[] = "(yyyyay)";
const char SystemInfo[] = "(yyyayayyyayy)";
const char SeeModule[] = "(yyyyayay)";
const char SplashImageInfo[] = "(uuuu)";
const char StorageInfo[] = "(ssuub)";
const char TimeZoneInfo[] = "(ssib)";

// clang-format off
const QVector<Method> Methods = {
    {Root, "checkImage", "s", "imageType", "o", startImageJob},
    {Root, "clearTimeCounters", "i", "which", "i", clearTimeCounters},
    {Root, "downloadImage", "sssb", "imageType,source,sourceMd5,checkMd5", "o", startImageJob},
    {Root, "dualBootMode", "", "", "s", dualBootMode},
    {Root, "formatImage", "s", "imageType", "o", startImageJob},
    {Root, "getBlightCounter", "", "", "i", deviceNumber("backlightHours")},
    {Root, "getScreenOrientation", "", "", "i", deviceNumber("screenOrientation")},
    {Root, "getSysCounter", "", "", "i", deviceNumber("systemHours")},
    {Root, "lockScreen", "s", "display", "i", lockScreen(1)},
    {Root, "lockScreenSupported", "", "", "i", deviceNumber("lockScreenSupported")},
    {Root, "mouseNotification", "i", "bPlugged", "", mouseNotification},
    {Root, "mouseStatus", "s", "display", "i", deviceNumber("mousePlugged")},
    {Root, "restartSystem", "", "", "i", restartSystem},
    {Root, "restartSystemWithImage", "i", "imageType", "i", restartSystem},
    {Root, "setScreenOrientation", "i", "angle", "i", setScreenOrientation},
    {Root, "unlockScreen", "s", "display", "i", lockScreen(0)},
    {Root, "uploadImage", "ssb", "imageType,destination,checkMd5", "o", startImageJob},
    {Root, "uploadRawImage", "ssb", "imageType,destination,checkMd5", "o", startImageJob},

    {Backlight, "backlightTimeout", "s", "displayName", "i", deviceNumber("backlightTimeout")},
    {Backlight, "getBrightness", "", "", "i", deviceNumber("brightness")},
    {Backlight, "offBrightness", "", "", "i", deviceNumber("offBrightness")},
    {Backlight, "saveBrightness", "i", "value", "i", setDeviceNumber("brightness", 0, 255)},
    {Backlight, "setBacklightTimeout", "si", "displayName,value", "i", setDeviceNumber("backlightTimeout", 0, 86400)},
    {Backlight, "setBrightness", "i", "value", "i", setDeviceNumber("brightness", 0, 255)},
    {Backlight, "syncBrightness", "", "", "i", succeed},

    {Buzzer, "GetBuzzerFrequency", "", "", "i", deviceNumber("buzzerFrequency")},
    {Buzzer, "GetBuzzerMode", "", "", "i", deviceNumber("buzzerMode")},
    {Buzzer, "GetBuzzerOffTime", "", "", "i", deviceNumber("buzzerOffTime")},
    {Buzzer, "GetBuzzerOnTime", "", "", "i", deviceNumber("buzzerOnTime")},
    {Buzzer, "GetBuzzerUserControl", "", "", "i", deviceNumber("buzzerUserControl")},
    {Buzzer, "SetBuzzerFrequency", "i", "freq", "i", setDeviceNumber("buzzerFrequency", 0, 20000)},
    {Buzzer, "SetBuzzerMode", "i", "mode", "i", setDeviceNumber("buzzerMode", 0, 2)},
    {Buzzer, "SetBuzzerOffTime", "i", "time", "i", setDeviceNumber("buzzerOffTime", 0, 60000)},
    {Buzzer, "SetBuzzerOnTime", "i", "time", "i", setDeviceNumber("buzzerOnTime", 0, 60000)},
    {Buzzer, "SetBuzzerUserControl", "i", "control", "i", setDeviceNumber("buzzerUserControl", 0, 1)},
    {Buzzer, "beep", "ii", "freq,time", "i", beep},

    {Plugin, "seepromRead", "yyu", "plid,addr,length", "iay", pluginRead},
    {Plugin, "seepromWrite", "yyay", "plid,addr,data", "i", pluginWrite},
    {Plugin, "signature", "", "", SeeModule, pluginSignature},
    {Plugin, "signatureFunctArea", "", "", "ay", pluginFunctionArea},
    {Plugin, "signatureHCode", "", "", "y", pluginByte("hCode")},
    {Plugin, "signatureHSubCode", "", "", "y", pluginByte("hSubCode")},
    {Plugin, "signatureName", "", "", "ay", pluginName},
    {Plugin, "signatureXCode", "", "", "y", pluginByte("xCode")},
    {Plugin, "signatureXSubCode", "", "", "y", pluginByte("xSubCode")},

    {Seeprom, "bitInSWModuleFlagArea", "u", "bitIndex", "b", softwareModuleFlag},
    {Seeprom, "read", "yu", "addr,length", "iay", boardRead},
    {Seeprom, "readSlvAddr", "yyu", "slvAddr,addr,length", "iay", slaveRead},
    {Seeprom, "write", "yay", "addr,data", "i", boardWrite},
    {Seeprom, "writeSlvAddr", "yyay", "slvAddr,addr,data", "i", slaveWrite},

    {Partition, "day", "", "", "y", partitionByte("day")},
    {Partition, "info", "", "", PartitionInfo, partitionInfo},
    {Partition, "month", "", "", "y", partitionByte("month")},
    {Partition, "version", "", "", "ay", partitionVersion},
    {Partition, "year", "", "", "y", partitionByte("year")},

    {Security, "changePassword", "sss", "userName,oldPassword,newPassword", "i", changePassword},
    {Security, "checkPassword", "ss", "userName,password", "i", checkPassword},

    {Splash, "info", "", "", SplashImageInfo, splashInfo},
    {Splash, "x", "", "", "u", splashNumber("splashX")},
    {Splash, "y", "", "", "u", splashNumber("splashY")},

    {Storage, "getDynamicStorageDeviceList", "", "", "s", storageList(true)},
    {Storage, "getHMIInstallationFolder", "", "", "s", installationFolder},
    {Storage, "getSDCardMountPoint", "", "", "s", mountPoint("sdcard")},
    {Storage, "getSecurityMarginInOSForFlash", "", "", "i", deviceNumber("flashSecurityMargin")},
    {Storage, "getStorageDeviceList", "", "", "s", storageList(false)},
    {Storage, "getStorageInfo", "s", "storageName", StorageInfo, storageInfo},
    {Storage, "getUSBMountPoint", "", "", "s", mountPoint("usb")},
    {Storage, "getUserSpaceMountPoint", "", "", "s", mountPoint("flash")},
    {Storage, "isAppRunning", "s", "appName", "i", isAppRunning},

    {System, "day", "", "", "y", identityByte("day")},
    {System, "hwCode", "", "", "y", identityByte("hwCode")},
    {System, "hwDispID", "", "", "y", identityByte("hwDispID")},
    {System, "hwSubCode", "", "", "y", identityByte("hwSubCode")},
    {System, "info", "", "", SystemInfo, systemInfo},
    {System, "manufactureCode", "", "", "ay", manufactureCode},
    {System, "moduleName", "", "", "ay", moduleName},
    {System, "month", "", "", "y", identityByte("month")},
    {System, "serialNo", "", "", "ay", serialNumber},
    {System, "year", "", "", "y", identityByte("year")},

    {Time, "getTZENVFile", "", "", "s", timeZoneFile},
    {Time, "getTimeZoneInfo", "", "", TimeZoneInfo, timeZoneInfo},
    {Time, "setTimeZoneInfo", TimeZoneInfo, "newTimeZone", "i", setTimeZoneInfo},
    {Time, "updateTimeZoneInfo", "", "", "i", succeed},

    {NetworkManager, "getConfigJSON", "", "", "s", getConfig},
    {NetworkManager, "getInterfaceConfig", "s", "ifname", "s", getInterfaceConfig},
    {NetworkManager, "setInterfaceConfigJSON", "ss", "interface,config", "i", setInterfaceConfig},
    // The argument is the whole document; the misleading name is the service's own.
    {NetworkManager, "setConfigJSON", "s", "interface", "i", setConfig},
    {NetworkManager, "applyNewConfiguration", "", "", "i", applyConfiguration},
    {NetworkManager, "resetConfiguration", "", "", "i", resetConfiguration},
};
// clang-format on

const QVector<Object> Objects = {
    {"/", Root},
    {"/Backlight", Backlight},
    {"/Buzzer", Buzzer},
    {"/HWPlugin", Plugin},
    {"/I2CSEEPROM", Seeprom},
    {"/MainOSInfo", Partition},
    {"/NetworkManager", NetworkManager},
    {"/Security", Security},
    {"/SplashImageInfo", Splash},
    {"/StorageMgr", Storage},
    {"/SystemInfo", System},
    {"/TimeMgr", Time},
};

// Every interface but the system information's has error(s); the root interface has one signal more.
QString signalsOf(const Object &object)
{
    QString xml;
    if (object.interface != System)
        xml += QLatin1String("    <signal name=\"error\">\n"
                             "      <arg name=\"error\" type=\"s\"/>\n"
                             "    </signal>\n");
    if (object.interface == Root)
        xml += QLatin1String("    <signal name=\"mousePlugEvent\">\n"
                             "      <arg name=\"bPlugged\" type=\"i\"/>\n"
                             "    </signal>\n");
    return xml;
}

QStringList completeTypes(const QString &signature)
{
    QStringList types;
    QString type;
    int depth = 0;
    for (const QChar letter : signature) {
        type += letter;
        if (letter == QLatin1Char('('))
            ++depth;
        else if (letter == QLatin1Char(')'))
            --depth;
        if (depth == 0 && letter != QLatin1Char('a')) {
            types << type;
            type.clear();
        }
    }
    return types;
}

QString argumentsOf(const Method &method)
{
    QString xml;
    const QStringList names = QString(QLatin1String(method.inNames)).split(QLatin1Char(','));
    const QStringList in = completeTypes(QLatin1String(method.in));
    for (int i = 0; i < in.size(); ++i)
        xml += QString(QLatin1String("      <arg name=\"%1\" type=\"%2\" direction=\"in\"/>\n"))
                   .arg(names.value(i), in.at(i));
    for (const QString &type : completeTypes(QLatin1String(method.out)))
        xml += QString(QLatin1String("      <arg type=\"%1\" direction=\"out\"/>\n")).arg(type);
    return xml;
}

} // namespace

const QVector<Method> &allMethods()
{
    return Methods;
}

const QVector<Object> &allObjects()
{
    return Objects;
}

const Object *findObject(const QString &path)
{
    for (const Object &object : Objects)
        if (path == QLatin1String(object.path))
            return &object;
    return nullptr;
}

const Method *findMethod(const Object &object, const QString &interface, const QString &name)
{
    if (!interface.isEmpty() && interface != QLatin1String(object.interface))
        return nullptr;
    for (const Method &method : Methods)
        if (method.interface == object.interface && name == QLatin1String(method.name))
            return &method;
    return nullptr;
}

bool keyMeans(const QString &key, const QString &interface, const QString &name)
{
    const QString full = interface + QLatin1Char('.') + name;
    return key == QLatin1String("*") || key == name || key == full ||
           QString(QLatin1String("%1.%2")).arg(QLatin1String(Root), key) == full;
}

QString introspectionOf(const QString &path)
{
    const Object *object = findObject(path);
    if (!object)
        return QString();
    QString xml =
        QLatin1String("<!DOCTYPE node PUBLIC \"-//freedesktop//DTD D-BUS Object Introspection 1.0//EN\"\n"
                      "\"http://www.freedesktop.org/standards/dbus/1.0/introspect.dtd\">\n"
                      "<node>\n");
    xml += QString(QLatin1String("  <interface name=\"%1\">\n")).arg(QLatin1String(object->interface));
    xml += signalsOf(*object);
    for (const Method &method : Methods)
        if (method.interface == object->interface)
            xml += QString(QLatin1String("    <method name=\"%1\">\n%2    </method>\n"))
                       .arg(QLatin1String(method.name), argumentsOf(method));
    xml += QLatin1String("  </interface>\n");
    if (path == QLatin1String("/"))
        for (const Object &child : Objects)
            if (child.interface != Root)
                xml += QString(QLatin1String("  <node name=\"%1\"/>\n")).arg(QLatin1String(child.path + 1));
    return xml + QLatin1String("</node>\n");
}
