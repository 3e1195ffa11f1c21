#ifndef METHODS_H
#define METHODS_H

#include "catalogue.h"
#include "panel.h"
#include "reply.h"

#include <QtCore/QVariantList>

// One function for each method, or one that makes the function where several methods differ only in a name.
// The arguments have the catalogue's signature.

// Numbers of the state's "device" section. Setting takes the last argument and returns 0, or -1 for a value
// out of range.
Handler deviceNumber(const char *key);
Handler setDeviceNumber(const char *key, int least, int greatest);
Reply succeed(Panel &panel, const QVariantList &arguments);

// com.zelt.HWSD
Reply startImageJob(Panel &panel, const QVariantList &arguments);
Reply clearTimeCounters(Panel &panel, const QVariantList &arguments);
Reply dualBootMode(Panel &panel, const QVariantList &arguments);
Handler lockScreen(int locked);
Reply mouseNotification(Panel &panel, const QVariantList &arguments);
Reply restartSystem(Panel &panel, const QVariantList &arguments);
Reply setScreenOrientation(Panel &panel, const QVariantList &arguments);

// Buzzer
Reply beep(Panel &panel, const QVariantList &arguments);

// HWPlugin: one module, in slot 0
Reply pluginRead(Panel &panel, const QVariantList &arguments);
Reply pluginWrite(Panel &panel, const QVariantList &arguments);
Reply pluginSignature(Panel &panel, const QVariantList &arguments);
Reply pluginFunctionArea(Panel &panel, const QVariantList &arguments);
Handler pluginByte(const char *key);
Reply pluginName(Panel &panel, const QVariantList &arguments);

// I2CSEEPROM: one chip, at slave address 0x50
Reply softwareModuleFlag(Panel &panel, const QVariantList &arguments);
Reply boardRead(Panel &panel, const QVariantList &arguments);
Reply slaveRead(Panel &panel, const QVariantList &arguments);
Reply boardWrite(Panel &panel, const QVariantList &arguments);
Reply slaveWrite(Panel &panel, const QVariantList &arguments);

// PartitionInfo
Handler partitionByte(const char *key);
Reply partitionInfo(Panel &panel, const QVariantList &arguments);
Reply partitionVersion(Panel &panel, const QVariantList &arguments);

// Security: 0 when the password is right, else -1
Reply changePassword(Panel &panel, const QVariantList &arguments);
Reply checkPassword(Panel &panel, const QVariantList &arguments);

// SplashImageInfo
Reply splashInfo(Panel &panel, const QVariantList &arguments);
Handler splashNumber(const char *key);

// StorageMgr
Handler storageList(bool dynamicOnly);
Reply installationFolder(Panel &panel, const QVariantList &arguments);
Handler mountPoint(const char *storage);
Reply storageInfo(Panel &panel, const QVariantList &arguments);
Reply isAppRunning(Panel &panel, const QVariantList &arguments);

// SystemInfo
Handler identityByte(const char *key);
Reply systemInfo(Panel &panel, const QVariantList &arguments);
Reply manufactureCode(Panel &panel, const QVariantList &arguments);
Reply moduleName(Panel &panel, const QVariantList &arguments);
Reply serialNumber(Panel &panel, const QVariantList &arguments);

// TimeMgr
Reply timeZoneFile(Panel &panel, const QVariantList &arguments);
Reply timeZoneInfo(Panel &panel, const QVariantList &arguments);
Reply setTimeZoneInfo(Panel &panel, const QVariantList &arguments);

// NetworkManager
Reply getConfig(Panel &panel, const QVariantList &arguments);
Reply getInterfaceConfig(Panel &panel, const QVariantList &arguments);
Reply setInterfaceConfig(Panel &panel, const QVariantList &arguments);
Reply setConfig(Panel &panel, const QVariantList &arguments);
Reply applyConfiguration(Panel &panel, const QVariantList &arguments);
Reply resetConfiguration(Panel &panel, const QVariantList &arguments);

#endif // METHODS_H
