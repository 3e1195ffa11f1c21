// Text through the record of one network interface.

#include "recordmodels.h"
#include "recordreading.h"

#include <vector>

namespace
{

// Which members are written: empty texts and metrics of 0 are not, the name and the flags are always.
std::vector<std::string> expectedMembers(const NetworkInterfaceConfig &record)
{
    const struct {
        const char *key;
        bool written;
    } members[] = {
        {"name", true},
        {"label", !record.label.isEmpty()},
        {"mac_address", !record.macAddress.isEmpty()},
        {"ip_address", !record.ipAddress.isEmpty()},
        {"netmask", !record.netmask.isEmpty()},
        {"gateway_ip", !record.gatewayIp.isEmpty()},
        {"metric", record.metric != 0},
        {"dhcp", true},
        {"configured", true},
        {"readonly", true},
        {"virtual", true},
        {"hidden", true},
        {"actual_netmask", !record.actualNetmask.isEmpty()},
        {"actual_ip_address", !record.actualIpAddress.isEmpty()},
        {"actual_gateway_ip", !record.actualGatewayIp.isEmpty()},
        {"actual_metric", record.actualMetric != 0},
    };
    std::vector<std::string> keys;
    for (const auto &member : members) {
        if (member.written)
            keys.emplace_back(member.key);
    }
    return keys;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const NetworkInterfaceConfig record = recordreading::check<NetworkInterfaceConfig>(data, size);
    std::vector<std::string> keys;
    const json::Object written = record.toJson();
    for (const json::Object::Member &member : written)
        keys.push_back(member.name);
    REQUIRE(keys == expectedMembers(record));
    return 0;
}
