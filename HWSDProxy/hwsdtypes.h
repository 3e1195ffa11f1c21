#ifndef HWSDTYPES_H
#define HWSDTYPES_H

#include <QtCore/QMetaType>
#include <QtCore/QtGlobal>
#include <QtDBus/QDBusArgument>

// The structured types of the platform service, named as it names them. Both are packed byte records; a
// text field travels as a byte array. Reading takes at most the field's size from a received array and fills
// the rest with zero, so that no byte stays undefined when a service sends fewer than it should.

// D-Bus signature (yyyyay).
struct partitionInfo {
    // Day, month, year and a fourth byte, in an order that is not documented. Nothing here reads them.
    quint8 leading[4];
    char version[20]; // ASCII, terminated by zero when shorter than the field

    partitionInfo();
};

// D-Bus signature (yyyayayyyayy). The service never sends it to this program. The order of its fields is not
// documented; the names here follow the service's single getters as far as their sizes allow.
struct systemInfo {
    quint8 day;
    quint8 month;
    quint8 year;
    char moduleName[3];
    char serialNo[5];
    quint8 hwCode;
    quint8 hwSubCode;
    char manufactureCode[2];
    quint8 hwDispID;

    systemInfo();
};

static_assert(sizeof(partitionInfo) == 24, "a packed record of the service");
static_assert(sizeof(systemInfo) == 16, "a packed record of the service");

QDBusArgument &operator<<(QDBusArgument &argument, const partitionInfo &info);
const QDBusArgument &operator>>(const QDBusArgument &argument, partitionInfo &info);
QDBusArgument &operator<<(QDBusArgument &argument, const systemInfo &info);
const QDBusArgument &operator>>(const QDBusArgument &argument, systemInfo &info);

// Types that only appear in proxy signatures. Their layouts are not documented and nothing calls the methods
// that carry them. They have no marshalling; such a call would end in Qt's fatal message.
struct sSEEModule {
};
struct splashImageInfo {
};
struct timeZoneInfo {
};
struct hwsdStorageInfo {
};

Q_DECLARE_METATYPE(partitionInfo)
Q_DECLARE_METATYPE(systemInfo)
Q_DECLARE_METATYPE(sSEEModule)
Q_DECLARE_METATYPE(splashImageInfo)
Q_DECLARE_METATYPE(timeZoneInfo)
Q_DECLARE_METATYPE(hwsdStorageInfo)

// Registers the two structures with QtDBus; any thread, any number of times.
void registerHwsdTypes();

#endif // HWSDTYPES_H
