// The facade's identity operations: what panel this is.

#include "devicenames.h"
#include "hwsdlink.h"
#include "hwsdplatform.h"
#include "hwsdtypes.h"
#include "i2cseeprominterface.h"
#include "modelcodes.h"
#include "numbertext.h"
#include "partitioninfointerface.h"
#include "publishonce.h"
#include "systeminfointerface.h"

#include <QtCore/QByteArray>
#include <QtDBus/QDBusPendingReply>

#include <cstring>
#include <memory>
#include <utility>

namespace
{

const char FactorySettingsFile[] = "/mnt/factory/machine.ini";
const size_t SystemInfoSize = 64;

// The board's identification EEPROM on the I2C bus, and where its model text stands in it.
const uchar SeepromSlaveAddress = 0x50;
const uchar SeepromModelAddress = 0x55;
const uint SeepromModelLength = 20;

const int VersionDigits = 8;

// The number in the last eight characters of the version text; 0 for a text without such a number.
quint32 versionFromText(const QString &text)
{
    if (text.size() <= VersionDigits)
        return 0;
    const QString digits = text.right(VersionDigits);
    const quint32 w = static_cast<quint32>(numberFromText(digits.mid(0, 2)));
    const quint32 x = static_cast<quint32>(numberFromText(digits.mid(2, 3)));
    const quint32 y = static_cast<quint32>(numberFromText(digits.mid(5, 2)));
    const quint32 z = static_cast<quint32>(numberFromText(digits.mid(7, 2)));
    return w << 24 | x << 16 | y << 8 | z;
}

// The first four bytes as a little-endian number; false when there are fewer.
bool manufactureCodeFromBytes(const QByteArray &bytes, qint32 &code)
{
    if (bytes.size() < 4)
        return false;
    quint32 number = 0;
    for (int i = 3; i >= 0; --i)
        number = number << 8 | static_cast<uchar>(bytes.at(i));
    code = static_cast<qint32>(number);
    return true;
}

// The text up to the first zero byte, when there is one and only printable text before it; else empty.
QString textFromSeeprom(const QByteArray &bytes)
{
    const int end = static_cast<int>(bytes.indexOf('\0'));
    for (int i = 0; i < end; ++i) {
        const uchar byte = static_cast<uchar>(bytes.at(i));
        if (byte < 32 || byte > 127)
            return QString();
    }
    return end > 0 ? QString::fromLatin1(bytes.constData(), end) : QString();
}

} // namespace

quint32 HWSDPlatform::partitionVersion()
{
    if (m_partitionVersion != 0)
        return m_partitionVersion;
    const HwsdLink *service = link();
    if (!service)
        return 0;
    QDBusPendingReply<partitionInfo> reply = service->mainOsInfo->info();
    reply.waitForFinished();
    partitionInfo info;
    if (!reply.isError())
        info = reply.argumentAt<0>();
    const int length = static_cast<int>(::strnlen(info.version, sizeof info.version));
    m_partitionVersion = versionFromText(QString::fromLatin1(info.version, length));
    return m_partitionVersion;
}

void HWSDPlatform::deviceName(QHash<int, QString> &names) const
{
    names = readDeviceNames(QLatin1String(FactorySettingsFile));
}

bool HWSDPlatform::systemInfo(char *out)
{
    const QByteArray text = systemInfoText().toLatin1();
    std::memcpy(out, text.constData(), qMin(static_cast<size_t>(text.size()), SystemInfoSize));
    return true;
}

QString HWSDPlatform::systemInfoText()
{
    const QString *description = systemDescription();
    return description ? *description : QString();
}

const QString *HWSDPlatform::systemDescription()
{
    if (const QString *known = m_systemDescription.load())
        return known;
    const HwsdLink *service = link();
    if (!service)
        return nullptr;
    std::unique_ptr<const QString> found(new QString(findSystemDescription(*service)));
    // An empty name in the factory's table counts as not known yet.
    if (!found->isEmpty())
        publishOnce(m_systemDescription, std::move(found));
    return m_systemDescription.load();
}

QString HWSDPlatform::findSystemDescription(const HwsdLink &service) const
{
    QHash<int, QString> names;
    deviceName(names);

    QDBusPendingReply<QByteArray> codeReply = service.systemInfo->manufactureCode();
    codeReply.waitForFinished();
    // An unknown code is shown as 0, but no table is asked for it: 0 is what the factory's table has for
    // every entry whose number cannot be read.
    qint32 code = 0;
    if (!codeReply.isError() && manufactureCodeFromBytes(codeReply.argumentAt<0>(), code)) {
        if (names.contains(code))
            return names.value(code);
        if (const char *model = modelCodeText(code))
            return QLatin1String(model);
    }

    QDBusPendingReply<int, QByteArray> seepromReply =
        service.i2cSeeprom->readSlvAddr(SeepromSlaveAddress, SeepromModelAddress, SeepromModelLength);
    seepromReply.waitForFinished();
    QString text;
    if (!seepromReply.isError())
        text = textFromSeeprom(seepromReply.argumentAt<1>());
    if (text.isEmpty())
        text = QLatin1String("HMI ") + QString::number(code);
    return text;
}
