// The one facade, and its connection to the platform service.

#include "hwsdplatform.h"

#include "hwsdlink.h"
#include "hwsdtypes.h"
#include "networkinterfaceconfig.h"
#include "publishonce.h"

#include <memory>
#include <utility>

namespace
{

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
    , m_dhcp(false)
{
    registerHwsdTypes();
    setInterface("");
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
