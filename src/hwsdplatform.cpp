#include "hwsdplatform.h"

#include "hwsdlink.h"
#include "hwsdtypes.h"
#include "ipv4text.h"
#include "publishonce.h"

#include <cstring>
#include <memory>
#include <utility>

namespace
{

const char DefaultInterface[] = "eth0";

std::atomic<HWSDPlatform *> theInstance(nullptr);

} // namespace

HWSDPlatform *HWSDPlatform::instance()
{
    if (HWSDPlatform *existing = theInstance.load())
        return existing;
    publishOnce(theInstance, std::unique_ptr<HWSDPlatform>(new HWSDPlatform));
    return theInstance.load();
}

HWSDPlatform::HWSDPlatform()
    : m_link(nullptr)
    , m_systemDescription(nullptr)
    , m_ipAddress(0)
    , m_partitionVersion(0)
    , m_macAddress()
    , m_netmask(0)
    , m_gateway(0)
    , m_interfaceName(QLatin1String(DefaultInterface))
    , m_dhcp(false)
{
    registerHwsdTypes();
}

HWSDPlatform::~HWSDPlatform()
{
    delete m_systemDescription.load();
    HWSDPlatform *self = this;
    theInstance.compare_exchange_strong(self, nullptr);
}

bool HWSDPlatform::connectToPlatform()
{
    std::unique_ptr<HwsdLink> made = HwsdLink::open();
    if (made && publishOnce(m_link, std::move(made)))
        m_link.load()->leaveEventsToGuiThread();
    return m_link.load() != nullptr;
}

HwsdLink *HWSDPlatform::link()
{
    if (!m_link.load())
        connectToPlatform();
    return m_link.load();
}

bool HWSDPlatform::setInterface(const char *name)
{
    m_interfaceName = QString::fromLatin1(name);
    if (m_interfaceName.isEmpty())
        m_interfaceName = QLatin1String(DefaultInterface);
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
