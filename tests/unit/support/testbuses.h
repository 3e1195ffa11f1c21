#ifndef TESTBUSES_H
#define TESTBUSES_H

#include "fakeservice.h"
#include "privatebus.h"

#include <memory>

// The private system bus and session bus of this process, both not running at first, and the fake platform
// service. Make it in main(), before anything uses a bus: D-Bus reads the addresses only once.
class TestBuses
{
public:
    TestBuses();
    ~TestBuses();

    // Each true when done.
    bool startSystemBus() { return m_system.start(); }
    bool startSessionBus() { return m_session.start(); }
    bool startServiceOnSystemBus() { return startService(m_system); }
    bool startServiceOnSessionBus() { return startService(m_session); }
    // The usual panel: the service on the system bus, and no session bus.
    bool startPanel() { return startSystemBus() && startServiceOnSystemBus(); }

    FakeService &service() { return *m_service; }

    // Leaves the bus without a service.
    void stopService() { m_service.reset(); }
    // Ends the service and both buses, and the facade.
    void stop();

private:
    bool startService(const PrivateBus &bus);

    PrivateBus m_system;
    PrivateBus m_session;
    std::unique_ptr<FakeService> m_service;
};

#endif // TESTBUSES_H
