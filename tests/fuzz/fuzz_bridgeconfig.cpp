// Text through the record of the bridge section.

#include "recordmodels.h"
#include "recordreading.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    recordreading::check<BridgeConfig>(data, size);
    return 0;
}
