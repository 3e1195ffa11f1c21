#include "hwsdtypes.h"

#include <QtCore/QByteArray>
#include <QtDBus/QDBusMetaType>

#include <cstring>

namespace
{

template <int Size>
QByteArray wholeField(const char (&field)[Size])
{
    return QByteArray(field, Size);
}

template <int Size>
void readField(const QDBusArgument &argument, char (&field)[Size])
{
    QByteArray received;
    argument >> received;
    const size_t length = qMin(static_cast<size_t>(received.size()), static_cast<size_t>(Size));
    std::memcpy(field, received.constData(), length);
    std::memset(field + length, 0, Size - length);
}

} // namespace

partitionInfo::partitionInfo()
    : leading()
    , version()
{
}

systemInfo::systemInfo()
    : day(0)
    , month(0)
    , year(0)
    , moduleName()
    , serialNo()
    , hwCode(0)
    , hwSubCode(0)
    , manufactureCode()
    , hwDispID(0)
{
}

QDBusArgument &operator<<(QDBusArgument &argument, const partitionInfo &info)
{
    argument.beginStructure();
    for (int i = 0; i < 4; ++i)
        argument << info.leading[i];
    argument << wholeField(info.version);
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, partitionInfo &info)
{
    argument.beginStructure();
    for (int i = 0; i < 4; ++i)
        argument >> info.leading[i];
    readField(argument, info.version);
    argument.endStructure();
    return argument;
}

QDBusArgument &operator<<(QDBusArgument &argument, const systemInfo &info)
{
    argument.beginStructure();
    argument << info.day << info.month << info.year;
    argument << wholeField(info.moduleName) << wholeField(info.serialNo);
    argument << info.hwCode << info.hwSubCode;
    argument << wholeField(info.manufactureCode);
    argument << info.hwDispID;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, systemInfo &info)
{
    argument.beginStructure();
    argument >> info.day >> info.month >> info.year;
    readField(argument, info.moduleName);
    readField(argument, info.serialNo);
    argument >> info.hwCode >> info.hwSubCode;
    readField(argument, info.manufactureCode);
    argument >> info.hwDispID;
    argument.endStructure();
    return argument;
}

void registerHwsdTypes()
{
    qRegisterMetaType<partitionInfo>("partitionInfo");
    qRegisterMetaType<systemInfo>("systemInfo");
    qDBusRegisterMetaType<partitionInfo>();
    qDBusRegisterMetaType<systemInfo>();
}
