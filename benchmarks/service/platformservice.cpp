// A platform service that costs next to nothing, so that the share of those who call it shows: the answers
// that a discovery needs are made beforehand, and sd-bus is the leanest library to send them with.
//
// Usage: benchmark-platform BUS-ADDRESS RECORD
// Answers getInterfaceConfig with RECORD, whatever the interface. Prints a line when it can be called, and
// ends with its bus.

#include <systemd/sd-bus.h>

#include <cstdio>
#include <cstring>

namespace
{

const char ServiceName[] = "com.zelt.HWSD";
// 501, the code of a model that the service knows without asking further.
const unsigned char ManufactureCode[] = {0xF5, 0x01, 0x00, 0x00};
const char Version[] = "V01.01.01020304";

int answerPartitionInfo(sd_bus_message *call)
{
    sd_bus_message *reply = nullptr;
    int result = sd_bus_message_new_method_return(call, &reply);
    if (result >= 0)
        result = sd_bus_message_open_container(reply, SD_BUS_TYPE_STRUCT, "yyyyay");
    if (result >= 0)
        result = sd_bus_message_append(reply, "yyyy", 1, 1, 20, 0);
    if (result >= 0)
        result = sd_bus_message_append_array(reply, 'y', Version, sizeof Version);
    if (result >= 0)
        result = sd_bus_message_close_container(reply);
    if (result >= 0)
        result = sd_bus_send(nullptr, reply, nullptr);
    sd_bus_message_unref(reply);
    return result < 0 ? result : 1;
}

int answerManufactureCode(sd_bus_message *call)
{
    sd_bus_message *reply = nullptr;
    int result = sd_bus_message_new_method_return(call, &reply);
    if (result >= 0)
        result = sd_bus_message_append_array(reply, 'y', ManufactureCode, sizeof ManufactureCode);
    if (result >= 0)
        result = sd_bus_send(nullptr, reply, nullptr);
    sd_bus_message_unref(reply);
    return result < 0 ? result : 1;
}

// 0 leaves a call to sd-bus, which answers Ping, and others with an error.
int answer(sd_bus_message *call, void *record, sd_bus_error *)
{
    if (sd_bus_message_is_method_call(call, nullptr, "getInterfaceConfig") > 0)
        return sd_bus_reply_method_return(call, "s", static_cast<const char *>(record));
    if (sd_bus_message_is_method_call(call, nullptr, "info") > 0)
        return answerPartitionInfo(call);
    if (sd_bus_message_is_method_call(call, nullptr, "manufactureCode") > 0)
        return answerManufactureCode(call);
    return 0;
}

int serve(const char *address, char *record)
{
    sd_bus *bus = nullptr;
    int result = sd_bus_new(&bus);
    if (result >= 0)
        result = sd_bus_set_address(bus, address);
    if (result >= 0)
        result = sd_bus_set_bus_client(bus, 1);
    if (result >= 0)
        result = sd_bus_start(bus);
    if (result >= 0)
        result = sd_bus_add_fallback(bus, nullptr, "/", answer, record);
    if (result >= 0)
        result = sd_bus_request_name(bus, ServiceName, 0);
    if (result >= 0) {
        std::puts("ready");
        std::fflush(stdout);
    }
    while (result >= 0) {
        result = sd_bus_process(bus, nullptr);
        if (result == 0)
            result = sd_bus_wait(bus, UINT64_MAX);
    }
    sd_bus_flush_close_unref(bus);
    return result;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "Usage: benchmark-platform BUS-ADDRESS RECORD\n");
        return 2;
    }
    std::fprintf(stderr, "benchmark-platform: %s\n", std::strerror(-serve(argv[1], argv[2])));
    return 1;
}
