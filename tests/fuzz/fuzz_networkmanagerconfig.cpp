// Text through the record of the network manager's whole document.

#include "recordmodels.h"
#include "recordreading.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    recordreading::check<NetworkManagerConfig>(data, size);
    return 0;
}
