"""The platform service's twelve interfaces, as literals."""

# Object path, interface, and per method: arguments' signature and names, the reply's signature, and arguments
# that the panel accepts.
CATALOGUE = [
    ("/", "com.zelt.HWSD", {
        "checkImage": ("s", "imageType", "o", ("main",)),
        "clearTimeCounters": ("i", "which", "i", (0,)),
        "downloadImage": ("sssb", "imageType,source,sourceMd5,checkMd5", "o", ("main", "/a", "0f", True)),
        "dualBootMode": ("", "", "s", ()),
        "formatImage": ("s", "imageType", "o", ("main",)),
        "getBlightCounter": ("", "", "i", ()),
        "getScreenOrientation": ("", "", "i", ()),
        "getSysCounter": ("", "", "i", ()),
        "lockScreen": ("s", "display", "i", (":0",)),
        "lockScreenSupported": ("", "", "i", ()),
        "mouseNotification": ("i", "bPlugged", "", (1,)),
        "mouseStatus": ("s", "display", "i", (":0",)),
        "restartSystem": ("", "", "i", ()),
        "restartSystemWithImage": ("i", "imageType", "i", (1,)),
        "setScreenOrientation": ("i", "angle", "i", (90,)),
        "unlockScreen": ("s", "display", "i", (":0",)),
        "uploadImage": ("ssb", "imageType,destination,checkMd5", "o", ("main", "/a", True)),
        "uploadRawImage": ("ssb", "imageType,destination,checkMd5", "o", ("main", "/a", True)),
    }),
    ("/Backlight", "com.zelt.HWSD.Backlight", {
        "backlightTimeout": ("s", "displayName", "i", (":0",)),
        "getBrightness": ("", "", "i", ()),
        "offBrightness": ("", "", "i", ()),
        "saveBrightness": ("i", "value", "i", (50,)),
        "setBacklightTimeout": ("si", "displayName,value", "i", (":0", 60)),
        "setBrightness": ("i", "value", "i", (60,)),
        "syncBrightness": ("", "", "i", ()),
    }),
    ("/Buzzer", "com.zelt.HWSD.Buzzer", {
        "GetBuzzerFrequency": ("", "", "i", ()),
        "GetBuzzerMode": ("", "", "i", ()),
        "GetBuzzerOffTime": ("", "", "i", ()),
        "GetBuzzerOnTime": ("", "", "i", ()),
        "GetBuzzerUserControl": ("", "", "i", ()),
        "SetBuzzerFrequency": ("i", "freq", "i", (1000,)),
        "SetBuzzerMode": ("i", "mode", "i", (1,)),
        "SetBuzzerOffTime": ("i", "time", "i", (10,)),
        "SetBuzzerOnTime": ("i", "time", "i", (10,)),
        "SetBuzzerUserControl": ("i", "control", "i", (1,)),
        "beep": ("ii", "freq,time", "i", (1000, 10)),
    }),
    ("/HWPlugin", "com.zelt.HWSD.HWPlugin", {
        "seepromRead": ("yyu", "plid,addr,length", "iay", (0, 0, 4)),
        "seepromWrite": ("yyay", "plid,addr,data", "i", (0, 0, b"\x01")),
        "signature": ("", "", "(yyyyayay)", ()),
        "signatureFunctArea": ("", "", "ay", ()),
        "signatureHCode": ("", "", "y", ()),
        "signatureHSubCode": ("", "", "y", ()),
        "signatureName": ("", "", "ay", ()),
        "signatureXCode": ("", "", "y", ()),
        "signatureXSubCode": ("", "", "y", ()),
    }),
    ("/I2CSEEPROM", "com.zelt.HWSD.I2CSEEPROM", {
        "bitInSWModuleFlagArea": ("u", "bitIndex", "b", (0,)),
        "read": ("yu", "addr,length", "iay", (0, 4)),
        "readSlvAddr": ("yyu", "slvAddr,addr,length", "iay", (0x50, 0x55, 20)),
        "write": ("yay", "addr,data", "i", (0, b"\x01")),
        "writeSlvAddr": ("yyay", "slvAddr,addr,data", "i", (0x50, 0, b"\x01")),
    }),
    ("/MainOSInfo", "com.zelt.HWSD.PartitionInfo", {
        "day": ("", "", "y", ()),
        "info": ("", "", "(yyyyay)", ()),
        "month": ("", "", "y", ()),
        "version": ("", "", "ay", ()),
        "year": ("", "", "y", ()),
    }),
    ("/Security", "com.zelt.HWSD.Security", {
        "changePassword": ("sss", "userName,oldPassword,newPassword", "i", ("admin", "admin", "new")),
        "checkPassword": ("ss", "userName,password", "i", ("admin", "admin")),
    }),
    ("/SplashImageInfo", "com.zelt.HWSD.SplashImageInfo", {
        "info": ("", "", "(uuuu)", ()),
        "x": ("", "", "u", ()),
        "y": ("", "", "u", ()),
    }),
    ("/StorageMgr", "com.zelt.HWSD.StorageMgr", {
        "getDynamicStorageDeviceList": ("", "", "s", ()),
        "getHMIInstallationFolder": ("", "", "s", ()),
        "getSDCardMountPoint": ("", "", "s", ()),
        "getSecurityMarginInOSForFlash": ("", "", "i", ()),
        "getStorageDeviceList": ("", "", "s", ()),
        "getStorageInfo": ("s", "storageName", "(ssuub)", ("flash",)),
        "getUSBMountPoint": ("", "", "s", ()),
        "getUserSpaceMountPoint": ("", "", "s", ()),
        "isAppRunning": ("s", "appName", "i", ("HMI",)),
    }),
    ("/SystemInfo", "com.zelt.HWSD.SystemInfo", {
        "day": ("", "", "y", ()),
        "hwCode": ("", "", "y", ()),
        "hwDispID": ("", "", "y", ()),
        "hwSubCode": ("", "", "y", ()),
        "info": ("", "", "(yyyayayyyayy)", ()),
        "manufactureCode": ("", "", "ay", ()),
        "moduleName": ("", "", "ay", ()),
        "month": ("", "", "y", ()),
        "serialNo": ("", "", "ay", ()),
        "year": ("", "", "y", ()),
    }),
    ("/TimeMgr", "com.zelt.HWSD.TimeMgr", {
        "getTZENVFile": ("", "", "s", ()),
        "getTimeZoneInfo": ("", "", "(ssib)", ()),
        "setTimeZoneInfo": ("(ssib)", "newTimeZone", "i", (("Asia/Tokyo", "JST-9", 540, False),)),
        "updateTimeZoneInfo": ("", "", "i", ()),
    }),
    ("/NetworkManager", "com.zelt.HWSD.NetworkManager", {
        "getConfigJSON": ("", "", "s", ()),
        "getInterfaceConfig": ("s", "ifname", "s", ("eth0",)),
        "setInterfaceConfigJSON": ("ss", "interface,config", "i", ("eth0", '{"name":"eth0"}')),
        "setConfigJSON": ("s", "interface", "i", ('{"version":1}',)),
        "applyNewConfiguration": ("", "", "i", ()),
        "resetConfiguration": ("", "", "i", ()),
    }),
]
METHODS = [(path, interface, name) + about
           for path, interface, methods in CATALOGUE for name, about in methods.items()]
OBJECTS = {interface: path for path, interface, _ in CATALOGUE}
SIGNATURES = {(interface, name): inputs for _, interface, name, inputs, _, _, _ in METHODS}

NETWORK = "com.zelt.HWSD.NetworkManager"
PARTITION = "com.zelt.HWSD.PartitionInfo"
SEEPROM = "com.zelt.HWSD.I2CSEEPROM"
SYSTEM = "com.zelt.HWSD.SystemInfo"
ROOT = "com.zelt.HWSD"
