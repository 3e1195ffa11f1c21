// The facade's network operations: the state of one interface, and its settings.

#include "hwsdlink.h"
#include "hwsdplatform.h"
#include "ipv4text.h"
#include "jsonfields.h"
#include "networkinterfaceconfig.h"
#include "networkmanagerinterface.h"
#include "numbertext.h"

#include <QtCore/QDebug>
#include <QtDBus/QDBusPendingReply>

#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>

namespace
{

const char DefaultInterface[] = "eth0";

// Names of interfaces come and go; a panel has a few at a time.
const int MostInterfacesTold = 16;

// A text on the bus ends at its first zero. In JSON one can only stand inside a string, and has an escape.
QString textForBus(QString json)
{
    return json.replace(QLatin1Char('\0'), QLatin1String("\\u0000"));
}

} // namespace

bool HWSDPlatform::setInterface(const char *name)
{
    const QLatin1String wanted(name && *name ? name : DefaultInterface);
    // The same as for the datagram before, nearly always.
    if (m_interfaceName != wanted)
        m_interfaceName = wanted;
    return true;
}

bool HWSDPlatform::macAddress(unsigned char out[6]) const
{
    std::memcpy(out, m_macAddress, sizeof m_macAddress);
    return true;
}

QString HWSDPlatform::ipAddressString() const
{
    return ipv4ToText(m_ipAddress);
}

bool HWSDPlatform::setIpAddress(quint32 address)
{
    m_ipAddress = address;
    m_dhcp = false;
    return true;
}

bool HWSDPlatform::setNetmask(quint32 netmask)
{
    m_netmask = netmask;
    m_dhcp = false;
    return true;
}

bool HWSDPlatform::setGateway(quint32 gateway)
{
    m_gateway = gateway;
    m_dhcp = false;
    return true;
}

bool HWSDPlatform::refreshNetworkState()
{
    const HwsdLink *service = link();
    if (!service)
        return false;
    NetworkInterfaceConfig record;
    if (readInterfaceRecord(*service, record) != RecordReading::Done)
        return true;
    m_ipAddress = ipv4FromText(record.actualIpAddress);
    m_netmask = ipv4FromText(record.actualNetmask);
    m_gateway = ipv4FromText(record.actualGatewayIp);
    cacheMacAddress(record.macAddress);
    m_dhcp = record.dhcp;
    return true;
}

bool HWSDPlatform::applyConfiguration()
{
    const HwsdLink *service = link();
    if (!service)
        return false;
    NetworkInterfaceConfig record;
    if (readInterfaceRecord(*service, record) != RecordReading::Done)
        return false;
    if (!m_dhcp) {
        record.ipAddress = ipv4ToText(m_ipAddress);
        record.netmask = ipv4ToText(m_netmask);
        record.gatewayIp = ipv4ToText(m_gateway);
    }
    record.dhcp = m_dhcp;

    QDBusPendingReply<int> written =
        service->networkManager->setInterfaceConfigJSON(m_interfaceName, textForBus(record.toJsonString()));
    written.waitForFinished();
    if (!written.isError())
        service->networkManager->applyNewConfiguration();
    return true;
}

HWSDPlatform::RecordReading HWSDPlatform::readInterfaceRecord(const HwsdLink &service,
                                                              NetworkInterfaceConfig &record)
{
    QDBusPendingReply<QString> reply = service.networkManager->getInterfaceConfig(m_interfaceName);
    reply.waitForFinished();
    if (reply.isError())
        return RecordReading::Refused;
    try {
        record = recordFromText(reply.argumentAt<0>());
    } catch (const json::Exception &error) {
        warnOfMistypedRecord(error);
        return RecordReading::Mistyped;
    }
    m_toldMistyped.remove(m_interfaceName);
    return RecordReading::Done;
}

const NetworkInterfaceConfig &HWSDPlatform::recordFromText(const QString &text)
{
    if (!m_recordText.isEmpty() && text == m_recordText)
        return *m_record;
    std::unique_ptr<NetworkInterfaceConfig> record(new NetworkInterfaceConfig);
    // One that is warned of is warned of each time.
    const bool isComplete = record->fromJsonString(text) && !record->name.isEmpty();
    m_record = std::move(record);
    m_recordText = isComplete ? text : QString();
    return *m_record;
}

void HWSDPlatform::warnOfMistypedRecord(const json::Exception &error)
{
    const QByteArray message = error.what();
    if (m_toldMistyped.value(m_interfaceName) == message)
        return;
    if (m_toldMistyped.size() >= MostInterfacesTold)
        m_toldMistyped.clear();
    m_toldMistyped.insert(m_interfaceName, message);
    qWarning() << "Mistyped value in the configuration of interface" << m_interfaceName << JsonMessage(error);
}

// The parts between the colons, read in place, as with addresses. Those beyond the sixth are dropped; a text
// of fewer leaves the later bytes as they were.
void HWSDPlatform::cacheMacAddress(const QString &text)
{
    const QChar *part = text.constData();
    const QChar *const end = part + text.size();
    for (unsigned char &byte : m_macAddress) {
        const QChar *const colon = std::find(part, end, QLatin1Char(':'));
        byte = static_cast<unsigned char>(numberFromText(part, static_cast<int>(colon - part), 16));
        if (colon == end)
            return;
        part = colon + 1;
    }
}
