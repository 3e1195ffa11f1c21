// The floor with the leanest client library, in a program without anything else.
//
// Usage: benchmark-floor-sdbus PORT

#include "floor.h"

#include <systemd/sd-bus.h>

namespace
{

void callPlatform(const void *context)
{
    sd_bus *bus = *static_cast<sd_bus *const *>(context);
    sd_bus_message *reply = nullptr;
    const char *text = nullptr;
    if (sd_bus_call_method(bus, FloorServiceName, FloorManagerPath, FloorManagerInterface,
                           "getInterfaceConfig", nullptr, &reply, "s", FloorInterfaceName) < 0 ||
        sd_bus_message_read(reply, "s", &text) < 0)
        failFloor("no reply of the platform service (sd-bus)");
    sd_bus_message_unref(reply);
}

} // namespace

int main(int argc, char **argv)
{
    const std::uint16_t port = portFromArguments(argc, argv);
    sd_bus *bus = nullptr;
    if (sd_bus_open_system(&bus) < 0)
        failFloor("no connection to the system bus (sd-bus)");
    serveFloor(port, &bus, callPlatform);
}
