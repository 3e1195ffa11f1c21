#include "testbuses.h"

#include "hwsdplatform.h"

TestBuses::TestBuses()
{
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", m_system.address());
    qputenv("DBUS_SESSION_BUS_ADDRESS", m_session.address());
}

TestBuses::~TestBuses()
{
    stop();
}

bool TestBuses::startService(const PrivateBus &bus)
{
    m_service.reset(); // one that is there already gives up the name first
    m_service.reset(new FakeService(bus.address()));
    return m_service->isOnBus();
}

void TestBuses::stop()
{
    m_service.reset();
    m_system.stop();
    m_session.stop();
    delete HWSDPlatform::instance();
}
